#include "console/cli/HelpText.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <utility>
#include <vector>

#include "console/cli/HelpTopics.h"
#include "console/cli/OptionTable.h"

namespace Console {
namespace {

constexpr std::size_t kLineWidth = 80;
constexpr std::size_t kSynopsisWidth = 18;  // width of a command's synopsis, equal in all groups

// Wraps the text at `kLineWidth` and indents all lines but the first.
std::string Wrapped(const std::string& text, std::size_t indent) {
  std::vector<std::string> words;
  boost::split(words, text, boost::is_space(), boost::token_compress_on);
  std::string lines;
  std::size_t column = indent;
  for (const std::string& word : words) {
    const bool first = lines.empty();
    if (!first && column + 1 + word.size() > kLineWidth) {
      lines += fmt::format("\n{:{}}", "", indent);
      column = indent;
    } else if (!first) {
      lines += ' ';
      ++column;
    }
    lines += word;
    column += word.size();
  }
  return lines + "\n";
}

struct Item {
  std::string m_Name;
  std::string m_Meaning;
};

// Formats names on the left and meanings on the right. The meaning of a name longer than `widest`
// starts on the next line.
std::string FormatList(const std::vector<Item>& items, std::size_t widest) {
  std::size_t width = 0;
  for (const Item& item : items) {
    if (item.m_Name.size() <= widest) width = std::max(width, item.m_Name.size());
  }
  std::string text;
  for (const Item& item : items) {
    const bool fits = item.m_Name.size() <= width;
    text += fmt::format("  {:<{}}  ", item.m_Name, width);
    if (!fits) text = boost::trim_right_copy(text) + fmt::format("\n{:{}}", "", width + 4);
    text += Wrapped(item.m_Meaning, width + 4);
  }
  return text;
}

std::string Section(const char* title, const std::vector<Item>& items, std::size_t widest = 26) {
  return items.empty() ? std::string() : fmt::format("\n{}\n{}", title, FormatList(items, widest));
}

std::string CommandsOfGroup(const CommandTable& commands, Group group) {
  std::vector<Item> items;
  for (const Command& command : commands) {
    if (command.m_Group != group) continue;
    items.push_back({fmt::format("{:<{}}", Synopsis(command), kSynopsisWidth), command.m_Summary});
  }
  return Section(GroupHeading(group), items, kSynopsisWidth);
}

// Returns the help text of an option, followed by its choices.
std::string OptionMeaning(const OptionRow& row, const std::vector<std::string>& choices) {
  if (choices.empty()) return row.m_Help;
  return fmt::format("{}: {}", row.m_Help, fmt::join(choices, ", "));
}

// Returns the common options, or the other options, each with the commands that accept it.
std::vector<Item> OptionItems(const CommandTable& commands, bool common) {
  std::vector<Item> items;
  for (const OptionRow& row : AllOptions()) {
    if (row.m_Common != common) continue;
    std::string meaning = OptionMeaning(row, row.m_Choices);
    if (!common) meaning += fmt::format(" ({})", fmt::join(CommandsWith(commands, row), ", "));
    items.push_back({OptionSynopsis(row), meaning});
  }
  return items;
}

// Returns the options of a command, common options last.
std::vector<Item> OptionItems(const Command& command) {
  std::vector<Item> items;
  for (const bool common : {false, true}) {
    for (const OptionRow& row : AllOptions()) {
      if (row.m_Common != common || !HasOption(command, row)) continue;
      const bool isOutput = row.m_Field == OptionField(&Options::m_OutputFormat);
      items.push_back({OptionSynopsis(row),
                       OptionMeaning(row, isOutput ? command.m_OutputFormats : row.m_Choices)});
    }
  }
  return items;
}

std::vector<Item> ArgumentItems(const Command& command) {
  std::vector<Item> items;
  for (const std::string& word : ArgumentWords(command.m_Arguments)) {
    const std::string several = word + "...";
    const bool takesSeveral = std::string(command.m_Arguments).find(several) != std::string::npos;
    const std::string meaning = takesSeveral ? ArgumentMeaning(several) : std::string();
    items.push_back({word, ArgumentMeaning(word) + (meaning.empty() ? "" : "; " + meaning)});
  }
  return items;
}

std::vector<Item> ExitItems(const std::vector<Exit>& exits) {
  std::vector<Item> items;
  items.reserve(exits.size());
  for (const Exit& exit : exits) items.push_back({std::to_string(exit.m_Code), exit.m_Meaning});
  return items;
}

void AddExamples(std::vector<Item>& items, const Command& command, bool all) {
  for (const Example& example : command.m_Examples) {
    if (!all && !example.m_General) continue;
    items.push_back({fmt::format("corvane-host {}", example.m_Line), example.m_Effect});
  }
}

std::vector<Item> GeneralExamples(const CommandTable& commands) {
  std::vector<Item> items;
  for (const Command& command : commands) {
    AddExamples(items, command, false);
  }
  return items;
}

}  // namespace

std::string GeneralHelp(const CommandTable& commands) {
  std::string text =
      "Usage: corvane-host COMMAND [ARGUMENTS] [OPTIONS]\n"
      "Show and manage this machine's storage cards through a storage plug-in.\n";
  for (const Group group : {Group::Inspect, Group::Change, Group::Service, Group::Help}) {
    text += CommandsOfGroup(commands, group);
  }
  text += Section("Examples", GeneralExamples(commands), 36);
  text += "\nObjects (OBJ, DRIVE)\n  " +
          Wrapped(ArgumentMeaning("OBJ") + "; OBJ... is " + ArgumentMeaning("OBJ..."), 2);
  text += Section("Common options", OptionItems(commands, true));
  text += Section("Command-specific options", OptionItems(commands, false));
  return text + Section("Exit codes", ExitItems(CommonExits()));
}

std::string CommandHelp(const Command& command) {
  std::string text = fmt::format("Usage: corvane-host {} [OPTIONS]\n{}\n", Synopsis(command),
                                 Sentence(command.m_Summary));
  if (*command.m_Description != '\0') text += "\n" + Wrapped(command.m_Description, 0);
  if (*command.m_Danger != '\0') text += "\nDanger\n  " + Wrapped(command.m_Danger, 2);
  text += Section("Arguments", ArgumentItems(command));
  text += Section("Options", OptionItems(command));
  text += Section("Additional exit codes", ExitItems(command.m_Exits));
  std::vector<Item> examples;
  AddExamples(examples, command, true);
  return text + Section("Examples", examples, 48);
}

}  // namespace Console
