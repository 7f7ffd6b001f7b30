// Values in the queries and headers of requests, which the schemas check only in part.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "service/http/Message.h"
#include "service/state/HistoryFields.h"
#include "service/state/HistorySeries.h"

namespace Service {

// Returns the query parameter `name` as a number, or `fallback` if it is missing. Returns empty if
// its value is not a number.
std::optional<std::uint64_t> QueryNumber(const Http::Request& request, const char* name,
                                         std::uint64_t fallback);

// Returns the period and step of a history in the query; default: the last day before `nowMs`, and
// the shortest possible steps. Throws `Console::Failure` for a value that is not a time.
HistoryQuery QueryOf(const Http::Request& request, const HistoryField& field, std::uint64_t nowMs);

// Parses the header Last-Event-ID. Returns empty if it is not the number of an event, or 0.
std::optional<std::int64_t> ParseEventId(const std::string& text);

}  // namespace Service
