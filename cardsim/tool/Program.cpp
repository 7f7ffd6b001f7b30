// The program `cardsim`: edits the file of simulated cards.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>

#include "base/Printable.h"
#include "cardsim/cardsim.h"
#include "cardsim/scenario/Scenario.h"
#include "cardsim/store/Suggest.h"
#include "cardsim/tool/PlayCommand.h"
#include "cardsim/tool/ToolOutput.h"

namespace {

using CardSim::PrintError;
using CardSim::PrintLine;
using CardSim::StateFile;
using CardSim::UnknownName;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr int kUnknownName = 3;

// The command line; each command reads its own members. Constructed without allocating memory.
struct Arguments {
  std::string state;
  std::string kind;
  std::string card;
  std::string attribute;
  std::string value;
  std::string bit;
  std::string function;
  std::string text;
  std::string directory;
  std::string scenario;
  double speed = 1;
  std::uint64_t code = 1;
  std::uint64_t milliseconds = 0;
  unsigned int count = 1;
  bool force = false;
  // Set by the command once its change is in the file; a later failure does not undo it.
  bool isSaved = false;
};

// Returns a string without its quotes, and any other JSON unchanged.
std::string Unquote(const std::string& json) {
  if (json.empty() || json[0] != '"') return json;
  return nlohmann::json::parse(json).get<std::string>();
}

std::string DisplayValue(const StateFile& file, const std::string& card, const char* attribute) {
  const std::string value = Unquote(file.Get(card, attribute));
  return value == "absent" ? "-" : value;
}

unsigned int ParseNumber(const std::string& text) {
  unsigned int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

std::string PciAddress(const StateFile& file, const std::string& card) {
  char text[32];
  std::snprintf(text, sizeof text, "%04x:%02x:%02x.%x",
                ParseNumber(DisplayValue(file, card, "pci_domain")),
                ParseNumber(DisplayValue(file, card, "pci_bus")),
                ParseNumber(DisplayValue(file, card, "pci_device")),
                ParseNumber(DisplayValue(file, card, "pci_function")));
  return text;
}

std::string StateName(const StateFile& file, const std::string& card) {
  const std::string state = DisplayValue(file, card, "iom_state");
  return state == "-" ? state : CardSim::CardStateName(ParseNumber(state));
}

void New(Arguments& arguments) {
  StateFile(arguments.state).Create(arguments.force);
  arguments.isSaved = true;
  PrintLine("created " + arguments.state + " without cards");
}

void Add(Arguments& arguments) {
  StateFile file(arguments.state);
  const auto cards = file.AddCards(arguments.kind, arguments.count);
  arguments.isSaved = true;
  for (const std::string& card : cards) {
    PrintLine("added " + card + ": " + DisplayValue(file, card, "board_name") + ", " +
              DisplayValue(file, card, "device_path"));
  }
}

void Remove(Arguments& arguments) {
  StateFile(arguments.state).RemoveCard(arguments.card);
  arguments.isSaved = true;
  PrintLine("removed " + arguments.card);
}

// Pads a string to the column's width in characters.
std::string Cell(const std::string& text, std::size_t width) {
  std::string cell = Base::Printable(text);
  const auto isCharacter = [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) != 0x80;
  };
  const auto length =
      static_cast<std::size_t>(std::count_if(cell.begin(), cell.end(), isCharacter));
  cell.append(length < width ? width - length : 0, ' ');
  return cell + ' ';
}

void PrintRow(const std::array<std::string, 6>& cells) {
  constexpr std::size_t kWidths[] = {8, 12, 12, 6, 12};
  std::string line;
  for (std::size_t i = 0; i < std::size(kWidths); ++i) line += Cell(cells[i], kWidths[i]);
  PrintLine(line + cells.back());
}

void List(Arguments& arguments) {
  const StateFile file(arguments.state);
  const auto cards = file.Cards();
  PrintRow({"CARD", "DEVICE", "PCI", "ID", "SERIAL", "STATE"});
  for (const std::string& card : cards) {
    char id[16];
    std::snprintf(id, sizeof id, "0x%04x", ParseNumber(DisplayValue(file, card, "pci_device_id")));
    PrintRow({card, DisplayValue(file, card, "device_path"), PciAddress(file, card), id,
              DisplayValue(file, card, "serial_number"), StateName(file, card)});
  }
}

void Show(Arguments& arguments) {
  const auto all = StateFile(arguments.state).GetAll(arguments.card);
  std::size_t width = 0;
  for (const auto& [name, value] : all) width = std::max(width, name.size());
  for (const auto& [name, value] : all) PrintLine(Cell(name, width) + Unquote(value));
}

void Set(Arguments& arguments) {
  StateFile file(arguments.state);
  const std::string before = Unquote(file.Get(arguments.card, arguments.attribute));
  if (arguments.value == "absent") {
    file.MakeAbsent(arguments.card, arguments.attribute);
  } else {
    file.Set(arguments.card, arguments.attribute, arguments.value);
  }
  arguments.isSaved = true;
  const std::string after = Unquote(file.Get(arguments.card, arguments.attribute));
  PrintLine(arguments.card + ": " + arguments.attribute + " " + before + " -> " + after);
}

void Get(Arguments& arguments) {
  PrintLine(Unquote(StateFile(arguments.state).Get(arguments.card, arguments.attribute)));
}

void Raise(Arguments& arguments) {
  StateFile(arguments.state).Raise(arguments.card, arguments.bit);
  arguments.isSaved = true;
  PrintLine(arguments.card + ": raised " + arguments.bit);
}

void Clear(Arguments& arguments) {
  StateFile(arguments.state).Clear(arguments.card, arguments.bit);
  arguments.isSaved = true;
  PrintLine(arguments.card + ": cleared " + arguments.bit);
}

// Names the function and, if only calls for one card are affected, the card.
std::string Target(const Arguments& arguments) {
  return arguments.card.empty() ? arguments.function : arguments.card + ": " + arguments.function;
}

void Fail(Arguments& arguments) {
  StateFile file(arguments.state);
  if (arguments.card.empty()) {
    file.Fail(arguments.function, arguments.code, arguments.text);
  } else {
    file.Fail(arguments.function, arguments.card, arguments.code, arguments.text);
  }
  arguments.isSaved = true;
  PrintLine(Target(arguments) + " fails with " + std::to_string(arguments.code) + ": " +
            arguments.text);
}

void Hang(Arguments& arguments) {
  StateFile(arguments.state).Hang(arguments.function, arguments.card, arguments.milliseconds);
  arguments.isSaved = true;
  const std::string limit =
      arguments.milliseconds == 0 ? "" : " for " + std::to_string(arguments.milliseconds) + " ms";
  PrintLine(Target(arguments) + " hangs" + limit);
}

void ClearFailure(Arguments& arguments) {
  StateFile file(arguments.state);
  if (arguments.card.empty()) {
    file.ClearFailure(arguments.function);
  } else {
    file.ClearFailure(arguments.function, arguments.card);
  }
  arguments.isSaved = true;
  PrintLine(Target(arguments) + " works again");
}

void Sysfs(Arguments& arguments) {
  const StateFile file(arguments.state);
  file.WriteSysfs(arguments.directory);
  const std::size_t count = file.Cards().size();
  PrintLine("wrote " + std::to_string(count) +
            (count == 1 ? " PCI device to " : " PCI devices to ") + arguments.directory);
}

int Play(Arguments& arguments) {
  return CardSim::Play(arguments.scenario, arguments.state, arguments.speed);
}

using Command = int (*)(Arguments&);

// Wraps a command whose only exit code is 0.
template <void (*command)(Arguments&)>
int Done(Arguments& arguments) {
  command(arguments);
  return kDone;
}

// Formats help like the manual page: options with the names of their values, defaults in
// parentheses.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() {
    label("SUBCOMMAND", "COMMAND");
    label("Positionals", "Arguments");
    column_width(28);
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    return option->get_type_size() == 0 || option->get_positional() ? ""
                                                                    : " " + option->get_type_name();
  }

  std::string make_option_desc(const CLI::Option* option) const override {
    const std::string value = option->get_default_str();
    return option->get_description() + (value.empty() ? "" : " (default: " + value + ")");
  }
};

