// The table of what a server offers.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "service/http/Message.h"
#include "service/http/Responder.h"
#include "service/http/Stream.h"

namespace Http {

// What a handler returns: a response, the promise of one, or a stream.
using Reply = std::variant<Response, Later, std::shared_ptr<Stream>>;

// Called on a thread of the server, several at the same time; must not wait. If it throws, the
// client gets a 500.
using Handler = std::function<Reply(const Request&)>;

enum class Access {
  Anyone,  // every client of every listener
  Read,    // users who may read; every client with TCP
  Change,  // users who may change; never with TCP
};

enum class BodyRule { None, Optional, Required };

struct Route {
  Method m_Method;
  // Segments are literal, or "{name}" for a parameter: any text but "", ".", ".." and texts with
  // "/". The first row that matches a request counts.
  std::string m_Path;
  Access m_Access;
  Handler m_Handler;
  std::vector<std::string> m_Query = {};  // the names that a query may have, each once
  BodyRule m_Body = BodyRule::None;
  std::string m_MediaType = "application/json";  // of the body
};

}  // namespace Http
