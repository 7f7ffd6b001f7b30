#include "service/api/QueryValues.h"

#include "console/base/Duration.h"
#include "console/base/Number.h"
#include "console/base/Timestamp.h"

namespace Service {
namespace {

// Returns the time in a query parameter, or `fallback` if it is missing. Throws
// `Console::Failure`.
std::uint64_t TimeOf(const Http::Request& request, const char* name, std::uint64_t fallback,
                     std::uint64_t nowMs) {
  const std::string* const text = Http::Find(request.m_Query, name);
  return text == nullptr ? fallback : Console::ParseTimestamp(name, *text, nowMs);
}

}  // namespace

std::optional<std::uint64_t> QueryNumber(const Http::Request& request, const char* name,
                                         std::uint64_t fallback) {
  const std::string* const text = Http::Find(request.m_Query, name);
  return text == nullptr ? fallback : Console::ReadNumber<std::uint64_t>(*text);
}

HistoryQuery ParseHistoryQuery(const Http::Request& request, const HistoryField& field,
                               std::uint64_t nowMs) {
  constexpr std::uint64_t kDayMs = 86'400'000;
  HistoryQuery query;
  query.m_SerialNumber = request.m_Parameters.at("serial");
  query.m_Field = &field;
  query.m_To = TimeOf(request, "to", nowMs, nowMs);
  query.m_From = TimeOf(request, "from", query.m_To < kDayMs ? 0 : query.m_To - kDayMs, nowMs);
  if (const std::string* const step = Http::Find(request.m_Query, "step")) {
    query.m_Step =
        static_cast<std::uint64_t>(Console::ParseDuration("step", *step).value().count());
  }
  return query;
}

std::optional<std::int64_t> ParseEventId(const std::string& text) {
  const auto number = Console::ReadNumber<std::int64_t>(text);
  const bool isSigned = text.rfind('-', 0) == 0;
  return isSigned ? std::nullopt : number;
}

}  // namespace Service
