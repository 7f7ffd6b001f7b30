#include "console/Since.h"

#include <algorithm>
#include <iterator>

namespace Console {
namespace {

namespace E = PI::Event;
namespace V = PI::Value;

// What tells that a reason begins, and the status that the reason gives. A reason without a row
// has no event.
struct Beginning {
  std::int32_t m_Reason;
  std::uint32_t m_Event;
  const char* m_Status;
};

constexpr const char* kFailed = "FAILED";
constexpr const char* kWarning = "WARNING";

constexpr Beginning kBeginnings[] = {
    {V::INTERNAL_ERROR, E::CTRL_INTERNAL_ERROR, kFailed},
    {V::INCOMPATIBLE_PCI_BANDWIDTH, E::CTRL_INCOMPATIBLE_PCI_BANDWIDTH, kFailed},
    {V::PARTIAL_WRITE_THROTTLING, E::CTRL_PARTIAL_WRITE_THROTTLING, kFailed},
    {V::COMPLETE_WRITE_THROTTLING, E::CTRL_MAXIMUM_WRITE_THROTTLING, kFailed},
    {V::TEMPERATURE_NEAR_ERROR, E::CTRL_TEMPERATURE_NEAR_ERROR, kFailed},
    {V::TEMPERATURE_ABOVE_ERROR, E::CTRL_TEMPERATURE_ABOVE_ERROR, kFailed},
    {V::INTERNAL_VOLTAGE_OUT_OF_RANGE, E::CTRL_INTERNAL_VOLTAGE_OUT_OF_RANGE, kFailed},
    {V::AUXILIARY_VOLTAGE_OUT_OF_RANGE, E::CTRL_AUXILIARY_VOLTAGE_OUT_OF_RANGE, kFailed},
    {V::FLASHBACK, E::CTRL_FLASHBACK, kFailed},
    {V::NONCORRECTABLE_PCI_ERRORS, E::CTRL_NONCORRECTABLE_PCI_ERRORS, kFailed},
    {V::TEMPERATURE_ABOVE_WARN, E::CTRL_TEMPERATURE_ABOVE_WARN, kWarning},
    {V::NEAR_WEARING_OUT, E::CTRL_NEAR_WEARING_OUT, kWarning},
    {V::NONOPTIMAL_PCI_BANDWIDTH, E::CTRL_NONOPTIMAL_PCI_BANDWIDTH, kWarning},
    {V::CORRECTABLE_PCI_ERRORS, E::CTRL_CORRECTABLE_PCI_ERRORS, kWarning},
    {V::NO_POWERLOSS_PROTECTION, E::CTRL_NO_POWERLOSS_PROTECTION, kWarning},
    {V::POWER_WRITE_REGULATION, E::CTRL_POWER_WRITE_REGULATION, kWarning},
    {V::TEMPERATURE_WRITE_REGULATION, E::CTRL_TEMPERATURE_WRITE_REGULATION, kWarning},
    {V::LIFESPAN_WRITE_REGULATION, E::CTRL_LIFESPAN_WRITE_REGULATION, kWarning},
    {V::MINIMAL, E::CTRL_MINIMAL, kWarning},
    {V::PCI_OVERPOWER, E::CTRL_PCI_OVERPOWER, kWarning},
    {V::LEB_MAP_MISSING, E::CTRL_LEB_MAP_MISSING, kWarning},
    {V::UPDATE_IN_PROGRESS, E::CTRL_UPDATE_IN_PROGRESS, kWarning},
    {V::RESERVES_DEPLETED, E::CTRL_RESERVES_DEPLETED, kWarning},
    {V::DETACHED, E::CTRL_DETACHED, kWarning},
};

// Reasons that are told with a status and do not make it worse.
constexpr std::int32_t kHarmless[] = {
    V::UNACTIVATED_FIRMWARE,  V::THROT_BY_USER,      V::THROT_NO_METADATA_BLOCKS,
    V::THROT_NO_MEMORY,       V::THROT_CHIP_FAILURE, V::THROT_WEAROUT,
    V::THROT_POWER,           V::THROT_INTERNAL,     V::THROT_POWER_LIMIT,
    V::THROT_GROOMER_FAILURE,
};

// What ends a reason: a new card has no past, and a card that is well has no reasons but those of
// its being attached or not.
bool Ends(const Beginning& row, std::uint32_t event) {
  if (event == E::CTRL_PNPADD || event == E::CTRL_PNPREMOVE) return true;
  return event == (row.m_Reason == V::DETACHED ? E::CTRL_ATTACHED : E::CTRL_NORMAL);
}

std::optional<std::uint64_t> BeginOf(const Beginning& row, const std::vector<LoggedEvent>& events) {
  std::optional<std::uint64_t> begin;
  for (const LoggedEvent& event : events) {
    if (event.m_EventID == row.m_Event) begin = event.m_Time;
    if (Ends(row, event.m_EventID)) begin.reset();
  }
  return begin;
}

template <class Rows, class Fits>
auto FindRow(const Rows& rows, Fits fits) {
  const auto found = std::find_if(std::begin(rows), std::end(rows), fits);
  return found == std::end(rows) ? nullptr : &*found;
}

}  // namespace

std::optional<std::uint64_t> StatusSince(const Health& health,
                                         const std::vector<LoggedEvent>& events) {
  std::optional<std::uint64_t> since;
  for (const Reason& reason : health.m_Reasons) {
    const auto number = static_cast<std::int32_t>(reason.m_Number);
    if (FindRow(kHarmless, [=](std::int32_t each) { return each == number; })) continue;
    const Beginning* row =
        FindRow(kBeginnings, [=](const Beginning& each) { return each.m_Reason == number; });
    if (row == nullptr) return std::nullopt;
    if (BareText(health.m_Status) != row->m_Status) continue;
    const auto begin = BeginOf(*row, events);
    if (!begin) return std::nullopt;
    since = std::min(since.value_or(*begin), *begin);
  }
  return since;
}

}  // namespace Console
