// Passes responses to libmicrohttpd.
#pragma once

#include <memory>
#include <vector>

#include "service/http/Message.h"
#include "service/http/Stream.h"

struct MHD_Connection;

namespace Http {

// Returns the names of the headers that every response has, except those that libmicrohttpd adds.
std::vector<const char*> CommonHeaderNames();

// Call both functions on the connection's thread. They return false if libmicrohttpd does not
// accept the response; the connection must then be closed. They throw `std::logic_error` for an
// invalid header.

// Sends 304 instead if the client already has this content according to its If-None-Match header.
bool Send(MHD_Connection* connection, const Response& response, const Request& request) HOST_BLOCKS;

// Sends the queued data of the stream until it ends. `gate` is the connection's gate.
bool Send(MHD_Connection* connection, const std::shared_ptr<Stream>& stream,
          const std::shared_ptr<Gate>& gate) HOST_BLOCKS;

}  // namespace Http
