#include "console/cli/ManualPage.h"

#include <fmt/format.h>

#include <boost/algorithm/string.hpp>
#include <cctype>
#include <utility>
#include <vector>

#include "console/cli/HelpTopics.h"
#include "console/cli/OptionTable.h"

namespace Console {
namespace {

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    if (character == '*' || character == '_' || character == '\\') escaped += '\\';
    escaped += character;
  }
  return escaped;
}

std::string Bold(const std::string& text) {
  return "*" + Escaped(text) + "*";
}

std::string Underlined(const std::string& text) {
  return "_" + Escaped(text) + "_";
}

// Formats a synopsis such as "OBJ on|off": placeholders underlined, literal words bold.
std::string MarkUpSynopsis(const std::string& synopsis) {
  std::string marked;
  std::string word;
  const auto flush = [&] {
    if (word.empty()) return;
    const bool isPlaceholder = std::isupper(static_cast<unsigned char>(word[0])) != 0;
    marked += isPlaceholder ? Underlined(word) : Bold(word);
    word.clear();
  };
  for (const char character : synopsis) {
    if (std::isalpha(static_cast<unsigned char>(character)) != 0) {
      word += character;
      continue;
    }
    flush();
    marked += character;
  }
  flush();
  return marked;
}

std::string Entry(const std::string& term, const std::vector<std::string>& texts) {
  std::vector<std::string> sentences;
  for (const std::string& text : texts) {
    if (!text.empty()) sentences.push_back(Escaped(text));
  }
  return fmt::format("{}\n\t{}\n\n", term, boost::join(sentences, " "));
}

std::string CommandPart(const CommandTable& commands) {
  std::string part;
  for (const Group group : {Group::Inspect, Group::Change, Group::Service, Group::Help}) {
    part += fmt::format("## {}\n\n", GroupHeading(group));
    for (const Command& command : commands) {
      if (command.m_Group != group) continue;
      const std::string arguments = MarkUpSynopsis(command.m_Arguments);
      part += Entry(Bold(command.m_Name) + (arguments.empty() ? "" : " ") + arguments,
                    {Sentence(command.m_Summary), command.m_Description, command.m_Danger});
    }
  }
  return part;
}

std::string OptionTerm(const OptionRow& row) {
  std::string term = *row.m_Short == '\0' ? "" : Bold(row.m_Short) + ", ";
  term += Bold(row.m_Long);
  const std::string value = row.m_Value;
  if (value.empty()) return term;
  if (RequiresValue(row)) return term + " " + Underlined(value);
  return term + "[=" + Underlined(value.substr(1, value.size() - 2)) + "]";
}

std::string OptionText(const CommandTable& commands, const OptionRow& row) {
  std::string text = row.m_Help;
  if (!row.m_Choices.empty()) text += ": " + boost::join(row.m_Choices, ", ");
  if (row.m_Common) return Sentence(text);
  return boost::join(CommandsWith(commands, row), ", ") + ": " + text + ".";
}

std::string OptionPart(const CommandTable& commands) {
  std::string part;
  for (const bool common : {true, false}) {
    part += common ? "## Common options\n\n" : "## Command-specific options\n\n";
    for (const OptionRow& row : AllOptions()) {
      if (row.m_Common != common) continue;
      part += Entry(OptionTerm(row), {OptionText(commands, row), row.m_Manual});
    }
  }
  return part;
}

std::string ExitPart() {
  std::string part;
  for (const Exit& exit : CommonExits()) {
    part += Entry(Bold(std::to_string(exit.m_Code)), {Sentence(exit.m_Meaning)});
  }
  return part;
}

}  // namespace

std::string FillManualPage(const std::string& page, const CommandTable& commands) {
  const std::pair<const char*, std::string> parts[] = {{"@COMMANDS@\n", CommandPart(commands)},
                                                       {"@OPTIONS@\n", OptionPart(commands)},
                                                       {"@EXIT_STATUS@\n", ExitPart()}};
  std::string filled = page;
  // An empty line follows each placeholder in the page, so the one at the end of a part is removed.
  for (const auto& [placeholder, part] : parts) {
    boost::replace_all(filled, placeholder, boost::trim_right_copy(part) + "\n");
  }
  return filled;
}

}  // namespace Console
