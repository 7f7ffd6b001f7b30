// The stored state in replies of a service.
#pragma once

#include <nlohmann/json.hpp>
#include <vector>

#include "service/state/Acknowledgments.h"
#include "service/state/HistorySeries.h"
#include "service/state/KnownCard.h"

namespace Service {

// These functions throw `Console::RecordError`, `nlohmann::json::exception` or, for an invalid
// time, `Console::Failure` if the document is not the expected reply.
std::vector<KnownCard> KnownCardsFromJson(const nlohmann::json& json);
Acknowledgment AcknowledgmentFromJson(const nlohmann::json& json);
std::vector<Acknowledgment> AcknowledgmentsFromJson(const nlohmann::json& json);
// The points are ordered by time and cover at most `kMaxPoints` steps, including steps without a
// point.
HistorySeries HistorySeriesFromJson(const nlohmann::json& json);

}  // namespace Service
