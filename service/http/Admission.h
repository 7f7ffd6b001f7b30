// Decides whether to accept a request once its headers have arrived.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "service/http/Message.h"
#include "service/http/Router.h"
#include "service/http/Settings.h"

namespace Http {

// Request line and headers as received. Percent escapes are not decoded.
struct Head {
  using Pairs = std::vector<std::pair<std::string, std::string>>;

  std::string m_Method;
  std::string m_Path;
  Pairs m_Query;
  Pairs m_Headers;
  bool m_HasNul = false;   // the path or query was truncated at a NUL
  std::size_t m_Size = 0;  // in bytes, as received
  Peer m_Peer;
};

// Either a refusal, or a route and the request without its body.
struct Admission {
  Request m_Request;
  const Route* m_Route = nullptr;
  std::optional<Response> m_Refusal;
};

// Checks the head against the rules, in order. If it breaks one, the result contains the refusal of
// that rule; otherwise, the request and its route, which `router` owns.
Admission AdmitRequest(const Head& head, const Router& router, const Settings& settings,
                       const Permissions& permissions);

// Returns a 413 problem.
Response MakeBodyTooLarge(const Limits& limits);

// Whether the headers announce a body.
bool HasBody(const Head& head);

// Whether the announced length of the body exceeds the limit.
bool IsBodyTooLarge(const Head& head, const Limits& limits);

// Returns the value of the first header with this name, or null. `name` must be in lower case;
// header names are compared case-insensitively.
const std::string* FindHeader(const Head& head, std::string_view name);

}  // namespace Http
