// status: problems of the cards, their causes and what to do.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "base/Printable.h"
#include "console/base/Timestamp.h"
#include "console/cli/CommandTable.h"
#include "console/commands/Acknowledged.h"
#include "console/model/EffectiveState.h"
#include "console/model/Health.h"
#include "console/model/NumberText.h"
#include "console/model/Selectors.h"
#include "console/render/CommandResult.h"
#include "console/render/HealthCells.h"
#include "console/render/ReadingJson.h"
#include "console/render/TextWidth.h"
#include "console/report/CardList.h"
#include "console/report/CommandContext.h"
#include "console/report/EventMatcher.h"
#include "console/report/Limits.h"
#include "console/report/SeveralObjects.h"
#include "console/report/StatusSince.h"

namespace Console {
namespace {

using Objects = std::vector<const Object*>;

using Service::Acknowledgment;

// `acknowledgment` may be null.
Json ReasonJson(const Reason& reason, const Acknowledgment* acknowledgment) {
  Json json = {{"number", reason.m_Number},
               {"name", reason.m_Name},
               {"caption", reason.m_Caption},
               {"detail", reason.m_Detail.empty() ? Json() : Json(reason.m_Detail)},
               {"measured", ReadingJson(reason.m_Measured)},
               {"limit", ReadingJson(reason.m_Limit)}};
  json["advice"] = nullptr;
  if (!reason.m_Advice.empty()) json["advice"] = reason.m_Advice;
  json["acknowledgment"] = acknowledgment == nullptr ? Json() : AcknowledgmentJson(*acknowledgment);
  return json;
}

// An object with its health, and the time at which its current status started, if known.
struct StatusEntry {
  const Object* m_pObject;
  Health m_Health;
  std::optional<std::uint64_t> m_Since;
  bool m_IsNamed = false;  // by the user
  // Of each reason; empty: not acknowledged.
  std::vector<std::optional<Acknowledgment>> m_Acknowledgments;

