#include "console/model/CardTimes.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "console/model/LiveValues.h"

namespace Console {
namespace {

// The plug-in omits these properties if it cannot open the card. All others are from the last scan.
constexpr std::uint32_t kReadFromCard[] = {
    PI::Property::REMAINING_RESERVE_SPACE,
    PI::Property::RESERVE_STATUS,
    PI::Property::BYTES_READ,
    PI::Property::BYTES_WRITTEN,
    PI::Property::RATED_ENDURANCE_PERCENT,
    PI::Property::ESTIMATED_LIFETIME,
};

template <class List, class Element>
bool Contains(const List& list, const Element& element) {
  return std::find(std::begin(list), std::end(list), element) != std::end(list);
}

}  // namespace

bool HasValueFromCard(const PI::CObject& adapter) {
  return std::any_of(
      adapter.m_Properties.begin(), adapter.m_Properties.end(),
      [](const PI::CProperty& each) { return Contains(kReadFromCard, each.m_PropertyID); });
}

std::uint64_t CardTimes::LastReadTime(std::uint64_t adapter) const {
  const auto found = std::find_if(m_Cards.begin(), m_Cards.end(), [adapter](const CardTime& each) {
    return each.m_Adapter == adapter;
  });
  return found == m_Cards.end() ? 0 : found->m_ReadAt;
}

// The plug-in scans all cards when it starts. Each later scan increments the plug-in object's
// change count. If a scan fails, the object has no children until one succeeds.
void CardTimeTracker::Update(const std::vector<PI::CObject>& topology, std::uint64_t nowMs) {
  m_Times.m_ObservedAt = nowMs;
  if (topology.empty()) return;
  const PI::CObject& plugin = topology.front();
  const bool isScanned = !plugin.m_Children.empty() && plugin.m_ChangeCount != m_PluginChangeCount;
  m_PluginChangeCount = plugin.m_ChangeCount;
  if (isScanned) m_Times.m_ScannedAt = nowMs;
  std::vector<CardTime> cards;
  for (const PI::CObject& object : topology) {
    if (object.m_ObjectType != PI::OBJECT_ADAPTER) continue;
    const bool isRead =
        (isScanned && Contains(plugin.m_Children, object.m_ID)) || HasValueFromCard(object);
    const std::uint64_t readAt = isRead ? nowMs : m_Times.LastReadTime(object.m_ID);
    if (readAt != 0) cards.push_back({object.m_ID, readAt});
  }
  m_Times.m_Cards = std::move(cards);
}

}  // namespace Console
