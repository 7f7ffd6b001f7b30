#include "service/ListenAddress.h"

#include "console/base/Number.h"

namespace Service {
namespace {

bool IsBracketed(std::string_view host) {
  return host.size() > 2 && host.front() == '[' && host.back() == ']';
}

}  // namespace

std::optional<TcpAddress> ParseTcpAddress(std::string_view text) {
  const auto colon = text.rfind(':');
  if (colon == text.npos) return std::nullopt;
  const auto port = Console::ReadNumber<std::uint16_t>(std::string(text.substr(colon + 1)));
  std::string_view host = text.substr(0, colon);
  const bool isBracketed = IsBracketed(host);
  if (isBracketed) host = host.substr(1, host.size() - 2);
  // Without brackets, the port of an IPv6 address would be ambiguous.
  const bool isV6 = host.find(':') != host.npos;
  if (!port || isV6 != isBracketed || host.find_first_of("[]") != host.npos) return std::nullopt;
  if (host.empty() || host.find('\0') != host.npos) return std::nullopt;
  return TcpAddress{std::string(host), *port};
}

}  // namespace Service
