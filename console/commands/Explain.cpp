// explain: the meaning of a number or name, and what to do about it.
#include <fmt/format.h>

#include <boost/algorithm/string.hpp>
#include <optional>

#include "base/Printable.h"
#include "console/cli/CommandTable.h"
#include "console/model/EventSeverity.h"
#include "console/model/Health.h"
#include "console/model/NameIndex.h"
#include "console/model/Selectors.h"
#include "console/render/CommandResult.h"
#include "console/render/ReadingJson.h"
#include "console/render/TextWidth.h"
#include "console/report/CommandContext.h"
#include "console/report/Limits.h"

namespace Console {
namespace {

using HostKit::Family;

// A state or property that the console derives, and that has no number.
struct DerivedText {
  const char* m_Family;
  const char* m_Name;
  const char* m_Caption;
  const char* m_Meaning;
  const char* m_Advice;
};

constexpr DerivedText kDerivedTexts[] = {
    {"state", "MISSING", "Missing",
     "The card was present earlier but is no longer in this machine.",
     "Reseat the card or restore its power. If it was removed on purpose, run: corvane-host forget "
     "SERIAL"},
    {"state", "UNREADABLE", "Unreadable",
     "The card is in this machine, but cannot be opened or read.",
     "Check the driver's messages (dmesg), then reseat or replace the card."},
    {"state", "FORMATTING", "Formatting",
     "The drive is being formatted and cannot be used until the format is complete.",
     "Wait until the format has finished: corvane-host wait CARD activity=IDLE"},
    {"property", "unreadable_reason", "Cause", "Why the card cannot be opened or read.", ""},
    {"property", "locate_led", "Locate LED", "Whether the locate LED of the card is on.", ""},
    {"property", "last_seen_at", "Last seen", "When the card was last seen in this machine.", ""},
    {"property", "last_read_at", "Last read", "When the card was last read successfully.", ""},
    {"property", "formatted_size_bytes", "Formatted size",
     "The formatted size of all drives of the card.", ""},
};

// Statuses that the plug-in reports. Its texts only name them.
struct StatusText {
  std::uint32_t m_Number;
  const char* m_Meaning;
  const char* m_Advice;
};

constexpr StatusText kStatusTexts[] = {
    {PI::Value::FAILED,
     "The card or its drive has failed, or a value is beyond its critical limit.",
     "Back up the data of the card. For the causes and what to do: corvane-host status"},
    {PI::Value::WARNING,
     "The card works, but has a problem that needs attention, such as a value beyond its limit.",
     "For the causes and what to do: corvane-host status"},
};

const StatusText* StatusTextOf(const Entry& entry) {
  const auto* const found =
      std::find_if(std::begin(kStatusTexts), std::end(kStatusTexts),
                   [&](const StatusText& row) { return row.m_Number == entry.m_Number; });
  const bool isStatus = entry.m_Family == Family::Value && found != std::end(kStatusTexts);
  return isStatus ? found : nullptr;
}

// The message of an event contains placeholders; its meaning has names in their place.
std::string CaptionOf(const Entry& entry) {
  return entry.m_Family == Family::Event ? HostKit::MeaningOf(entry.m_Family, entry.m_Number)
                                         : HostKit::CaptionOf(entry.m_Family, entry.m_Number);
}

std::string MeaningOf(const Entry& entry) {
  const StatusText* const status = StatusTextOf(entry);
  return status == nullptr ? HostKit::MeaningOf(entry.m_Family, entry.m_Number) : status->m_Meaning;
}

std::string AdviceOf(const Entry& entry) {
  const StatusText* const status = StatusTextOf(entry);
  return status == nullptr ? HostKit::AdviceOf(entry.m_Family, entry.m_Number) : status->m_Advice;
}

// What the text says about one number or name.
struct Explanation {
  explicit Explanation(const Entry& entry)
      : m_Entry(entry),
        m_Number(std::to_string(entry.m_Number)),
        m_Name(NameOf(entry)),
        m_Family(FamilyName(entry)),
        m_Caption(CaptionOf(entry)),
        m_Meaning(MeaningOf(entry)),
        m_Advice(AdviceOf(entry)),
        m_Fields(FieldsOf(entry)) {}
  explicit Explanation(const DerivedText& state)
      : m_Number("-"),
        m_Name(state.m_Name),
        m_Family(state.m_Family),
        m_Caption(state.m_Caption),
        m_Meaning(state.m_Meaning),
        m_Advice(state.m_Advice) {}

