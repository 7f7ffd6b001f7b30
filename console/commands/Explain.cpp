// explain: a number or name of the vocabulary in plain words.
#include <fmt/format.h>

#include <boost/algorithm/string/predicate.hpp>

#include "console/Answer.h"
#include "console/Context.h"
#include "console/commands/All.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

using HostKit::Family;

struct Entry {
  Family m_Family;
  const char* m_FamilyName;
  std::uint32_t m_Number;
};

#define ERROR_ENTRY(name, number) {Family::Error, "error", number},
#define EVENT_ENTRY(name, number) {Family::Event, "event", number},
#define OPERATION_ENTRY(name, number) {Family::Operation, "operation", number},
#define PROPERTY_ENTRY(name, number) {Family::Property, "property", number},
#define VALUE_ENTRY(name, number, text) {Family::Value, "value", number},

constexpr Entry kEntries[] = {
    // clang-format off
    PI_ERRORS(ERROR_ENTRY)
    PI_EVENTS(EVENT_ENTRY)
    PI_OPERATIONS(OPERATION_ENTRY)
    PI_PROPERTIES(PROPERTY_ENTRY)
    PI_SHORT_NAMES(PROPERTY_ENTRY)
    PI_VALUES(VALUE_ENTRY)
    // clang-format on
};

#undef ERROR_ENTRY
#undef EVENT_ENTRY
#undef OPERATION_ENTRY
#undef PROPERTY_ENTRY
#undef VALUE_ENTRY

std::string NameOf(const Entry& entry) {
  return HostKit::NameOf(entry.m_Family, entry.m_Number);
}

bool Fits(const Entry& entry, const std::string& text) {
  return text == std::to_string(entry.m_Number) || boost::iequals(text, NameOf(entry));
}

[[noreturn]] void NothingKnown(const std::string& text) {
  std::vector<std::string> names;
  for (const Entry& entry : kEntries) names.push_back(NameOf(entry));
  throw Failure(ExitCode::NoObject, "NO_SUCH_ENTRY", fmt::format("explaining '{}'", text),
                "no error, event, operation, property or value has that number or name",
                DidYouMean(text, names));
}

}  // namespace

Answer RunExplain(Context& context) {
  Answer answer;
  answer.m_Result = {{"entries", Json::array()}};
  answer.m_Table.m_Columns = {{"FAMILY", "family", false},
                              {"NUMBER", "number", true},
                              {"NAME", "name", false},
                              {"MEANING", "caption", false}};
  for (const Entry& entry : kEntries) {
    if (!Fits(entry, context.m_Arguments[0])) continue;
    const std::string caption = HostKit::CaptionOf(entry.m_Family, entry.m_Number);
    answer.m_Result["entries"].push_back({{"family", entry.m_FamilyName},
                                          {"number", entry.m_Number},
                                          {"name", NameOf(entry)},
                                          {"caption", caption}});
    answer.m_Table.m_Rows.push_back(
        {{TextCell(entry.m_FamilyName), TextCell(std::to_string(entry.m_Number)),
          TextCell(NameOf(entry)), TextCell(caption)},
         std::nullopt});
  }
  if (answer.m_Table.m_Rows.empty()) NothingKnown(context.m_Arguments[0]);
  return answer;
}

}  // namespace Console
