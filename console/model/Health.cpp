#include "console/model/Health.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/replace.hpp>
#include <cstring>
#include <utility>

#include "base/Printable.h"
#include "console/model/CardLimits.h"
#include "console/model/EffectiveState.h"
#include "console/model/NumberText.h"
#include "hostkit/Texts.h"
#include "hostkit/ValueTypes.h"

namespace Console {
namespace {

namespace V = PI::Value;
using HostKit::Family;

// The label of a measured value, for reasons whose caption does not name the quantity.
struct MeasuredLabel {
  const char* m_Field;
  const char* m_Label;
  bool m_Always;  // false: only if the value is unknown
};

constexpr MeasuredLabel kMeasuredLabels[] = {
    {"temperature_celsius", "temperature", false},
    {"reserve_space_ratio", "reserve", false},
    {"endurance_used_ratio", "endurance used", true},
    {"slot_power_watts", "power", false},
};

Reading Read(const Object& object, const char* name) {
  const Field* field = name == nullptr ? nullptr : FindField(object.m_Kind, name);
  if (field == nullptr) return {};
  const Value value = ReadField(object, *field);
  if (!value.Known()) return {};
  return {field, value};
}

Reason CreateReason(const Object& object, std::int32_t value) {
  Reason reason;
  reason.m_Number = static_cast<std::uint32_t>(value);
  reason.m_Name = HostKit::NameOf(Family::Value, reason.m_Number);
  if (reason.m_Name.empty()) reason.m_Name = fmt::format("{}", value);
  reason.m_Caption = HostKit::CaptionOf(Family::Value, reason.m_Number);
  if (reason.m_Caption.empty()) reason.m_Caption = reason.m_Name;
  reason.m_Advice = HostKit::AdviceOf(Family::Value, reason.m_Number);
  if (const Measurement* const row = MeasurementOf(value)) {
    reason.m_Measured = Read(object, row->m_Measured);
    reason.m_Limit = Read(object, row->m_Limit);
  }
  return reason;
}

// Returns "79 °C" or "endurance used 16 %" for a known value. For an unknown value, returns
// "temperature unknown" if there is a limit, and an empty string otherwise.
std::string MeasuredText(const Reason& reason, bool ascii) {
  const bool known = reason.m_Measured.m_Field != nullptr;
  const std::string value =
      known ? TextApartFrom({reason.m_Limit.m_Value}, reason.m_Measured.m_Value, ascii) : "unknown";
  if (!known && reason.m_Limit.m_Field == nullptr) return {};
  const Measurement* const row = MeasurementOf(static_cast<std::int32_t>(reason.m_Number));
  for (const MeasuredLabel& label : kMeasuredLabels) {
    const bool isWanted = row != nullptr && (label.m_Always || !known);
    if (isWanted && std::strcmp(label.m_Field, row->m_Measured) == 0) {
      return fmt::format("{} {}", label.m_Label, value);
    }
  }
  return value;
}

// Reasons of cards that the plug-in cannot report.
struct AccessRow {
  Access m_Access;
  const char* m_Name;
  const char* m_Caption;
  const char* m_Advice;
};

constexpr AccessRow kAccessReasons[] = {
    {Access::Missing, kMissing, "Card missing",
     "Reseat the card. If it was removed for good, run: corvane-host forget SERIAL"},
    {Access::Unreadable, kUnreadable, "Card cannot be read",
     "Check the kernel log for messages of the card's driver, and reseat or replace the card."},
};

// Returns "last seen TIME at PCI ADDRESS, slot N", without what is unknown.
std::string PlaceText(const Object& adapter) {
  std::string text;
  const auto append = [&](const char* separator, const char* label, const char* field) {
    const std::string value = FieldText(adapter, field);
    if (!value.empty()) text += (text.empty() ? "" : separator) + std::string(label) + value;
  };
  append("", "last seen ", "last_seen_at");
  append(" at ", "PCI ", "pci_address");
  append(", ", "slot ", "pci_slot");
  return text;
}

Reason AccessReason(const Object& adapter) {
  Reason reason;
  for (const AccessRow& row : kAccessReasons) {
    if (row.m_Access != adapter.m_Access) continue;
    reason.m_Name = row.m_Name;
    reason.m_Caption = row.m_Caption;
    reason.m_Advice = boost::replace_all_copy(std::string(row.m_Advice), "SERIAL",
                                              FieldText(adapter, "serial_number"));
  }
  const std::string cause = FieldText(adapter, "unreadable_reason");
  const std::string place = PlaceText(adapter);
  reason.m_Detail = cause + (cause.empty() || place.empty() ? "" : ", ") + place;
  return reason;
}

}  // namespace

Health HealthOf(const Object& object) {
  Health health{ReadField(object, "status"), ReadField(object, "activity"), {}};
  if (object.m_Access != Access::Readable) health.m_Reasons.push_back(AccessReason(object));
  for (const std::int32_t reason : UnreportedReasons(object)) {
    health.m_Reasons.push_back(CreateReason(object, reason));
  }
  const PI::CProperty* reasons = object.Find(PI::Property::ADDITIONAL_STATUS);
  if (reasons == nullptr || reasons->m_ValueType != HostKit::VALUE_TYPE_MULTI_CHOICE) return health;
  for (const std::int32_t value : reasons->m_Value.m_MultiValue.m_Values) {
    if (value != V::ATTACHED) health.m_Reasons.push_back(CreateReason(object, value));
  }
  return health;
}

std::vector<const Object*> ObjectsWithStatus(const Model& model, const Object* top) {
  std::vector<const Object*> selected;
  for (const Object& object : model.Objects()) {
    if (object.m_Kind != Kind::Adapter && object.m_Kind != Kind::Drive) continue;
    const bool inside = top == nullptr || top->m_Kind == Kind::Plugin || top == &object ||
                        top == model.OwnerOf(object);
    if (inside) selected.push_back(&object);
  }
  return selected;
}

std::vector<const Object*> ObjectsWithStatus(const Model& model,
                                             const std::vector<const Object*>& named) {
  if (named.empty()) return ObjectsWithStatus(model);
  std::vector<const Object*> chosen;
  for (const Object* top : named) {
    for (const Object* object : ObjectsWithStatus(model, top)) {
      if (std::find(chosen.begin(), chosen.end(), object) == chosen.end()) chosen.push_back(object);
    }
  }
  return chosen;
}

std::vector<const Object*> WorstFirst(const Model& model, const Object* top) {
  std::vector<std::vector<const Object*>> cards;  // each with its drives
  for (const Object* object : ObjectsWithStatus(model, top)) {
    if (cards.empty() || object->m_Kind == Kind::Adapter) cards.emplace_back();
    cards.back().push_back(object);
  }
  const auto rank = [](const std::vector<const Object*>& card) {
    std::size_t worst = StatusRank(Value());
    for (std::size_t i = 0; i < card.size(); ++i) {
      const std::size_t each = StatusRank(ReadField(*card[i], "status"));
      worst = i == 0 ? each : std::min(worst, each);
    }
    return worst;
  };
  std::stable_sort(cards.begin(), cards.end(),
                   [&](const auto& left, const auto& right) { return rank(left) < rank(right); });
  std::vector<const Object*> sorted;
  for (const auto& card : cards) sorted.insert(sorted.end(), card.begin(), card.end());
  return sorted;
}

bool IsHealthy(const Value& status) {
  const std::string text = BareText(status);
  return text == "OK" || text == "AVAILABLE";
}

std::string ReadingText(const Reason& reason, bool ascii) {
  std::string text = MeasuredText(reason, ascii);
  if (reason.m_Limit.m_Field != nullptr) {
    text += fmt::format("{}limit {}", text.empty() ? "" : ", ",
                        HumanText(reason.m_Limit.m_Value, ascii));
  }
  return Base::Printable(text);
}

std::string ReasonText(const Reason& reason, bool ascii) {
  const std::string readings = ReadingText(reason, ascii);
  const std::string text =
      reason.m_Caption + (reason.m_Detail.empty() ? "" : ": ") + reason.m_Detail;
  return Base::Printable(text) + (readings.empty() ? "" : ": ") + readings;
}

Reason DescribeReason(const Object& object, std::uint32_t number) {
  return CreateReason(object, static_cast<std::int32_t>(number));
}

std::string ChangeOfStateText(const Health& health) {
  static constexpr std::pair<const char*, const char*> kTexts[] = {
      {"ATTACHING", "the card is being attached"},
      {"DETACHING", "the card is being detached"},
  };
  const std::string activity = BareText(health.m_Activity);
  for (const auto& [name, text] : kTexts) {
    if (activity == name) return text;
  }
  return {};
}

std::string TextWithoutReason(const Health& health) {
  if (const std::string change = ChangeOfStateText(health); !change.empty()) return change;
  static constexpr std::pair<const char*, const char*> kTexts[] = {
      {kUnreadable, "the card cannot be read"},
      {kFormatting, "a format is running"},
      {kDetached, "the card is detached"},
  };
  const std::string status = BareText(health.m_Status);
  for (const auto& [name, text] : kTexts) {
    if (status == name) return text;
  }
  const std::string activity = BareText(health.m_Activity);
  if (health.m_Activity.Known() && activity != "IDLE") {
    return fmt::format("busy: {}", activity);
  }
  return "the plug-in reports no reason";
}

std::string ReasonNames(const Health& health) {
  std::string names;
  for (const Reason& reason : health.m_Reasons) {
    names += (names.empty() ? "" : ", ") + reason.m_Name;
  }
  if (!ChangeOfStateText(health).empty()) {
    names += (names.empty() ? "" : ", ") + BareText(health.m_Activity);
  }
  return names;
}

}  // namespace Console
