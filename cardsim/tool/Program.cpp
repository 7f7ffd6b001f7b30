// The program `cardsim`: edits the file of simulated cards from a shell.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <functional>
#include <iostream>
#include <new>
#include <nlohmann/json.hpp>

#include "cardsim/cardsim.h"
#include "cardsim/scenario/Scenario.h"
#include "cardsim/store/Printable.h"
#include "cardsim/tool/Output.h"
#include "cardsim/tool/PlayCommand.h"

namespace {

using CardSim::Complain;
using CardSim::NoSuchThing;
using CardSim::Say;
using CardSim::StateFile;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr int kNoSuch = 3;

// What the command line said; each command reads its own. Made without memory.
struct Arguments {
  std::string state;
  std::string kind;
  std::string card;
  std::string attribute;
  std::string value;
  std::string bit;
  std::string function;
  std::string text;
  std::string folder;
  std::string scenario;
  double speed = 1;
  std::uint64_t code = 1;
  unsigned int count = 1;
  bool force = false;
  // Set by the command once the file holds its change: what fails afterwards is the telling alone.
  bool isSaved = false;
};

// A text value without its quotes, since people read it; everything else as JSON.
std::string Plain(const std::string& json) {
  if (json.empty() || json[0] != '"') return json;
  return nlohmann::json::parse(json).get<std::string>();
}

std::string Shown(const StateFile& file, const std::string& card, const char* attribute) {
  const std::string value = Plain(file.Get(card, attribute));
  return value == "absent" ? "-" : value;
}

unsigned int Number(const std::string& text) {
  unsigned int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

std::string PciAddress(const StateFile& file, const std::string& card) {
  char text[32];
  std::snprintf(text, sizeof text, "%04x:%02x:%02x.%x", Number(Shown(file, card, "pci_domain")),
                Number(Shown(file, card, "pci_bus")), Number(Shown(file, card, "pci_device")),
                Number(Shown(file, card, "pci_function")));
  return text;
}

std::string StateName(const StateFile& file, const std::string& card) {
  const std::string state = Shown(file, card, "iom_state");
  return state == "-" ? state : CardSim::CardStateName(Number(state));
}

void New(Arguments& arguments) {
  StateFile(arguments.state).Create(arguments.force);
  arguments.isSaved = true;
  Say("made " + arguments.state + " without cards");
}

void Add(Arguments& arguments) {
  StateFile file(arguments.state);
  const auto cards = file.AddCards(arguments.kind, arguments.count);
  arguments.isSaved = true;
  for (const std::string& card : cards) {
    Say("added " + card + ": " + Shown(file, card, "board_name") + ", " +
        Shown(file, card, "device_path"));
  }
}

void Remove(Arguments& arguments) {
  StateFile(arguments.state).RemoveCard(arguments.card);
  arguments.isSaved = true;
  Say("removed " + arguments.card);
}

// Filled up to the column's width, which is counted in characters.
std::string Cell(const std::string& text, std::size_t width) {
  std::string cell = CardSim::Printable(text);
  const auto isCharacter = [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) != 0x80;
  };
  const auto length =
      static_cast<std::size_t>(std::count_if(cell.begin(), cell.end(), isCharacter));
  cell.append(length < width ? width - length : 0, ' ');
  return cell + ' ';
}

void SayRow(const std::array<std::string, 6>& cells) {
  constexpr std::size_t kWidths[] = {8, 12, 12, 6, 12};
  std::string line;
  for (std::size_t i = 0; i < std::size(kWidths); ++i) line += Cell(cells[i], kWidths[i]);
  Say(line + cells.back());
}

void List(Arguments& arguments) {
  const StateFile file(arguments.state);
  const auto cards = file.Cards();
  SayRow({"CARD", "DEVICE", "PCI", "ID", "SERIAL", "STATE"});
  for (const std::string& card : cards) {
    char id[16];
    std::snprintf(id, sizeof id, "0x%04x", Number(Shown(file, card, "pci_device_id")));
    SayRow({card, Shown(file, card, "device_path"), PciAddress(file, card), id,
            Shown(file, card, "serial_number"), StateName(file, card)});
  }
}

void Set(Arguments& arguments) {
  StateFile file(arguments.state);
  const std::string before = Plain(file.Get(arguments.card, arguments.attribute));
  if (arguments.value == "absent") {
    file.MakeAbsent(arguments.card, arguments.attribute);
  } else {
    file.Set(arguments.card, arguments.attribute, arguments.value);
  }
  arguments.isSaved = true;
  const std::string after = Plain(file.Get(arguments.card, arguments.attribute));
  Say(arguments.card + ": " + arguments.attribute + " " + before + " -> " + after);
}

void Get(Arguments& arguments) {
  Say(Plain(StateFile(arguments.state).Get(arguments.card, arguments.attribute)));
}

void Raise(Arguments& arguments) {
  StateFile(arguments.state).Raise(arguments.card, arguments.bit);
  arguments.isSaved = true;
  Say(arguments.card + ": raised " + arguments.bit);
}

void Clear(Arguments& arguments) {
  StateFile(arguments.state).Clear(arguments.card, arguments.bit);
  arguments.isSaved = true;
  Say(arguments.card + ": cleared " + arguments.bit);
}

void Fail(Arguments& arguments) {
  StateFile(arguments.state).Fail(arguments.function, arguments.code, arguments.text);
  arguments.isSaved = true;
  Say(arguments.function + " fails with " + std::to_string(arguments.code) + ": " + arguments.text);
}

void Heal(Arguments& arguments) {
  StateFile(arguments.state).Heal(arguments.function);
  arguments.isSaved = true;
  Say(arguments.function + " works again");
}

void Sysfs(Arguments& arguments) {
  const StateFile file(arguments.state);
  file.WriteSysfs(arguments.folder);
  Say("wrote " + std::to_string(file.Cards().size()) + " devices below " + arguments.folder);
}

int Play(Arguments& arguments) {
  return CardSim::Play(arguments.scenario, arguments.state, arguments.speed);
}

using Command = int (*)(Arguments&);

// A command that is done when it comes back.
template <void (*command)(Arguments&)>
int Done(Arguments& arguments) {
  command(arguments);
  return kDone;
}

CLI::App* AddCommand(CLI::App& app, Command& chosen, const char* name, const char* help,
                     Command command) {
  CLI::App* added = app.add_subcommand(name, help);
  added->callback([&chosen, command] { chosen = command; });
  return added;
}

std::string KindsText() {
  std::string text = "A PCI device id such as 0x1003, or one of:";
  for (const std::string& name : StateFile::Profiles()) text += " " + name;
  return text;
}

void DescribeCards(CLI::App& app, Arguments& arguments, Command& chosen) {
  AddCommand(app, chosen, "new", "Make a file without cards", Done<New>)
      ->add_flag("--force", arguments.force, "Replace an existing file");
  CLI::App* add = AddCommand(app, chosen, "add", "Add cards", Done<Add>);
  add->add_option("KIND", arguments.kind, KindsText())->required();
  add->add_option("--count", arguments.count, "How many")->check(CLI::Range(1, 250));
  AddCommand(app, chosen, "remove", "Remove a card", Done<Remove>)
      ->add_option("CARD", arguments.card)
      ->required();
  AddCommand(app, chosen, "list", "List the cards", Done<List>);
  AddCommand(app, chosen, "sysfs", "Write the PCI devices of the cards below a folder", Done<Sysfs>)
      ->add_option("DIR", arguments.folder)
      ->required();
}

void DescribeAttributes(CLI::App& app, Arguments& arguments, Command& chosen) {
  CLI::App* set = AddCommand(app, chosen, "set", "Set an attribute; absent removes it", Done<Set>);
  CLI::App* get = AddCommand(app, chosen, "get", "Show an attribute", Done<Get>);
  for (CLI::App* command : {set, get}) {
    command->add_option("CARD", arguments.card)->required();
    command->add_option("ATTRIBUTE", arguments.attribute)->required();
  }
  set->add_option("VALUE", arguments.value)->required();
  CLI::App* raise = AddCommand(app, chosen, "raise", "Set a status bit by name", Done<Raise>);
  CLI::App* clear = AddCommand(app, chosen, "clear", "Clear a status bit by name", Done<Clear>);
  for (CLI::App* command : {raise, clear}) {
    command->add_option("CARD", arguments.card)->required();
    command->add_option("BIT", arguments.bit, "FLASHBACK, or with its mask errors.FLASHBACK")
        ->required();
  }
}

void DescribeFailures(CLI::App& app, Arguments& arguments, Command& chosen) {
  CLI::App* fail =
      AddCommand(app, chosen, "fail", "Make every call of a function fail, everywhere", Done<Fail>);
  CLI::App* heal = AddCommand(app, chosen, "heal", "Let a function work again", Done<Heal>);
  for (CLI::App* command : {fail, heal}) {
    command->add_option("FUNCTION", arguments.function)->required();
  }
  arguments.text = "made to fail by cardsim";
  fail->add_option("--code", arguments.code, "The result, not 0")->capture_default_str();
  fail->add_option("--text", arguments.text, "The text")->capture_default_str();
}

void DescribePlay(CLI::App& app, Arguments& arguments, Command& chosen) {
  CLI::App* play = AddCommand(app, chosen, "play", "Play a story of changes, until Ctrl-C", Play);
  play->add_option("SCENARIO", arguments.scenario, "A JSON file; examples/ has some")->required();
  const auto setSpeed = [&arguments](const double& speed) {
    // Written so that a NaN is refused, too.
    if (!(speed >= CardSim::kSlowest && speed <= CardSim::kFastest)) {
      throw CLI::ValidationError("--speed must be from 0.1 to 1000000");
    }
    arguments.speed = speed;
  };
  play->add_option_function<double>("--speed", setSpeed, "How many times as fast as written");
}

// What was done although the program failed.
std::string Rest(const Arguments& arguments) {
  return arguments.isSaved ? "; the change is saved" : "";
}

int Run(Command command, Arguments& arguments) {
  try {
    const int code = command(arguments);
    CardSim::FlushOutput();
    return code;
  } catch (const NoSuchThing& error) {
    Complain(error.what());
    return kNoSuch;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    Complain(error.what() + Rest(arguments));
    return kFailed;
  }
}

// Help is an answer as any other.
int Help(const CLI::App& app, const CLI::ParseError& error) {
  const int code = app.exit(error);
  CardSim::FlushOutput();
  return code;
}

int ParseAndRun(int argc, char** argv, Arguments& arguments) {
  arguments.state = StateFile::DefaultPath().string();
  Command chosen = nullptr;
  CLI::App app("Simulated flash cards: their file, seen and changed");
  app.add_option("--state", arguments.state, "The file")
      ->default_str(CardSim::Printable(arguments.state));
  app.require_subcommand(1);
  app.fallthrough();
  DescribeCards(app, arguments, chosen);
  DescribeAttributes(app, arguments, chosen);
  DescribeFailures(app, arguments, chosen);
  DescribePlay(app, arguments, chosen);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const bool isHelp = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success);
    if (isHelp) return Help(app, error);
    Complain(error.what());
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
    Complain(error.what());
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
    // Nothing here may allocate.
    std::fputs(arguments.isSaved ? "cardsim: out of memory; the change is saved\n"
                                 : "cardsim: out of memory\n",
               stderr);
    return kFailed;
  }
}
