#include "console/cli/HelpTopics.h"

#include <boost/algorithm/string.hpp>

namespace Console {
namespace {

// clang-format off

constexpr ArgumentText kArguments[] = {
    {"OBJ",       "An object: plugin, a0, a0/d0, a serial number, a name, pci:0000:3b:00.0, a "
                  "control device, or an object id in hexadecimal"},
    {"DRIVE",     "A drive: a0/d0, or its object id in hexadecimal"},
    {"PROP",      "A property by the name that show gives, such as temperature_celsius; all of "
                  "them when none is named"},
    {"PROP=VALUE", "A property that can be changed, and its new value: poll_interval=30"},
    {"on|off",    "What the light shall be"},
    {"COND",      "ok, warning, failed, attached, detached, gone, present, or a property compared: "
                  "'temperature_celsius<70'; the signs are = != < <= > >="},
    {"TABLE",     "adapter, drive or plugin; all of them when none is named"},
    {"ID",        "A number (10972), a name (CTRL_PNPADD) or a property as get calls it "
                  "(temperature_celsius)"},
    {"SHELL",     "bash, zsh or fish"},
    {"COMMAND",   "A command of this program"},
    {"list|check|run", "list shows an object's operations, check asks whether one is possible now, "
                  "run carries it out"},
    {"OP",        "An operation by name, with or without OP_ in front, or by number"},
    {"ARG=VALUE", "An argument of the operation: FORMATTING=CUSTOM SIZE=80 BLOCK_SIZE=4096"},
};

const std::vector<Exit> kCommonExits = {
    {0, "done, also when there was nothing to do"},
    {1, "the operation failed"},
    {2, "the command line is wrong"},
    {3, "no such object, or more than one"},
    {4, "refused; nothing was changed"},
    {5, "the plug-in is not loaded or not fit"},
    {6, "permission is missing"},
    {7, "timed out"},
    {130, "stopped by a signal"},
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

}  // namespace Console
