#include "console/model/EffectiveState.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <utility>

#include "console/base/Timestamp.h"
#include "console/model/CardLimits.h"
#include "console/model/FieldTable.h"
#include "hostkit/Texts.h"
#include "hostkit/ValueTypes.h"

namespace Console {
namespace {

constexpr const char* kLocateLed = "locate_led";
constexpr const char* kOn = "ON";
constexpr const char* kOff = "OFF";

struct StatusRow {
  const char* m_Name;
  Severity m_Severity;
  bool m_IsOfAdapters;  // derived for adapters
  bool m_IsOfDrives;    // derived for drives
};

// Worst first. The last two columns are false for statuses that the plug-in reports.
constexpr StatusRow kStatuses[] = {
    // name            severity           adapters drives
    {kMissing, Severity::Bad, true, false},
    {kUnreadable, Severity::Bad, true, true},
    {"FAILED", Severity::Bad, false, false},
    {"WARNING", Severity::Warning, false, false},
    {"AVAILABLE_SMART", Severity::Warning, false, false},
    {"UNKNOWN", Severity::Warning, false, false},
    {kFormatting, Severity::Neutral, false, true},
    {kDetached, Severity::Neutral, true, true},
    {"OK", Severity::Good, false, false},
    {"AVAILABLE", Severity::Good, false, false},
};

const StatusRow* FindRow(const std::string& status) {
  const auto* const found =
      std::find_if(std::begin(kStatuses), std::end(kStatuses),
                   [&](const StatusRow& row) { return status == row.m_Name; });
  return found == std::end(kStatuses) ? nullptr : found;
}

void SetStatus(Object& object, const std::string& status) {
  object.Derive("status", {ValueKind::Choice, status, FindRow(status)->m_Severity});
}

bool IsWorse(const std::string& status, const Value& current) {
  return StatusRank({ValueKind::Choice, status, Severity::Neutral}) < StatusRank(current);
}

void SetText(Object& object, const char* field, const std::string& text) {
  if (text.empty()) return;
  object.Derive(field, {ValueKind::Text, text, Severity::Neutral});
}

void SetTime(Object& object, const char* field, std::uint64_t time) {
  if (time != 0) SetText(object, field, TimeText(time));
}

template <class Number>
void SetNumber(Object& object, const char* field, ValueKind kind,
               const std::optional<Number>& number) {
  if (!number || *number < 0) return;
  object.Derive(field, {kind, static_cast<std::uint64_t>(*number), Severity::Neutral});
}

// Sets the address, such as "0000:3b:00.0", and its parts. An address without a segment has no
// fourth part.
void SetAddress(Object& object, const std::string& address) {
  if (address.empty()) return;
  object.Derive("pci_address", {ValueKind::PciAddress, address, Severity::Neutral});
  unsigned segment = 0, bus = 0, device = 0, function = 0;
  const bool hasSegment = std::count(address.begin(), address.end(), ':') == 2;
  const int parts =
      hasSegment ? std::sscanf(address.c_str(), "%x:%x:%x.%x", &segment, &bus, &device, &function)
                 : std::sscanf(address.c_str(), "%x:%x.%x", &bus, &device, &function);
  if (parts != (hasSegment ? 4 : 3)) return;
  if (hasSegment) SetNumber(object, "pci_segment", ValueKind::Count, std::optional(segment + 0L));
  SetNumber(object, "pci_bus", ValueKind::Count, std::optional(bus + 0L));
  SetNumber(object, "pci_device", ValueKind::Count, std::optional(device + 0L));
  SetNumber(object, "pci_function", ValueKind::Count, std::optional(function + 0L));
}

// Sets what was known about a card that the plug-in does not report.
void DescribeUnreported(Object& adapter, const CardPlace& place) {
  if (const KnownCard* known = place.m_pKnown) {
    SetText(adapter, "name", known->m_Name);
    SetText(adapter, "product", known->m_Product);
    SetText(adapter, "serial_number", known->m_SerialNumber);
    SetAddress(adapter, known->m_PciAddress);
    SetNumber(adapter, "pci_slot", ValueKind::Count, known->m_Slot);
    SetNumber(adapter, "formatted_size_bytes", ValueKind::Bytes, known->m_SizeBytes);
  } else if (place.m_pUnreadable != nullptr) {
    SetText(adapter, "serial_number", place.m_pUnreadable->m_SerialNumber);
    SetAddress(adapter, place.m_pUnreadable->m_PciAddress);
  }
}

bool HasReason(const Object& adapter, std::int32_t reason) {
  const PI::CProperty* reasons = adapter.Find(PI::Property::ADDITIONAL_STATUS);
  if (reasons == nullptr || reasons->m_ValueType != HostKit::VALUE_TYPE_MULTI_CHOICE) return false;
  const auto& values = reasons->m_Value.m_MultiValue.m_Values;
  return std::find(values.begin(), values.end(), reason) != values.end();
}

// Whether the card's only problem is that it is detached, which an administrator may want.
bool IsOnlyDetached(const Object& adapter) {
  if (!HasReason(adapter, PI::Value::DETACHED)) return false;
  if (FieldText(adapter, "plugin_status") != "WARNING") return false;
  const auto& reasons = adapter.Find(PI::Property::ADDITIONAL_STATUS)->m_Value.m_MultiValue;
  return std::all_of(reasons.m_Values.begin(), reasons.m_Values.end(), [](std::int32_t reason) {
    return reason == PI::Value::DETACHED || reason == PI::Value::ATTACHED ||
           HostKit::StatusOf(static_cast<std::uint32_t>(reason)) == PI::Value::OK;
  });
}

void SetReason(Object& adapter, const std::string& reason) {
  std::vector<std::string> reasons = {reason};
  const Value reported = ReadField(adapter, "status_reasons");
  if (const auto* names = std::get_if<std::vector<std::string>>(&reported.m_Data)) {
    reasons.insert(reasons.end(), names->begin(), names->end());
  }
  adapter.Derive("status_reasons", {ValueKind::Choices, reasons, Severity::Neutral});
}

// Adds the reasons that the card should report for its measured values and does not.
void AddUnreportedReasons(Object& adapter) {
  const std::vector<std::int32_t> unreported = UnreportedReasons(adapter);
  for (auto each = unreported.rbegin(); each != unreported.rend(); ++each) {
    const auto reason = static_cast<std::uint32_t>(*each);
    const auto severity = static_cast<std::uint32_t>(HostKit::StatusOf(reason));
    const std::string status = HostKit::NameOf(HostKit::Family::Value, severity);
    SetReason(adapter, HostKit::NameOf(HostKit::Family::Value, reason));
    if (IsWorse(status, ReadField(adapter, "status"))) SetStatus(adapter, status);
  }
}

// Returns the total size of the drives; empty if none is known.
std::optional<std::uint64_t> SizeOf(const std::vector<const Object*>& drives) {
  std::optional<std::uint64_t> total;
  for (const Object* drive : drives) {
    const Value size = ReadField(*drive, "formatted_size_bytes");
    if (const auto* bytes = std::get_if<std::uint64_t>(&size.m_Data)) {
      total = total.value_or(0) + *bytes;
    }
  }
  return total;
}

std::uint64_t LastSeen(const Object& adapter, const CardPlace& place, const CardTimes& times) {
  if (adapter.m_Access == Access::Readable) return times.m_ObservedAt;
  const std::uint64_t known = place.m_pKnown == nullptr ? 0 : place.m_pKnown->m_LastSeen;
  return std::max(adapter.m_LastRead, known);
}

Access AccessOf(const CardPlace& place) {
  if (place.m_pUnreadable != nullptr) return Access::Unreadable;
  return place.m_pReported == nullptr ? Access::Missing : Access::Readable;
}

void SetAccess(Object& adapter, const CardPlace& place) {
  adapter.m_Access = AccessOf(place);
  if (adapter.m_Access == Access::Readable) {
    if (IsOnlyDetached(adapter)) SetStatus(adapter, kDetached);
    AddUnreportedReasons(adapter);
    return;
  }
  const char* const state = adapter.m_Access == Access::Missing ? kMissing : kUnreadable;
  SetReason(adapter, state);
  SetStatus(adapter, state);
  if (place.m_pUnreadable != nullptr) {
    SetText(adapter, "unreadable_reason", place.m_pUnreadable->m_Reason);
  }
}

// Whether the plug-in reports a healthy drive.
bool IsAvailable(const Object& drive) {
  return FieldText(drive, "plugin_status") == "AVAILABLE";
}

}  // namespace

std::vector<std::string> DerivedChoices(Kind kind, const std::string& field) {
  if (field == kLocateLed) return {kOn, kOff};
  std::vector<std::string> names;
  if (field != "status") return names;
  for (const StatusRow& row : kStatuses) {
    const bool isDerived =
        (kind == Kind::Adapter && row.m_IsOfAdapters) || (kind == Kind::Drive && row.m_IsOfDrives);
    if (isDerived) names.emplace_back(row.m_Name);
  }
  return names;
}

std::size_t StatusRank(const Value& status) {
  const StatusRow* row = FindRow(BareText(status));
  if (row == nullptr) row = FindRow("UNKNOWN");
  return static_cast<std::size_t>(row - std::begin(kStatuses));
}

bool RepeatsCard(const Object& object, const Value& status) {
  const std::string text = BareText(status);
  return object.m_Kind == Kind::Drive && (text == kDetached || text == kUnreadable);
}

bool IsAlsoDetached(const Object& object) {
  if (object.m_Kind != Kind::Adapter || object.m_Access != Access::Readable) return false;
  return HasReason(object, PI::Value::DETACHED) && FieldText(object, "status") != kDetached;
}

void DeriveAdapter(Object& adapter, const CardPlace& place,
                   const std::vector<const Object*>& drives, const CardTimes& times) {
  if (place.m_pReported == nullptr) {
    DescribeUnreported(adapter, place);
  } else {
    SetNumber(adapter, "formatted_size_bytes", ValueKind::Bytes, SizeOf(drives));
  }
  SetAccess(adapter, place);
  SetTime(adapter, "last_read_at", adapter.m_LastRead);
  adapter.m_LastSeen = LastSeen(adapter, place, times);
  SetTime(adapter, "last_seen_at", adapter.m_LastSeen);
}

void DeriveLocateLed(Object& adapter, const std::vector<LocateLed>& leds) {
  if (adapter.m_Access != Access::Readable) return;
  const auto led = std::find_if(leds.begin(), leds.end(), [&](const LocateLed& each) {
    return each.m_Adapter == adapter.m_ID;
  });
  if (led == leds.end()) return;
  const std::string state = led->m_IsOn ? kOn : kOff;
  adapter.Derive(kLocateLed, {ValueKind::Choice, state, Severity::Neutral});
}

void DeriveDrive(Object& drive, const Object& adapter, bool isFormatting) {
  const bool isBusy = FieldText(adapter, "activity") == "BUSY";
  if (adapter.m_Access == Access::Unreadable) {
    SetStatus(drive, kUnreadable);
  } else if (isFormatting || isBusy) {
    SetStatus(drive, kFormatting);
  } else if (IsAvailable(drive) && HasReason(adapter, PI::Value::DETACHED)) {
    SetStatus(drive, kDetached);
  }
}

}  // namespace Console
