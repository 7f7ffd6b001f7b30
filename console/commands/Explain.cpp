// explain: a number or name of the vocabulary in plain words.
#include <fmt/format.h>

#include <boost/algorithm/string/predicate.hpp>

#include "console/Answer.h"
#include "console/Context.h"
#include "console/Glossary.h"
#include "console/commands/All.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

bool Fits(const Entry& entry, const std::string& text) {
  return text == std::to_string(entry.m_Number) || boost::iequals(text, NameOf(entry));
}

[[noreturn]] void NothingKnown(const std::string& text) {
  std::vector<std::string> names;
  for (const Entry& entry : AllEntries()) names.push_back(NameOf(entry));
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
  for (const Entry& entry : AllEntries()) {
    if (!Fits(entry, context.m_Arguments[0])) continue;
    const std::string caption = HostKit::CaptionOf(entry.m_Family, entry.m_Number);
    answer.m_Result["entries"].push_back({{"family", FamilyName(entry.m_Family)},
                                          {"number", entry.m_Number},
                                          {"name", NameOf(entry)},
                                          {"caption", caption}});
    answer.m_Table.m_Rows.push_back(
        {{TextCell(FamilyName(entry.m_Family)), TextCell(std::to_string(entry.m_Number)),
          TextCell(NameOf(entry)), TextCell(caption)},
         std::nullopt});
  }
  if (answer.m_Table.m_Rows.empty()) NothingKnown(context.m_Arguments[0]);
  return answer;
}

}  // namespace Console