  const std::optional<Entry> m_Entry;  // empty: derived by the console
  const std::string m_Number;
  const std::string m_Name;
  const std::string m_Family;
  const std::string m_Caption;
  const std::string m_Meaning;
  const std::string m_Advice;  // empty: nothing to do
  const std::vector<FieldUse> m_Fields;
};

// How an explanation applies to the card of an object.
struct Circumstances {
  std::string m_Selector;
  std::string m_Slot;  // the texts are empty if unknown
  std::string m_PciAddress;
  std::string m_SerialNumber;
  std::optional<bool> m_IsReported;  // empty: not a reason or state
  Reason m_Reason;
  std::string m_Limits;  // of a property, as text; empty: none
};

// Returns the reason for a status that an entry explains, or 0.
std::uint32_t ReasonNumber(const Explanation& about) {
  if (!about.m_Entry) return 0;
  const Entry& entry = *about.m_Entry;
  if (entry.m_Family == Family::Event) return HostKit::ReasonOf(entry.m_Number);
  const bool isReason =
      entry.m_Family == Family::Value && HostKit::StatusOf(entry.m_Number) != PI::Value::UNDEFINED;
  return isReason ? entry.m_Number : 0;
}

// Returns the current value of a property as the measured value.
Reason PropertyReading(const Object& object, const Explanation& about) {
  Reason reason;
  for (const FieldUse& use : about.m_Fields) {
    if (use.m_Kind != object.m_Kind) continue;
    reason.m_Measured = {use.m_Field, ReadField(object, *use.m_Field)};
  }
  const Field* derived = about.m_Entry ? nullptr : FindField(object.m_Kind, about.m_Name);
  if (derived != nullptr) reason.m_Measured = {derived, ReadField(object, *derived)};
  return reason;
}

Circumstances CircumstancesOf(const Model& model, const Object& object, const Explanation& about) {
  const Object* adapter = AdapterOf(model, object);
  const Object& card = adapter == nullptr ? object : *adapter;
  Circumstances now{object.m_Selector,
                    FieldText(card, "pci_slot"),
                    FieldText(card, "pci_address"),
                    FieldText(card, "serial_number"),
                    std::nullopt,
                    {},
                    ""};
  const std::uint32_t number = ReasonNumber(about);
  if (number == 0 && (about.m_Entry || about.m_Family == "property")) {
    now.m_Reason = PropertyReading(object, about);
    const Field* const field = now.m_Reason.m_Measured.m_Field;
    if (field != nullptr) now.m_Limits = LimitsText(object, field->m_Name);
    return now;
  }
  const Health health = HealthOf(card);
  now.m_IsReported = about.m_Name == BareText(health.m_Status);
  if (number == 0) return now;
  now.m_Reason = DescribeReason(card, number);
  for (const Reason& reason : health.m_Reasons) {
    if (reason.m_Number == number) now.m_IsReported = true;
  }
  return now;
}

std::string PlaceText(const Circumstances& now) {
  std::string text = now.m_Selector;
  if (!now.m_Slot.empty()) text += ", slot " + now.m_Slot;
  if (!now.m_PciAddress.empty()) text += ", PCI " + now.m_PciAddress;
  if (!now.m_SerialNumber.empty()) text += ", serial " + now.m_SerialNumber;
  return Base::Printable(text);
}

std::string CircumstancesText(const Circumstances& now, bool ascii) {
  std::string text = fmt::format("    where  {}\n", PlaceText(now));
  std::string state;
  if (now.m_IsReported) state = *now.m_IsReported ? "reported" : "not reported";
  std::string readings = ReadingText(now.m_Reason, ascii);
  if (!now.m_Limits.empty()) readings += fmt::format(" ({})", now.m_Limits);
  if (!state.empty() && !readings.empty()) readings = "; " + readings;
  if (!(state + readings).empty()) text += fmt::format("    now    {}{}\n", state, readings);
  return text;
}

Json KnownText(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

Json CircumstancesJson(const Circumstances& now) {
  return {{"object", now.m_Selector},
          {"pci_slot", now.m_Slot.empty() ? Json() : Json::parse(now.m_Slot)},
          {"pci_address", KnownText(now.m_PciAddress)},
          {"serial_number", KnownText(now.m_SerialNumber)},
          {"reported", now.m_IsReported ? Json(*now.m_IsReported) : Json()},
          {"measured", ReadingJson(now.m_Reason.m_Measured)},
          {"limit", ReadingJson(now.m_Reason.m_Limit)}};
}

// Returns null if the entry is not an event.
const char* SeverityOf(const Explanation& about) {
  const bool isEvent = about.m_Entry && about.m_Entry->m_Family == Family::Event;
  return isEvent ? SeverityName(HostKit::SeverityOf(about.m_Entry->m_Number)) : nullptr;
}

Json FieldJson(const FieldUse& use) {
  const char* unit = UnitOf(use.m_Field->m_Kind);
  return {{"name", use.m_Field->m_Name},
          {"type", KindName(use.m_Kind)},
          {"unit", unit == nullptr ? Json() : Json(unit)}};
}

Json EntryJson(const Explanation& about, const std::optional<Circumstances>& now) {
  const char* severity = SeverityOf(about);
  Json fields = Json::array();
  for (const FieldUse& use : about.m_Fields) fields.push_back(FieldJson(use));
  return {{"family", about.m_Family},
          {"number", about.m_Entry ? Json(about.m_Entry->m_Number) : Json()},
          {"name", about.m_Name},
          {"caption", about.m_Caption},
          {"meaning", about.m_Meaning},
          {"advice", about.m_Advice.empty() ? Json() : Json(about.m_Advice)},
          {"severity", severity == nullptr ? Json() : Json(severity)},
          {"terms", fields},
          {"circumstances", now ? CircumstancesJson(*now) : Json()}};
}

std::string UnitText(ValueKind kind) {
  const char* unit = UnitOf(kind);
  if (unit == nullptr) return {};
  if (kind == ValueKind::Ratio) return ", a ratio from 0 to 1";
  if (kind == ValueKind::Celsius) return ", in degrees Celsius";
  return fmt::format(", in {}", unit);
}

std::string FieldText(const FieldUse& use) {
  return fmt::format("    name   {} ({}{})\n", use.m_Field->m_Name, KindName(use.m_Kind),
                     UnitText(use.m_Field->m_Kind));
}

std::string EntryText(const Explanation& about, const std::optional<Circumstances>& now,
                      bool ascii) {
  const char* severity = SeverityOf(about);
  std::string text =
      fmt::format("{}  {}  {}{}{}\n", about.m_Number, about.m_Name, about.m_Family,
                  severity == nullptr ? "" : ", ", severity == nullptr ? "" : severity);
  text += fmt::format("    means  {}\n", about.m_Meaning);
  if (now) text += CircumstancesText(*now, ascii);
  if (!about.m_Advice.empty()) text += fmt::format("    do     {}\n", about.m_Advice);
  for (const FieldUse& use : about.m_Fields) text += FieldText(use);
  return text;
}

[[noreturn]] void ThrowNotFound(const std::string& text) {
  std::vector<std::string> names = AllNames();
  for (const DerivedText& state : kDerivedTexts) names.emplace_back(state.m_Name);
  std::vector<std::string> advice = DidYouMean(text, names);
  advice.emplace_back("Numbers appear in events and errors, names in status and show.");
  throw Failure(ExitCode::NoObject, "NO_SUCH_ENTRY", text,
                "not the number or name of an error, event, operation, property, value or state",
                advice);
}

// Returns all entries with that number or name, and the derived state or property with that name.
std::vector<Explanation> FindExplanations(const std::string& text) {
  std::vector<Explanation> found;
  for (const Entry& entry : FindEntries(text)) found.emplace_back(entry);
  for (const DerivedText& state : kDerivedTexts) {
    if (boost::iequals(text, state.m_Name)) found.emplace_back(state);
  }
  if (found.empty()) ThrowNotFound(text);
  return found;
}

Row RowOf(const Explanation& about) {
  return {{TextCell(about.m_Family), TextCell(about.m_Number), TextCell(about.m_Name),
           TextCell(about.m_Caption), TextCell(about.m_Meaning),
           TextCell(about.m_Advice.empty() ? "-" : about.m_Advice)},
          std::nullopt};
}

// Continues each line that is wider than the terminal below its text.
std::string Wrapped(const std::string& text, const Style& style) {
  constexpr std::size_t kIndent = 11;
  std::vector<std::string> lines;
  boost::split(lines, boost::trim_right_copy_if(text, boost::is_any_of("\n")),
               boost::is_any_of("\n"));
  std::string wrapped;
  for (const std::string& line : lines) wrapped += WrapText(line, style.m_Width, kIndent);
  return wrapped;
}

CommandResult Run(Context& context) {
  const std::vector<Explanation> found = FindExplanations(context.m_Arguments[0]);
  std::optional<Model> model;
  const Object* object = nullptr;
  if (context.m_Arguments.size() > 1) {
    model = context.Objects();
    object = &Select(*model, context.m_Arguments[1]);
  }
  CommandResult result;
  result.m_Text = "";
  result.m_Json = {{"entries", Json::array()}};
  result.m_Table.m_Columns = {{"FAMILY", "family", false},   {"NUMBER", "number", true},
                              {"NAME", "name", false},       {"CAPTION", "caption", false},
                              {"MEANING", "meaning", false}, {"ADVICE", "advice", false}};
  for (const Explanation& about : found) {
    std::optional<Circumstances> now;
    if (object != nullptr) now = CircumstancesOf(*model, *object, about);
    *result.m_Text += Wrapped(EntryText(about, now, context.m_Style.m_Ascii), context.m_Style);
    result.m_Json["entries"].push_back(EntryJson(about, now));
    result.m_Table.m_Rows.push_back(RowOf(about));
  }
  return result;
}

}  // namespace

Command ExplainCommand() {
  Command command;
  command.m_Group = Group::Help;
  command.m_Name = "explain";
  command.m_Arguments = "ID [OBJ]";
  command.m_MinArguments = 1;
  command.m_MaxArguments = 2;
  command.m_Summary = "explain a number or name, and what to do about it";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Run = Run;
  command.m_Description =
      "Explains an event, error, operation, property, value or state. If several match, all of "
      "them "
      "are shown. With OBJ, also shows where its card is, and the current value and limit.";
  command.m_Exits = {{3, "no entry has that number or name, or no such object"}};
  command.m_Examples = {
      {"explain 10972", "explain an event number", true},
      {"explain TEMPERATURE_ABOVE_WARN a1", "explain a status reason of a card, and what to do"}};
  return command;
}

}  // namespace Console