CLI::App* AddCommand(CLI::App& app, Command& chosen, const char* name, const char* help,
                     Command command) {
  CLI::App* added = app.add_subcommand(name, help)->group("Commands");
  added->callback([&chosen, command] { chosen = command; });
  return added;
}

void AddCardArgument(CLI::App& command, Arguments& arguments) {
  command.add_option("CARD", arguments.card, "name of a card, such as card0")->required();
}

// Called only when help is printed, because it lists the profile directory.
std::string KindsText() {
  std::string text = "Profiles:";
  for (const std::string& name : StateFile::Profiles()) text += "\n  " + Base::Printable(name);
  return text;
}

// Returns an error message, or an empty string for a valid count.
std::string CheckCount(const std::string& text) {
  const unsigned int count = ParseNumber(text);
  return count >= 1 && count <= 250 ? "" : text + " is out of range (1 to 250)";
}

void AddCardCommands(CLI::App& app, Arguments& arguments, Command& chosen) {
  AddCommand(app, chosen, "new", "create a state file without cards", Done<New>)
      ->add_flag("--force", arguments.force, "replace an existing file");
  CLI::App* add = AddCommand(app, chosen, "add", "add cards", Done<Add>);
  add->add_option("KIND", arguments.kind, "profile name, or PCI device ID such as 0x1003")
      ->required();
  add->add_option("--count", arguments.count, "number of cards to add, 1 to 250")
      ->type_name("N")
      ->check(CheckCount)
      ->capture_default_str();
  add->footer(KindsText);
  AddCardArgument(*AddCommand(app, chosen, "remove", "remove a card", Done<Remove>), arguments);
  AddCommand(app, chosen, "list", "list the cards", Done<List>);
  AddCommand(app, chosen, "sysfs", "write a sysfs tree with the PCI devices of the cards",
             Done<Sysfs>)
      ->add_option("DIR", arguments.directory, "directory for the tree")
      ->required();
}

