#include "console/cli/HelpTopics.h"

#include <boost/algorithm/string.hpp>
#include <cctype>

namespace Console {
namespace {

// clang-format off

constexpr ArgumentText kArguments[] = {
    {"OBJ",       "an object: plugin, a0, a0/d0, a serial number, a name, pci:0000:3b:00.0, slot:3, "
                  "a unique id, a control device, or an object id in hexadecimal"},
    {"OBJ...",    "one or more objects, or all, which selects all adapters"},
    {"DRIVE",     "a drive: a0/d0, or any name of a card that has one drive"},
    {"DRIVE...",  "one or more drives, or all"},
    {"PROP",      "a property name as printed by show, such as temperature_celsius"},
    {"PROP=VALUE", "a writable property and its new value: poll_interval=30"},
    {"on|off",    "the new state of the locate LED"},
    {"COND",      "ok, warning, failed, unreadable, missing, attached, detached, gone, present, or a "
                  "comparison with a property: 'temperature_celsius<70', 'reserve_space_ratio<10%'; operators are < <= = != >= >"},
    {"REASON",    "a reason as printed by status, such as TEMPERATURE_ABOVE_WARN, or MISSING or "
                  "UNREADABLE for the entire card"},
    {"SERIAL",    "the serial number of a card"},
    {"TABLE",     "adapter, drive or plugin (default: all)"},
    {"ID",        "a number (10972), a name (CTRL_PNPADD) or a property name "
                  "(temperature_celsius)"},
    {"SHELL",     "bash, zsh or fish"},
    {"COMMAND",   "a command of this program"},
    {"list|check|run", "list an object's operations, check whether one is possible now, or run one"},
    {"OP",        "an operation by name, with or without the OP_ prefix, or by number"},
    {"ARG=VALUE", "an argument of the operation: FORMATTING=CUSTOM SIZE=80 BLOCK_SIZE=4096"},
};

const std::vector<Exit> kCommonExits = {
    {0, "done, or nothing to do"},
    {1, "the operation failed"},
    {2, "usage error"},
    {3, "no such object, or ambiguous"},
    {4, "refused; nothing was changed"},
    {5, "plug-in missing or incompatible"},
    {6, "permission denied"},
    {7, "timed out"},
    {8, "some objects succeeded, and some failed"},
    {130, "interrupted by a signal"},
};

// clang-format on

}  // namespace

std::vector<std::string> ArgumentWords(const std::string& arguments) {
  std::vector<std::string> words;
  boost::split(words, arguments, boost::is_space(), boost::token_compress_on);
  for (std::string& word : words) boost::trim_if(word, boost::is_any_of("[]."));
  if (words.front().empty()) words.clear();
  return words;
}

std::string ArgumentMeaning(const std::string& word) {
  for (const ArgumentText& text : kArguments) {
    if (word == text.m_Word) return text.m_Meaning;
  }
  return {};
}

const std::vector<Exit>& CommonExits() {
  return kCommonExits;
}

std::string Sentence(std::string text) {
  if (text.empty()) return {};
  text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
  return text.back() == '.' ? text : text + ".";
}

}  // namespace Console
