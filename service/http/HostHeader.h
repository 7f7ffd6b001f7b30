// The Host header of requests over TCP.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Http {

// Returns the text with ASCII letters in lower case.
std::string Lower(std::string_view text);

// Whether a Host header with this value names `localAddress`, the address to which the client
// connected, or one of `hosts`, which are in lower case. The header may also contain a port.
bool NamesThisServer(std::string_view header, const std::string& localAddress,
                     const std::vector<std::string>& hosts);

}  // namespace Http