void AddAttributeCommands(CLI::App& app, Arguments& arguments, Command& chosen) {
  AddCardArgument(*AddCommand(app, chosen, "show", "show all attributes of a card", Done<Show>),
                  arguments);
  CLI::App* set = AddCommand(app, chosen, "set", "set an attribute of a card", Done<Set>);
  CLI::App* get = AddCommand(app, chosen, "get", "show an attribute of a card", Done<Get>);
  for (CLI::App* command : {set, get}) {
    AddCardArgument(*command, arguments);
    command->add_option("ATTRIBUTE", arguments.attribute, "name, such as temp_internal_deg_c")
        ->required();
  }
  set->add_option("VALUE", arguments.value, "value, or absent to remove the attribute")->required();
  CLI::App* raise = AddCommand(app, chosen, "raise", "set a status bit of a card", Done<Raise>);
  CLI::App* clear = AddCommand(app, chosen, "clear", "clear a status bit of a card", Done<Clear>);
  for (CLI::App* command : {raise, clear}) {
    AddCardArgument(*command, arguments);
    command->add_option("BIT", arguments.bit, "FLASHBACK, or with its mask: errors.FLASHBACK")
        ->required();
  }
}

void AddFailureCommands(CLI::App& app, Arguments& arguments, Command& chosen) {
  CLI::App* fail =
      AddCommand(app, chosen, "fail",
                 "make every call to a library function fail, in all processes", Done<Fail>);
  CLI::App* hang = AddCommand(app, chosen, "hang",
                              "make the calls for one card wait, in all processes", Done<Hang>);
  CLI::App* clear = AddCommand(app, chosen, "clear-failure", "clear what fail or hang has set",
                               Done<ClearFailure>);
  for (CLI::App* command : {fail, hang, clear}) {
    command->add_option("FUNCTION", arguments.function, "name, such as vsl_open")->required();
  }
  for (CLI::App* command : {fail, clear}) {
    command->add_option("CARD", arguments.card, "only calls for this card (default: all cards)");
  }
  AddCardArgument(*hang, arguments);
  hang->add_option("--ms", arguments.milliseconds,
                   "milliseconds that each call waits; 0: until clear-failure")
      ->type_name("N")
      ->capture_default_str();
  arguments.text = "failure injected by cardsim";
  fail->add_option("--code", arguments.code, "result of the calls, not 0")
      ->type_name("CODE")
      ->capture_default_str();
  fail->add_option("--text", arguments.text, "text of the error")
      ->type_name("TEXT")
      ->capture_default_str();
}

