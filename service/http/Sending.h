// Passes responses to the library.
#pragma once

#include <memory>

#include "service/http/Message.h"
#include "service/http/Stream.h"

struct MHD_Connection;

namespace Http {

// On the connection's thread. False if the library does not accept the response, after which the
// connection has to be closed. Throws `std::logic_error` for a header that cannot be sent.

// Sends 304 instead if the request shows that the client has the content.
bool Send(MHD_Connection* connection, const Response& response, const Request& request);

// Sends everything that arrives in the stream; `gate` is that of the connection.
bool Send(MHD_Connection* connection, const std::shared_ptr<Stream>& stream,
          const std::shared_ptr<Gate>& gate);

}  // namespace Http
