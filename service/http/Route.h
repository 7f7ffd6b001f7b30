// The routes of a server.
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

// The result of a handler: a response, the promise of a response, or a stream.
using Reply = std::variant<Response, ResponsePromise, std::shared_ptr<Stream>>;

// Called on the server's threads, possibly on several simultaneously. Must not block. If it throws,
// the client gets a 500.
using Handler = std::function<Reply(const Request&)>;

enum class Access {
  Anyone,  // every client of every listener
  Read,    // users who may read; all TCP clients
  Change,  // users who may make changes; no TCP clients
};

enum class BodyRule { None, Required };

struct Route {
  Method m_Method;
  // Each segment is literal text or a parameter, "{name}". A parameter matches any text except "",
  // ".", ".." and strings with "/". The first route that matches a request is used.
  std::string m_Path;
  Access m_Access;
  Handler m_Handler;
  std::vector<std::string> m_Query = {};  // allowed query parameters, each at most once
  BodyRule m_Body = BodyRule::None;
  std::string m_MediaType = "application/json";  // of the request body
  // Request headers that the route honors, in lower case. The handler does not get others, and the
  // server compares entity tags only if "if-none-match" is one of them.
  std::vector<std::string> m_Headers = {};
};

}  // namespace Http