  const Acknowledgment* AcknowledgmentOf(std::size_t reason) const {
    const bool isKnown = reason < m_Acknowledgments.size() && m_Acknowledgments[reason];
    return isKnown ? &*m_Acknowledgments[reason] : nullptr;
  }
};

Json HealthJson(const StatusEntry& entry) {
  const Object& object = *entry.m_pObject;
  const Health& health = entry.m_Health;
  Json json = {{"object", object.m_Selector},
               {"type", KindName(object.m_Kind)},
               {"id", IdJson(object)},
               {"ok", IsHealthy(health.m_Status)}};
  PutValue(json, "status", health.m_Status);
  PutValue(json, "activity", health.m_Activity);
  json["since"] = TimeJson(entry.m_Since.value_or(0));
  if (object.m_Kind == Kind::Adapter) {
    json["last_seen_at"] = TimeJson(object.m_LastSeen);
    json["last_read_at"] = TimeJson(object.m_LastRead);
  }
  json["reasons"] = Json::array();
  for (std::size_t i = 0; i < health.m_Reasons.size(); ++i) {
    json["reasons"].push_back(ReasonJson(health.m_Reasons[i], entry.AcknowledgmentOf(i)));
  }
  return json;
}

Row StatusRow(const Object& object, const Health& health, const Reason* reason, bool ascii) {
  Cell status = ValueCell(health.m_Status, ascii);
  status.m_Human = StatusText(health.m_Status);
  Row row{{TextCell(object.m_Selector), status}, std::nullopt};
  if (reason == nullptr) {
    row.m_Cells.insert(row.m_Cells.end(), {TextCell("-"), TextCell("-"), TextCell("-")});
  } else {
    row.m_Cells.push_back(TextCell(reason->m_Name));
    row.m_Cells.push_back(TextCell(ReasonText(*reason, ascii)));
    row.m_Cells.push_back(TextCell(reason->m_Advice.empty() ? "-" : reason->m_Advice));
  }
  return row;
}

void AddRows(Table& table, const Object& object, const Health& health, bool ascii) {
  if (health.m_Reasons.empty()) {
    table.m_Rows.push_back(StatusRow(object, health, nullptr, ascii));
  }
  for (const Reason& reason : health.m_Reasons) {
    table.m_Rows.push_back(StatusRow(object, health, &reason, ascii));
  }
}

constexpr std::size_t kIndent = 3;
constexpr const char* kGap = "     ";  // between the parts of a reason

// Returns "slot 2", or the PCI address if the slot is unknown; empty if both are.
std::string PlaceText(const Model& model, const Object& object) {
  const Object* card = AdapterOf(model, object);
  if (card == nullptr) return {};
  const std::string slot = FieldText(*card, "pci_slot");
  return slot.empty() ? FieldText(*card, "pci_address") : "slot " + slot;
}

// Returns the status with the object's place and serial number, and since when it has had it.
std::string HeaderText(const Model& model, const StatusEntry& entry, const Style& style) {
  std::vector<std::string> details;
  for (const std::string& text :
       {PlaceText(model, *entry.m_pObject), SerialOf(model, *entry.m_pObject)}) {
    if (!text.empty()) details.push_back(text);
  }
  if (entry.m_Since) {
    const TimeZone zone = style.m_LocalTime ? TimeZone::Local : TimeZone::Utc;
    details.push_back("since " + SinceText(*entry.m_Since, NowMs(), zone));
  }
  const std::string status = StatusText(entry.m_Health.m_Status);
  const std::string line = fmt::format("{} {}{}{}", entry.m_pObject->m_Selector, status,
                                       details.empty() ? "" : "  ", fmt::join(details, ", "));
  std::string text = WrapText(line, style.m_Width, kIndent);
  const std::size_t at = entry.m_pObject->m_Selector.size() + 1;
  if (text.compare(at, status.size(), status) != 0) return text;
  return text.replace(at, status.size(),
                      Colored(status, entry.m_Health.m_Status.m_Severity, style));
}

// Returns the measured value with its limits, such as "79 °C (warning 78, critical 85)", and the
// description of the reason unless the unit says it. A value from before the last report has a
// question mark.
std::string MeasurementText(const Object& object, const Reason& reason, bool ascii) {
  const Field* const field = reason.m_Measured.m_Field;
  const std::string limits = field == nullptr ? "" : LimitsText(object, field->m_Name);
  if (limits.empty()) return ReasonText(reason, ascii);
  const bool isOld = object.m_Access == Access::Unreadable;
  const std::string text = fmt::format(
      "{}{} ({})",
      TextApartFrom(LimitValues(object, field->m_Name), reason.m_Measured.m_Value, ascii),
      isOld ? "?" : "", limits);
  const bool isClear = field->m_Kind == ValueKind::Celsius;
  return Base::Printable(isClear ? text : reason.m_Caption + ": " + text);
}

// Names the place in advice that is about the card: "the card in slot 2".
std::string AdviceText(const std::string& advice, const std::string& place) {
  static const std::string kCard = "the card";
  const std::size_t at = advice.find(kCard);
  const std::size_t end = at + kCard.size();
  const bool isWord =
      at != std::string::npos &&
      (end == advice.size() || std::string(" ,.:;").find(advice[end]) != std::string::npos);
  if (!isWord || place.rfind("slot ", 0) != 0) return advice;
  return advice.substr(0, end) + " in " + place + advice.substr(end);
}

// Puts the parts on one line. If the terminal is too narrow, the first part, which is the reading,
// gets its own line, and if that is not enough, each part does.
std::string PartsText(const std::vector<std::string>& parts, const Style& style) {
  const std::string margin(kIndent, ' ');
  const auto lineOf = [&](std::size_t first) {
    return fmt::format("{}{}", margin, fmt::join(parts.begin() + first, parts.end(), kGap));
  };
  std::string text;
  for (std::size_t first = 0; first < parts.size(); ++first) {
    const std::string rest = lineOf(first);
    if (style.m_Width == 0 || ColumnsOf(rest) <= style.m_Width) return text + rest + "\n";
    text += WrapText(margin + parts[first], style.m_Width, 2 * kIndent);
  }
  return text;
}

bool IsFormatting(const Object& drive) {
  return drive.m_Kind == Kind::Drive && FieldText(drive, "status") == kFormatting;
}

// Whether a drive of this card is being formatted. The card is detached during a format, and
// refuses to be attached.
bool HasFormat(const Model& model, const Object& card) {
  const Objects drives = DrivesOf(model, card);
  return std::any_of(drives.begin(), drives.end(),
                     [](const Object* drive) { return IsFormatting(*drive); });
}

std::string ReasonLine(const Model& model, const Object& object, const Reason& reason,
                       const Style& style) {
  std::vector<std::string> parts = {MeasurementText(object, reason, style.m_Ascii)};
  if (reason.m_Name == kDetached && HasFormat(model, object)) {
    parts.emplace_back("Wait until the format is done.");
  } else if (!reason.m_Advice.empty()) {
    parts.push_back(AdviceText(reason.m_Advice, PlaceText(model, object)));
  }
  parts.push_back("explain " + reason.m_Name);
  return PartsText(parts, style);
}

// Returns what to do about a status without a reason.
std::string NextStep(const Model& model, const Object& object) {
  const Object* const card = IsFormatting(object) ? AdapterOf(model, object) : nullptr;
  if (card == nullptr) return "show " + object.m_Selector;
  return fmt::format("Wait until it is done: corvane-host wait {} activity=IDLE", card->m_Selector);
}

bool IsDetached(const Health& health) {
  return BareText(health.m_Status) == kDetached;
}

std::string HealthText(const Model& model, const StatusEntry& entry, const Style& style) {
  const Object& object = *entry.m_pObject;
  const Health& health = entry.m_Health;
  std::string text = HeaderText(model, entry, style);
  for (std::size_t i = 0; i < health.m_Reasons.size(); ++i) {
    text += ReasonLine(model, object, health.m_Reasons[i], style);
    const Acknowledgment* acknowledgment = entry.AcknowledgmentOf(i);
    if (acknowledgment == nullptr) continue;
    text += PartsText({Base::Printable(AcknowledgmentText(*acknowledgment))}, style);
  }
  const bool isExplained = IsHealthy(health.m_Status) || IsDetached(health);
  const bool isChanging = !ChangeOfStateText(health).empty();
  if (isChanging || (health.m_Reasons.empty() && !isExplained)) {
    text += PartsText({TextWithoutReason(health), NextStep(model, object)}, style);
  }
  return text;
}

// Healthy cards are only counted, and healthy drives are not shown, unless the user named them or
// the card is being attached or detached. A drive that has the status of its card adds nothing to
// what is shown for the card.
bool IsShown(const StatusEntry& entry) {
  const Value& status = entry.m_Health.m_Status;
  const bool isChanging = !ChangeOfStateText(entry.m_Health).empty();
  return entry.m_IsNamed || isChanging ||
         (!IsHealthy(status) && !RepeatsCard(*entry.m_pObject, status));
}

std::string HealthyText(std::size_t healthy, std::size_t cards, bool isSelection) {
  if (cards == 0 || (healthy == 0 && isSelection)) return {};
  const std::string count =
      healthy == cards ? std::to_string(cards) : fmt::format("{} of {}", healthy, cards);
  return fmt::format("{} card{} ok\n", count, cards == 1 ? "" : "s");
}

// Returns the entries in the order of their cards' severity, those of a card with the drives that
// are being formatted first: this is why the card is detached. Objects without a card come last.
std::vector<const StatusEntry*> SortedEntries(const Model& model,
                                              const std::vector<StatusEntry>& all) {
  std::vector<const Object*> cards = CardsWorstFirst(model);
  cards.push_back(nullptr);
  std::vector<const StatusEntry*> sorted;
  for (const Object* card : cards) {
    for (const bool isFormatting : {true, false}) {
      for (const StatusEntry& entry : all) {
        const Object& object = *entry.m_pObject;
        if (AdapterOf(model, object) != card || IsFormatting(object) != isFormatting) continue;
        sorted.push_back(&entry);
      }
    }
  }
  return sorted;
}

// Shows the objects with problems, then counts the healthy cards.
std::string Text(const Model& model, const std::vector<StatusEntry>& all, const Style& style) {
  std::string text;
  std::size_t cards = 0, healthy = 0;
  bool isSelection = false;
  for (const StatusEntry* entry : SortedEntries(model, all)) {
    const bool isCard = entry->m_pObject->m_Kind == Kind::Adapter;
    const bool isShown = IsShown(*entry);
    if (isShown) text += HealthText(model, *entry, style);
    isSelection = isSelection || entry->m_IsNamed;
    if (isCard) ++cards;
    if (isCard && !isShown) ++healthy;
  }
  return text + HealthyText(healthy, cards, isSelection);
}

void AddAcknowledgments(StatusEntry& entry, const std::vector<Acknowledgment>& all) {
  const std::string serial = FieldText(*entry.m_pObject, "serial_number");
  for (const Reason& reason : entry.m_Health.m_Reasons) {
    const Acknowledgment* found = FindAcknowledgment(all, serial, reason.m_Name);
    entry.m_Acknowledgments.push_back(found == nullptr ? std::nullopt : std::optional(*found));
  }
}

// Reads the event log and the acknowledgments only if an object has status reasons.
std::vector<StatusEntry> CreateEntries(Context& context, const Model& model, const Objects& named) {
  std::vector<StatusEntry> all;
  for (const Object* object : ObjectsWithStatus(model, named)) {
    const bool isNamed = std::find(named.begin(), named.end(), object) != named.end();
    all.push_back({object, HealthOf(*object), std::nullopt, isNamed, {}});
  }
  if (std::all_of(all.begin(), all.end(),
                  [](const StatusEntry& entry) { return entry.m_Health.m_Reasons.empty(); })) {
    return all;
  }
  context.Open().CollectEvents();
  const auto events =
      EventMatcher(model).GroupByObject(context.EventLog().Read(0, EventLogClient::kAll));
  const std::vector<Acknowledgment> acknowledged = ReadAcknowledgments(context);
  for (StatusEntry& entry : all) {
    AddAcknowledgments(entry, acknowledged);
    const auto found = events.find(entry.m_pObject);
    if (entry.m_pObject->m_Access != Access::Readable && entry.m_pObject->m_LastSeen != 0) {
      entry.m_Since = entry.m_pObject->m_LastSeen;
    } else if (found != events.end())
      entry.m_Since = StatusSince(entry.m_Health, found->second);
  }
  return all;
}

CommandResult Run(Context& context) {
  const Model model = context.Objects();
  const std::vector<NamedObject> names = FindSeveral(model, context.m_Arguments);
  const Objects named = ReportNotFound(context, names);
  const std::vector<StatusEntry> all = CreateEntries(context, model, named);
  CommandResult result;
  if (named.size() < names.size()) result.m_Code = ExitCode::PartlyFailed;
  result.m_Items = "objects";
  result.m_Json = {{"objects", Json::array()}};
  result.m_Table.m_Columns = {{"OBJECT", "object", false},
                              {"STATUS", "status", false},
                              {"REASON", "reason", false},
                              {"WHY", "why", false},
                              {"DO", "do", false}};
  result.m_Text = Text(model, all, context.m_Style);
  for (const StatusEntry& entry : all) {
    result.m_Json["objects"].push_back(HealthJson(entry));
    AddRows(result.m_Table, *entry.m_pObject, entry.m_Health, context.m_Style.m_Ascii);
  }
  return result;
}

}  // namespace

Command StatusCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "status";
  command.m_Arguments = "[OBJ...]";
  command.m_MinArguments = 0;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "show problems, their causes and what to do";
  command.m_OutputFormats = {"table", "tsv", "json", "jsonl"};
  command.m_Run = Run;
  command.m_Description =
      "Shows the cards that are not healthy, those with the most severe status first: their "
      "place, and for each reason the reading with its limits, the recommended action and the "
      "command that explains it. Healthy cards are counted. With OBJ, shows only these objects "
      "and the objects below them; all selects all adapters.";
  command.m_Examples = {{"status", "find out why a card has a warning, and what to do", true},
                        {"status a1 -o json", "check one card, for a script"}};
  return command;
}

}  // namespace Console
