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

// Returns the request as a query for the history of `field`. By default, the period ends at `nowMs`
// and lasts a day, and the steps are as short as possible. Throws `Console::Failure` for an invalid
// time or duration.
HistoryQuery ParseHistoryQuery(const Http::Request& request, const HistoryField& field,
                               std::uint64_t nowMs);

// Parses the header Last-Event-ID. Returns empty if it is negative or not a number.
std::optional<std::int64_t> ParseEventId(const std::string& text);

}  // namespace Service
