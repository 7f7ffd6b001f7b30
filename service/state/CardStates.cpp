#include "service/state/CardStates.h"

#include <algorithm>
#include <variant>

#include "console/model/FieldTable.h"
#include "console/model/Health.h"
#include "hostkit/Texts.h"
#include "hostkit/ValueTypes.h"

namespace Service {
namespace {

namespace E = PI::Event;

using Console::Object;
using Reasons = std::set<std::uint32_t>;

constexpr auto kAttached = static_cast<std::uint32_t>(PI::Value::ATTACHED);
constexpr auto kDetached = static_cast<std::uint32_t>(PI::Value::DETACHED);
constexpr std::uint64_t kStableMs = 60'000;  // several polls of the plug-in

// Attached and detached take effect immediately and do not make a card abnormal.
bool IsAttachReason(std::uint32_t reason) {
  return reason == kAttached || reason == kDetached;
}

Reasons ReasonsOf(const Object& adapter) {
  Reasons reasons;
  const PI::CProperty* found = adapter.Find(PI::Property::ADDITIONAL_STATUS);
  if (found == nullptr || found->m_ValueType != HostKit::VALUE_TYPE_MULTI_CHOICE) return reasons;
  for (const std::int32_t value : found->m_Value.m_MultiValue.m_Values) {
    const auto reason = static_cast<std::uint32_t>(value);
    if (HostKit::EventOf(reason) != 0) reasons.insert(reason);
  }
  return reasons;
}

std::optional<std::int64_t> BytesOf(const Object& drive, const char* field) {
  const Console::Value value = ReadField(drive, field);
  const auto* bytes = std::get_if<std::uint64_t>(&value.m_Data);
  if (bytes == nullptr) return std::nullopt;
  return static_cast<std::int64_t>(*bytes);
}

DriveState StateOf(const Object& drive) {
  return {drive.m_ID,
          FieldText(drive, "name"),
          {BytesOf(drive, "formatted_size_bytes"), BytesOf(drive, "sector_size_bytes")}};
}

CardState StateOf(const Console::Model& model, const Object& adapter) {
  CardState state;
  state.m_IsPresent = true;
  state.m_ObjectID = adapter.m_ID;
  state.m_Name = FieldText(adapter, "name");
  state.m_Reasons = ReasonsOf(adapter);
  for (const Object& object : model.Objects()) {
    const bool isOfCard =
        object.m_Kind == Console::Kind::Drive && AdapterOf(model, object) == &adapter;
    if (isOfCard) state.m_Drives.push_back(StateOf(object));
  }
  return state;
}

void ClearAbnormalReasons(Reasons& reasons) {
  for (auto it = reasons.begin(); it != reasons.end();) {
    it = IsAttachReason(*it) ? std::next(it) : reasons.erase(it);
  }
}

void BeginReason(std::uint32_t reason, Reasons& reasons) {
  if (reason == kAttached) reasons.erase(kDetached);
  if (reason == kDetached) reasons.erase(kAttached);
  reasons.insert(reason);
}

void EndReasons(const Reasons& observed, std::uint64_t timeMs, Reasons& logged,
                std::map<std::uint32_t, std::uint64_t>& absent) {
  for (const std::uint32_t reason : Reasons(logged)) {
    if (observed.count(reason) > 0) {
      absent.erase(reason);
      continue;
    }
    const std::uint64_t since = absent.emplace(reason, timeMs).first->second;
    const std::uint64_t passed = std::max(since, timeMs) - std::min(since, timeMs);
    if (!IsAttachReason(reason) && passed < kStableMs) continue;
    logged.erase(reason);
    absent.erase(reason);
  }
}

bool IsAbnormal(const Reasons& reasons) {
  return !std::all_of(reasons.begin(), reasons.end(), IsAttachReason);
}

// Returns the numbers in ascending order, in which the plug-in also reports the events of each
// status mask.
std::set<std::uint32_t> EventNumbers(const Reasons& before, const Reasons& now) {
  std::set<std::uint32_t> numbers;
  for (const std::uint32_t reason : now) {
    if (before.count(reason) == 0) numbers.insert(HostKit::EventOf(reason));
  }
  if (IsAbnormal(before) && !IsAbnormal(now)) numbers.insert(E::CTRL_NORMAL);
  return numbers;
}

// Unknown values do not differ, because a card may not know its format while formatting is in
// progress.
bool Differ(const std::optional<std::int64_t>& left, const std::optional<std::int64_t>& right) {
  return left && right && *left != *right;
}

bool Differ(const DriveFormat& left, const DriveFormat& right) {
  return Differ(left.m_SizeBytes, right.m_SizeBytes) ||
         Differ(left.m_SectorSizeBytes, right.m_SectorSizeBytes);
}

void FillUnknown(const DriveFormat& observed, DriveFormat& logged) {
  if (!logged.m_SizeBytes) logged.m_SizeBytes = observed.m_SizeBytes;
  if (!logged.m_SectorSizeBytes) logged.m_SectorSizeBytes = observed.m_SectorSizeBytes;
}

// Keeps formats that are already known: they change only with a PD_FORMAT_CHANGED event.
void ApplyDrives(const std::vector<DriveState>& observed, std::vector<DriveState>& logged) {
  std::vector<DriveState> drives = observed;
  for (std::size_t i = 0; i < std::min(drives.size(), logged.size()); ++i) {
    drives[i].m_Format = logged[i].m_Format;
    FillUnknown(observed[i].m_Format, drives[i].m_Format);
  }
  logged = drives;
}

class Events {
 public:
  explicit Events(std::uint64_t timeMs) : m_TimeMs(timeMs) {}