void AddPlayCommand(CLI::App& app, Arguments& arguments, Command& chosen) {
  CLI::App* play = AddCommand(app, chosen, "play", "play a scenario; Ctrl-C stops it", Play);
  play->add_option("SCENARIO", arguments.scenario, "JSON file; see examples/")->required();
  const auto setSpeed = [&arguments](const double& speed) {
    // Written so that NaN is rejected, too.
    if (!(speed >= CardSim::kMinSpeed && speed <= CardSim::kMaxSpeed)) {
      throw CLI::ValidationError("--speed is out of range (0.1 to 1000000)");
    }
    arguments.speed = speed;
  };
  play->add_option_function<double>("--speed", setSpeed, "play FACTOR times as fast as written")
      ->type_name("FACTOR")
      ->default_str("1");
}

// Returns the message for an invalid command line.
std::string UsageError(const CLI::App& app, const CLI::ParseError& error) {
  std::string text = error.what();
  const bool isExtra = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
  const bool isMissing = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
  const auto words = app.remaining(true);
  const bool hasCommand = !app.get_subcommands().empty();
  if ((isExtra || isMissing) && !words.empty()) {
    const std::string& word = words.front();
    if (word[0] == '-') return "unknown option " + word;
    if (hasCommand) return "unexpected argument " + word;
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
    return "unknown command " + word + CardSim::DidYouMean(word, names);
  }
  if (isMissing && !hasCommand) return "missing command; see cardsim --help";
  const std::string cannotConvert = "Could not convert: ";
  if (text.rfind(cannotConvert, 0) == 0) {
    text.erase(0, cannotConvert.size());
    return text.replace(text.find(" = "), 3, ": ") + " is not a number";
  }
  return text;
}

// Returns the text to append to an error message if the command has already saved its change.
std::string SavedNote(const Arguments& arguments) {
  return arguments.isSaved ? "; the change is saved" : "";
}

int Run(Command command, Arguments& arguments) {
  try {
    const int code = command(arguments);
    CardSim::FlushOutput();
    return code;
  } catch (const UnknownName& error) {
    PrintError(error.what());
    return kUnknownName;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    PrintError(error.what() + SavedNote(arguments));
    return kFailed;
  }
}

int Help(const CLI::App& app, const CLI::ParseError& error) {
  const int code = app.exit(error);
  CardSim::FlushOutput();
  return code;
}

int ParseAndRun(int argc, char** argv, Arguments& arguments) {
  arguments.state = StateFile::DefaultPath().string();
  Command chosen = nullptr;
  CLI::App app("Create and change simulated flash cards", "cardsim");
  app.formatter(std::make_shared<HelpFormatter>());
  app.set_help_flag("-h,--help", "print help and exit");
  app.add_option("--state", arguments.state, "file of the simulated cards")
      ->type_name("FILE")
      ->default_str(Base::Printable(arguments.state));
  app.require_subcommand(1);
  app.fallthrough();
  AddCardCommands(app, arguments, chosen);
  AddAttributeCommands(app, arguments, chosen);
  AddFailureCommands(app, arguments, chosen);
  AddPlayCommand(app, arguments, chosen);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const bool isHelp = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success);
    if (isHelp) return Help(app, error);
    PrintError(UsageError(app, error));
    return kUsage;
  }
  return Run(chosen, arguments);
}

int RunProgram(int argc, char** argv, Arguments& arguments) {
  try {
    return ParseAndRun(argc, argv, arguments);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    PrintError(error.what());
    return kFailed;
  }
}

}  // namespace

int main(int argc, char** argv) {
  CardSim::ReserveStandardStreams();
  Arguments arguments;
  try {
    return RunProgram(argc, argv, arguments);
  } catch (const std::bad_alloc&) {
    // Must not allocate memory.
    std::fputs(arguments.isSaved ? "cardsim: out of memory; the change is saved\n"
                                 : "cardsim: out of memory\n",
               stderr);
    return kFailed;
  }
}
