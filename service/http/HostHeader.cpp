#include "service/http/HostHeader.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <system_error>

namespace Http {
namespace {

// The port may be empty.
bool IsPort(std::string_view text) {
  std::uint16_t port = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, port);
  return text.empty() || (error == std::errc() && stop == end);
}

// Returns "host" or "[::1]" without the port, or empty if the port is invalid.
std::optional<std::string_view> WithoutPort(std::string_view host) {
  const auto colon = host.rfind(':');
  const auto bracket = host.rfind(']');
  if (colon == host.npos || (bracket != host.npos && bracket > colon)) return host;
  if (!IsPort(host.substr(colon + 1))) return std::nullopt;
  return host.substr(0, colon);
}

char LowerLetter(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
}

}  // namespace

std::string Lower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), LowerLetter);
  return lower;
}

// Accepting this machine's address is safe, because DNS rebinding requires a host name.
bool NamesThisServer(std::string_view header, const std::string& localAddress,
                     const std::vector<std::string>& hosts) {
  const auto withoutPort = WithoutPort(header);
  if (!withoutPort) return false;
  const std::string host = Lower(*withoutPort);
  const bool isV6 = localAddress.find(':') != localAddress.npos;
  return host == (isV6 ? "[" + localAddress + "]" : localAddress) ||
         std::find(hosts.begin(), hosts.end(), host) != hosts.end();
}

}  // namespace Http