  void AppendForCard(std::uint32_t number, const std::string& serial, const CardState& card) {
    Append(number, serial, PI::OBJECT_ADAPTER, card.m_ObjectID, card.m_Name)
        .SetPlaceHolder1(card.m_Name);
  }

  void AppendForDrive(std::uint32_t number, const std::string& serial, const CardState& card,
                      const DriveState& drive) {
    PI::CEvent& event =
        Append(number, serial, PI::OBJECT_PHYSICAL_DRIVE, drive.m_ObjectID, drive.m_Name);
    event.SetPlaceHolder1(card.m_Name);
    event.SetPlaceHolder2(drive.m_Name);
  }

  std::vector<StateEvent> m_All;

 private:
  PI::CEvent& Append(std::uint32_t number, const std::string& serial, std::uint32_t type,
                     std::uint64_t object, const std::string& name) {
    PI::CEvent event;
    event.m_EventID = static_cast<PI::_EVENT_ID>(number);
    event.m_Severity = HostKit::SeverityOf(number);
    event.m_Time = m_TimeMs;
    event.m_ObjectID = object;
    event.m_SourceName = name;
    m_All.push_back({event, serial, type});
    return m_All.back().m_Event;
  }

  const std::uint64_t m_TimeMs;
};

void AppendChanges(const std::string& serial, const CardState& before, const CardState& now,
                   Events& events) {
  // The reasons of a new card existed when it was added, so they have no events.
  if (!before.m_IsNew) {
    for (const std::uint32_t number : EventNumbers(before.m_Reasons, now.m_Reasons)) {
      events.AppendForCard(number, serial, now);
    }
  }
  const std::size_t drives = std::min(before.m_Drives.size(), now.m_Drives.size());
  for (std::size_t i = 0; i < drives; ++i) {
    if (!Differ(before.m_Drives[i].m_Format, now.m_Drives[i].m_Format)) continue;
    events.AppendForDrive(E::PD_FORMAT_CHANGED, serial, now, now.m_Drives[i]);
  }
}

}  // namespace

CardStates StatesOf(const Console::Model& model) {
  CardStates states;
  for (const Object& object : model.Objects()) {
    const std::string serial = SerialOf(model, object);
    if (object.m_Kind != Console::Kind::Adapter || serial.empty()) continue;
    states.emplace(serial, StateOf(model, object));
  }
  return states;
}

void ApplyEvent(const HostKit::LoggedEvent& event, CardStates& logged) {
  if (event.m_SerialNumber.empty()) return;
  if (event.m_EventID == E::CTRL_PNPADD) {
    CardState added;
    added.m_IsPresent = added.m_IsNew = true;
    added.m_ObjectID = event.m_ObjectID;
    added.m_Name = event.m_SourceName;
    logged[event.m_SerialNumber] = added;
    return;
  }
  const auto found = logged.find(event.m_SerialNumber);
  if (found == logged.end()) return;
  CardState& card = found->second;
  if (event.m_EventID == E::CTRL_PNPREMOVE) card.m_IsPresent = false;
  if (event.m_EventID == E::CTRL_NORMAL) ClearAbnormalReasons(card.m_Reasons);
  if (event.m_EventID == E::PD_FORMAT_CHANGED) card.m_Drives.clear();
  const std::uint32_t reason = HostKit::ReasonOf(event.m_EventID);
  if (reason != 0) BeginReason(reason, card.m_Reasons);
}

void ApplyObservation(const CardStates& observed, std::uint64_t timeMs, CardStates& logged,
                      Absences& absences) {
  for (const auto& [serial, seen] : observed) {
    const auto found = logged.find(serial);
    if (found == logged.end() || !found->second.m_IsPresent) continue;  // its event will follow
    CardState& card = found->second;
    card.m_ObjectID = seen.m_ObjectID;
    card.m_Name = seen.m_Name;
    if (card.m_IsNew) card.m_Reasons = seen.m_Reasons;
    card.m_IsNew = false;
    EndReasons(seen.m_Reasons, timeMs, card.m_Reasons, absences[serial]);
    ApplyDrives(seen.m_Drives, card.m_Drives);
  }
}

std::vector<StateEvent> EventsBetween(const CardStates& before, const CardStates& now,
                                      std::uint64_t timeMs) {
  Events events(timeMs);
  for (const auto& [serial, card] : before) {
    const auto found = now.find(serial);
    const bool isGone = found == now.end() || !found->second.m_IsPresent;
    if (card.m_IsPresent && isGone) events.AppendForCard(E::CTRL_PNPREMOVE, serial, card);
  }
  for (const auto& [serial, card] : now) {
    if (!card.m_IsPresent) continue;
    const auto found = before.find(serial);
    if (found == before.end() || !found->second.m_IsPresent) {
      events.AppendForCard(E::CTRL_PNPADD, serial, card);
    } else {
      AppendChanges(serial, found->second, card, events);
    }
  }
  return events.m_All;
}

}  // namespace Service
