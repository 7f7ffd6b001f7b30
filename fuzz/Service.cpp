// Addresses, headers, queries and files that the service reads.
#include <algorithm>
#include <cstdint>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "base/Printable.h"
#include "console/base/Failure.h"
#include "console/plugin/DatabaseLock.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "service/ListenAddress.h"
#include "service/api/QueryValues.h"
#include "service/api/ReplayCache.h"
#include "service/api/Schemas.h"
#include "service/hooks/EventPrograms.h"
#include "service/http/Escapes.h"
#include "service/http/HostHeader.h"
#include "service/state/CardTexts.h"
#include "service/state/HistorySeries.h"

namespace CorvaneFuzz {
namespace {

constexpr std::uint64_t kNowMs = 1'795'219'200'000;

std::pair<std::string, std::string> SplitAt(const std::string& text, char separator) {
  const auto at = text.find(separator);
  if (at == text.npos) return {text, ""};
  return {text.substr(0, at), text.substr(at + 1)};
}

std::vector<std::string> SplitAll(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

// Returns the parameters that the API accepts, as a handler receives them.
Http::Request ParseQuery(const std::string& input) {
  Http::Request request;
  request.m_Parameters["serial"] = "S";
  for (const std::string& pair : SplitAll(input, '&')) {
    const auto [name, escaped] = SplitAt(pair, '=');
    const auto value = Http::DecodeEscapes(escaped);
    if (!value || !Service::Parameters().contains(name)) continue;
    if (!Service::ParameterError(name, *value)) request.m_Query.emplace(name, *value);
  }
  return request;
}

bool IsDecimal(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

Http::Response MakeText(const std::string& text) {
  return Http::MakeResponse(200, "text/plain", text);
}

}  // namespace

// Input: the value of --listen. An accepted address must survive being formatted and parsed again.
void ListenAddress(const std::string& input) {
  const auto address = Service::ParseTcpAddress(input);
  if (!address) return;
  const std::string& host = address->m_Host;
  Require(!host.empty() && host.find_first_of("[]") == host.npos, "host has brackets or is empty");
  Require(host.find('\0') == host.npos, "host contains NUL");
  const bool isV6 = host.find(':') != host.npos;
  const std::string text = (isV6 ? "[" + host + "]" : host) + ":" + std::to_string(address->m_Port);
  const auto again = Service::ParseTcpAddress(text);
  Require(again && again->m_Host == host && again->m_Port == address->m_Port,
          "address does not survive a round trip");
}

// Input: the address to which the client connected, a newline, and the Host header. An accepted
// header is one of the allowed names, alone or followed by a colon and a port, which may be empty.
void HostHeader(const std::string& input) {
  const auto [local, header] = SplitAt(input, '\n');
  const std::vector<std::string> hosts = {"localhost", "127.0.0.1", "[::1]", "box.example"};
  if (!Http::NamesThisServer(header, local, hosts)) return;
  std::vector<std::string> names = hosts;
  names.push_back(local.find(':') == local.npos ? local : "[" + local + "]");
  const std::string lower = Http::Lower(header);
  Require(std::any_of(names.begin(), names.end(),
                      [&](const std::string& name) {
                        if (lower == name) return true;
                        const std::string start = name + ":";
                        if (lower.compare(0, start.size(), start) != 0) return false;
                        const std::string port = lower.substr(start.size());
                        return port.find_first_not_of("0123456789") == port.npos;
                      }),
          "accepted another host");
}

// Input: a query. The handlers must be able to use all values that the schemas accept.
void Query(const std::string& input) {
  const Http::Request request = ParseQuery(input);
  for (const char* const name : {"after", "since_ms", "limit"}) {
    const auto number = Service::QueryNumber(request, name, 7);
    const std::string* const text = Http::Find(request.m_Query, name);
    Require(number.has_value(), "the schema accepts a number that cannot be used");
    if (text == nullptr) Require(number == std::uint64_t(7), "ignored the default");
  }
  try {
    const auto& field = *Service::FindHistoryField("temperature_celsius");
    const Service::HistoryQuery query = Service::ParseHistoryQuery(request, field, kNowMs);
    if (Http::Find(request.m_Query, "to") == nullptr) Require(query.m_To == kNowMs, "changed now");
    const Service::HistoryValue value{kNowMs - 1, 1.0, 1.0, 1.0, 1};
    const auto series = Service::Downsample(query, {value});
    Require(series.m_Step > 0 && series.m_Points.size() == 1, "cannot be reduced to one point");
  } catch (const Console::Failure& failure) {
    Require(!failure.m_Text.empty(), "rejection has no message");
  }
}

// Input: the value of a Last-Event-ID header.
void EventId(const std::string& input) {
  const auto number = Service::ParseEventId(input);
  if (!number) return;
  Require(*number >= 0, "event number is negative");
  Require(IsDecimal(input), "accepted text that is not a number");
}

bool IsVisibleAscii(const std::string& text, std::size_t maxSize) {
  const auto isVisible = [](char c) { return c > ' ' && c <= '~'; };
  return !text.empty() && text.size() <= maxSize &&
         std::all_of(text.begin(), text.end(), isVisible);
}

// Input: one request per line: the key, a space, and the content. A request with a known key gets
// the response of the first one, or is rejected if its content differs.
void IdempotencyKey(const std::string& input) {
  Service::ReplayCache cache;
  std::map<std::string, std::string> first;
  const std::vector<std::string> lines = SplitAll(input, '\n');
  for (std::size_t i = 0; i < std::min<std::size_t>(lines.size(), 100); ++i) {
    const auto [key, content] = SplitAt(lines[i], ' ');
    const bool isValid = !Service::ParameterError("Idempotency-Key", key);
    Require(isValid == IsVisibleAscii(key, 255), "wrong length or characters of a key");
    if (!isValid) continue;
    const auto [known, isNew] = first.emplace(key, content);
    bool hasRun = false;
    const Http::Reply reply = cache.Answer(key, content, [&, text = content] {
      hasRun = true;
      return MakeText(text);
    });
    Require(hasRun == isNew, "the request ran twice or not at all");
    const auto& response = std::get<Http::Response>(reply);
    const bool isSame = known->second == content;
    Require(response.m_Status == (isSame ? 200U : 422U), "wrong status");
    if (isSame) Require(*response.m_Body == content, "response of another request");
  }
}

// Input: the file with the number of the last event whose programs were started.
void StateFile(const std::string& input) {
  const auto number = Hooks::ParseStateFile(input);
  if (!number) return;
  Require(*number >= 0 && input.back() == '\n', "accepted a number that may be incomplete");
  Require(Hooks::ParseStateFile(std::to_string(*number) + "\n") == number,
          "number does not survive a round trip");
}

// Input: the lock file of a database.
void LockFile(const std::string& input) {
  const Console::LockHolder holder = Console::ParseLockFile(input);
  Require(holder.m_Process == -1 || holder.m_Process > 0, "accepted a process group");
  Require(holder.m_Socket.find('\n') == std::string::npos, "socket contains a newline");
  const bool isComplete = std::count(input.begin(), input.end(), '\n') >= 2;
  if (!isComplete) Require(holder.m_Process == -1 && holder.m_Socket.empty(), "used half a file");
}

// Input: a cell of the table of known cards.
void StateCells(const std::string& input) {
  const auto reasons = Service::ParseReasons(input);
  Require(Service::ParseReasons(Service::TextOf(reasons)) == reasons,
          "reasons do not survive a round trip");
  const std::string drives = Service::TextOf(Service::ParseDrives(input));
  Require(Service::TextOf(Service::ParseDrives(drives)) == drives,
          "drives do not survive a round trip");
}

}  // namespace CorvaneFuzz
