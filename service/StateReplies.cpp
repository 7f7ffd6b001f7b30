#include "service/StateReplies.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "console/base/Number.h"
#include "console/base/Timestamp.h"
#include "console/plugin/RecordJson.h"
#include "service/client/SessionReplies.h"

namespace Service {
namespace {

using Json = nlohmann::json;

std::uint64_t ParseTime(const Json& json, const char* name) {
  return Console::ParseTimestamp(name, json.at(name).get<std::string>(), Console::NowMs());
}

std::optional<std::int64_t> OptionalCount(const Json& json, const char* name) {
  if (json.at(name).is_null()) return std::nullopt;
  return CountField(json, name);
}

// Parses a position such as "a12".
std::int64_t ParsePosition(const std::string& text) {
  std::optional<std::int64_t> number;
  if (text.rfind('a', 0) == 0) number = Console::ReadNumber<std::int64_t>(text.substr(1));
  if (!number || text[1] == '-') {
    throw Console::RecordError("position: expected a position such as a0");
  }
  return *number;
}

KnownCard ParseCard(const Json& json) {
  KnownCard card;
  card.m_SerialNumber = json.at("serial_number");
  card.m_Position = ParsePosition(json.at("position"));
  card.m_FirstSeen = ParseTime(json, "first_seen");
  card.m_LastSeen = ParseTime(json, "last_seen");
  card.m_IsPresent = json.at("present");
  card.m_Name = json.at("name");
  card.m_Product = json.at("product");
  card.m_PciAddress = json.at("pci_address");
  card.m_Slot = OptionalCount(json, "pci_slot");
  card.m_SizeBytes = OptionalCount(json, "size_bytes");
  return card;
}

// Whether the points are in order and within the limit, also counting steps without a point.
bool IsValid(const HistorySeries& series) {
  const std::vector<HistoryPoint>& points = series.m_Points;
  const auto isNotBefore = [](const HistoryPoint& point, const HistoryPoint& next) {
    return point.m_Time >= next.m_Time;
  };
  if (std::adjacent_find(points.begin(), points.end(), isNotBefore) != points.end()) return false;
  if (series.m_Step == 0) return false;
  return points.empty() ||
         (points.back().m_Time - points.front().m_Time) / series.m_Step < kMaxPoints;
}

double ParseValue(const Json& json, const char* name) {
  const Json& value = json.at(name);
  if (!value.is_number()) throw Console::RecordError(std::string(name) + ": expected a number");
  return value.get<double>();
}

std::uint64_t ParseStep(const Json& json) {
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max() / 1000;
  const std::int64_t seconds = CountField(json, "step_seconds");
  if (seconds > kMax) throw Console::RecordError("step_seconds: too large");
  return static_cast<std::uint64_t>(seconds) * 1000;
}

template <class Element>
std::vector<Element> ParseList(const Json& list, Element (*parse)(const Json&)) {
  std::vector<Element> elements;
  for (const Json& each : list) elements.push_back(parse(each));
  return elements;
}

}  // namespace

std::vector<KnownCard> KnownCardsFromJson(const Json& json) {
  return ParseList(ListField(json, "cards"), ParseCard);
}

Acknowledgment AcknowledgmentFromJson(const Json& json) {
  Acknowledgment acknowledgment;
  acknowledgment.m_SerialNumber = json.at("serial_number");
  acknowledgment.m_Reason = json.at("reason");
  acknowledgment.m_User = json.at("user");
  acknowledgment.m_Time = ParseTime(json, "time");
  if (!json.at("until").is_null()) acknowledgment.m_Until = ParseTime(json, "until");
  acknowledgment.m_Note = json.at("note");
  return acknowledgment;
}

std::vector<Acknowledgment> AcknowledgmentsFromJson(const Json& json) {
  return ParseList(ListField(json, "acknowledgments"), AcknowledgmentFromJson);
}

HistorySeries HistorySeriesFromJson(const Json& json) {
  HistorySeries series;
  series.m_Step = ParseStep(json);
  for (const Json& each : ListField(json, "points")) {
    series.m_Points.push_back({ParseTime(each, "time"), ParseValue(each, "minimum"),
                               ParseValue(each, "maximum"), ParseValue(each, "mean")});
  }
  if (!IsValid(series)) throw Console::RecordError("points: out of order or too many");
  return series;
}

}  // namespace Service
