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

const std::vector<HelpText> kTexts = {
    {"list", "One line for each adapter and drive. With -o tsv it has base units and the "
             "names that get knows, for scripts.", "", {},
     {{"list", "which card is hot, worn or failing", true},
      {"list -o tsv -c object,temperature_celsius", "the temperatures alone, for a script"}}},
    {"tree", "Adapters below the plug-in, drives below their adapters. --long adds ids, reasons "
             "and sizes.", "", {},
     {{"tree --long", "everything at a glance"},
      {"tree -o value", "only the names of all objects"}}},
    {"show", "All properties that the plug-in reports of one object, with units, and its "
             "operations.", "", {},
     {{"show a0", "an adapter"},
      {"show a0/d0 -o json", "a drive, for a script"}}},
    {"get", "Bare values in base units, one a line, in the order asked for. Unknown is '-'.", "",
     {{2, "the object has no such property"}},
     {{"get a0 temperature_celsius status", "two values"},
      {"get a0 -o tsv", "all of them, with their names"}}},
    {"status", "For each card whether it is well; if it is not, the reasons, the readings behind "
               "them, and what to do. An object shows itself and what is below it.", "", {},
     {{"status", "why a card is warning, and what to do", true},
      {"status a1 -o json", "one card, for a script"}}},
    {"check", "For monitoring systems: a line with the worst state and its reason, performance "
              "figures behind '|', then a line for each object. It answers in the same form when "
              "something is wrong with the command line or the plug-in.", "",
     {{0, "all cards are well"},
      {1, "a card is warning"},
      {2, "a card has failed"},
      {3, "unknown: no card, no plug-in, a wrong command line, or too late"}},
     {{"check", "a nightly check by a script or a monitoring system", true},
      {"check a1 --timeout 10s", "one card, in ten seconds at most"}}},
    {"events", "The host's log of events, of all runs of this program on the same database, the "
               "oldest first. explain tells what to do about each number.", "", {},
     {{"events --since yesterday", "what has happened since yesterday began", true},
      {"events -f", "go on showing them as they come"}}},
    {"watch", "The whole terminal: cards with temperature and reserve above, events below. e is "
              "for events, Enter for the chosen object, q leaves. Without a terminal, or with "
              "-o table, it prints plain blocks; -o jsonl prints documents.", "", {},
     {{"watch", "see the cards live, as after a format or a repair", true},
      {"watch --for 10m -o jsonl", "ten minutes for a script"}}},
    {"wait", "Looks until the condition holds. --timeout limits it.", "",
     {{7, "the condition did not hold within --timeout"}},
     {{"wait a1 ok --timeout 10m", "until a card is well again", true},
      {"wait a0 'temperature_celsius<70'", "until it has cooled down"}}},
    {"rows", "The tables of adapters, drives and plug-ins in the host's SQLite file, as the "
             "plug-in has written them.", "", {},
     {{"rows adapter", "the adapters' rows"},
      {"rows -o json", "all tables, for a script"}}},
    {"set", "Changes one property and tells its value before and after. A value beyond the limits "
            "is brought within them.", "",
     {{1, "the value is in force, but could not be saved"},
      {4, "the property can only be read"}},
     {{"set plugin poll_interval=30", "look at the cards every 30 seconds"},
      {"set plugin poll_interval=15 -o json", "the same for a script"}}},
    {"locate", "Switches the locating light of a card. With --for it stays on that long and is "
               "switched off again.", "",
     {{4, "the card has no light that can be switched"}},
     {{"locate a1 on --for 5m", "light a card to find it in the machine", true},
      {"locate a1 off", "switch the light off"}}},
    {"attach", "Makes the drive of a card available to the system and waits until it is. May take "
               "minutes.",
     "Asks first; -y answers yes.",
     {{4, "refused, or nobody could be asked"},
      {7, "not attached within --timeout; the card goes on"}},
     {{"attach a1", "asks, attaches and waits"},
      {"attach a1 -y --timeout 10m", "for a script"}}},
    {"detach", "Takes the drive of a card away from the system and waits until it is gone. attach "
               "brings it back with its data.",
     "The system loses the drive until it is attached again. Asks first; -y answers yes. Refused "
     "while the drive is mounted, held or used as swap. --force detaches a busy card.",
     {{4, "refused: in use, or nobody could be asked"},
      {7, "not detached within --timeout; the card goes on"}},
     {{"detach a1", "take a card's drive away, before a format or repair", true},
      {"detach a1 --dry-run", "only say what would be done"}}},
    {"format", "Gives a drive a new capacity, a new sector size or both, and waits until it is "
               "done. Less capacity leaves more reserve, which makes writes faster and the card "
               "last longer. Detach the card first.",
     "ALL DATA ON THE DRIVE IS LOST. Asks for the serial number of the card; a script gives it "
     "with --confirm. -y is not enough. Refused while the drive is mounted, held or used as swap.",
     {{1, "the card could not be formatted"},
      {4, "refused: no serial number or a wrong one, or the drive is in use"}},
     {{"format a0/d0 --capacity 80", "erase a detached card's drive and use 80 % of it", true},
      {"format a0/d0 --capacity factory --sector-size 4096 --dry-run",
       "only say what would be done"}}},
    {"online", "Brings all storage units of a drive online.", "Asks first; -y answers yes.",
     {{4, "refused, or nobody could be asked"}},
     {{"online a0/d0", "asks and does it"},
      {"online a0/d0 -y -o json", "for a script"}}},
    {"offline", "Takes all storage units of a drive offline. online brings them back.",
     "The system loses the drive until it is online again. Asks first; -y answers yes. Refused "
     "while the drive is mounted, held or used as swap.",
     {{4, "refused: in use, or nobody could be asked"}},
     {{"offline a0/d0", "asks and does it"},
      {"offline a0/d0 --dry-run", "only say what would be done"}}},
    {"op", "For what has no command of its own, and to see what the plug-in says of an operation. "
           "What has one is asked for in the same way as there.",
     "As dangerous as the operation: OP_FORMAT_DEVICE erases the drive and wants --confirm.",
     {{4, "refused, or not possible now"}},
     {{"op list a0", "the operations of an adapter"},
      {"op run a0/d0 FORMAT_DEVICE FORMATTING=CUSTOM SIZE=80 --dry-run",
       "only say what would be done"}}},
    {"metrics", "OpenMetrics text on standard output. With --textfile a file for a node exporter "
                "instead, replaced whole, so that a collector never reads half of it.", "",
     {{5, "the plug-in is not loaded; corvane_plugin_up 0 is given all the same"}},
     {{"metrics", "feed Prometheus", true},
      {"metrics --textfile FILE.prom", "into the folder of a node exporter"}}},
    {"explain", "The meaning of an event, error, operation, property or value, by number or name, "
                "and what to do about it. An id of several families shows each of them.", "",
     {{3, "nothing has that number or name"}},
     {{"explain 10972", "what a number in the events means", true},
      {"explain TEMPERATURE_ABOVE_WARN", "what a reason means, and what to do"}}},
    {"completion", "Prints a script for the shell. With it the Tab key completes commands, their "
                   "options and values, the names of objects, properties and operations.", "",
     {{2, "there is no script for that shell"}},
     {{"completion bash > ~/.corvane-completion",
       "for bash, with 'source ~/.corvane-completion' in ~/.bashrc"},
      {"completion fish > ~/.config/fish/completions/corvane-host.fish", "the same for fish"}}},
    {"plugin", "The file of the plug-in that is loaded, its module id and interface version, and "
               "whether each symbol that a host may look for is there. -o json names all others "
               "that it shows as well.", "",
     {{5, "the file is no plug-in, or none for this host"}},
     {{"plugin", "what is loaded"},
      {"plugin --plugin ./libCorvane.so", "whether a file is fit"}}},
    {"help", "All commands and options, or one command with its arguments, options and examples.",
     "", {},
     {{"help format", "all about one command", true},
      {"format --help", "the same"}}},
    {"version", "The version of this program.", "", {},
     {{"version", "the version"},
      {"--version", "the same"}}},
};

// clang-format on

}  // namespace

const HelpText* FindHelpText(const std::string& command) {
  for (const HelpText& text : kTexts) {
    if (command == text.m_Command) return &text;
  }
  return nullptr;
}

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
