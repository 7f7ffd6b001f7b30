// Decides about a request when its headers have arrived.
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
  bool m_HasNul = false;   // path or query were cut at a NUL
  std::size_t m_Size = 0;  // in bytes, as received
  Peer m_Peer;
};

// Either a refusal, or a route and the request without its body.
struct Admission {
  Request m_Request;
  const Route* m_Route = nullptr;
  std::optional<Response> m_Refusal;
};

// The first rule that the head breaks gives the refusal. The result refers to the router.
Admission Admit(const Head& head, const Router& router, const Settings& settings,
                const Permissions& permissions);

Response MakeBodyTooLarge(const Limits& limits);

// Whether a body follows, as far as the headers say.
bool HasBody(const Head& head);

// Whether the headers say that the body is longer than the limit.
bool IsBodyTooLarge(const Head& head, const Limits& limits);

// The value of the first header with this name, which is compared without case. Null if none.
const std::string* FindHeader(const Head& head, std::string_view name);

}  // namespace Http
