#include "console/change/Confirmation.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <boost/algorithm/string/split.hpp>
#include <cstdio>
#include <sstream>

#include "console/base/Failure.h"
#include "console/base/Terminal.h"
#include "console/change/BlockDeviceUsers.h"
#include "console/model/FieldTable.h"
#include "console/render/TextWidth.h"

namespace Console {
namespace {

Failure Refused(const char* id, const std::string& what, const std::string& why,
                std::vector<std::string> advice = {}) {
  advice.emplace_back("Nothing was changed.");
  return Failure(ExitCode::Refused, id, what, why, advice);
}

void Append(std::string& text, const char* label, const std::string& part) {
  if (!part.empty()) text += fmt::format(", {}{}", label, part);
}

std::string Prompt(const std::string& question) {
  try {
    return PromptLine(question);
  } catch (const Stopped& stopped) {
    std::fputs("\n", stderr);
    throw StopFailure(stopped.what(), {"Nothing was changed."});
  }
}

const char* NoPromptReason(const Options& options) {
  return options.m_NoInput ? "confirmation required, and --no-input was given" : "not a terminal";
}

// Wraps each line of a question at the width of the terminal, with room for the choices after it.
std::string FitTerminal(const Context& context, const std::string& question) {
  constexpr std::size_t kChoices = 8;
  const std::size_t width = context.m_Style.m_Width;
  if (width <= kChoices) return question;
  std::string text;
  std::istringstream lines(question);
  for (std::string line; std::getline(lines, line);) text += WrapText(line, width - kChoices, 0);
  return text.substr(0, text.find_last_not_of('\n') + 1);
}

bool IsYes(const std::string& answer) {
  return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes" || answer == "YES";
}

}  // namespace

std::string DescribeObject(const Model& model, const Object& object) {
  std::string text = object.m_Selector;
  Append(text, "", FieldText(object, "name"));
  const Object* adapter = AdapterOf(model, object);
  if (adapter == nullptr) return text;
  Append(text, "serial ", SerialOf(model, object));
  Append(text, "slot ", FieldText(*adapter, "pci_slot"));
  Append(text, "PCI ", FieldText(*adapter, "pci_address"));
  return text;
}

std::string ConfirmationText(const Model& model, const Object& object) {
  const std::string serial = SerialOf(model, object);
  return serial.empty() ? IdText(object.m_ID) : serial;
}

void RequireNotInUse(const Model& model, const Object& object, const std::string& what) {
  const Object* adapter = AdapterOf(model, object);
  if (adapter == nullptr) return;
  const std::vector<std::string> users =
      BlockDeviceUsers::ForThisSystem().UsersOf(FieldText(*adapter, "pci_address"));
  if (users.empty()) return;
  throw Refused("IN_USE", what, fmt::format("{}", fmt::join(users, ", ")),
                {"Unmount or release the drive first."});
}

void RequireConfirmation(const Context& context, const std::string& what,
                         const std::string& question) {
  if (context.m_Options.m_Yes) return;
  if (!CanPrompt(context.m_Options)) {
    throw Refused("NOT_CONFIRMED", what, NoPromptReason(context.m_Options),
                  {"Pass --yes to confirm."});
  }
  if (IsYes(Prompt(FitTerminal(context, question) + " [y/N] "))) return;
  throw Refused("NOT_CONFIRMED", what, "canceled");
}

namespace {

// Several serial numbers are separated by commas, which no card's serial number should contain.
bool Names(const std::string& given, const std::string& serial) {
  std::vector<std::string> parts;
  boost::split(parts, given, [](char character) { return character == ','; });
  return given == serial || std::find(parts.begin(), parts.end(), serial) != parts.end();
}

}  // namespace

bool HasConfirmed(const Context& context, const std::string& what, const std::string& expected) {
  if (context.m_Options.m_Given.count("--confirm") == 0) return false;
  const std::string& given = context.m_Options.m_Confirm;
  if (Names(given, expected)) return true;
  throw Refused("WRONG_SERIAL", what, fmt::format("'{}' is not the serial number", given),
                {"Find the serial number with: corvane-host list"});
}

void RequireTypedText(const Context& context, const std::string& what, const std::string& plan,
                      const std::string& expected) {
  if (HasConfirmed(context, what, expected)) return;
  if (!CanPrompt(context.m_Options)) {
    throw Refused("NOT_CONFIRMED", what, NoPromptReason(context.m_Options),
                  {"Pass --confirm SERIAL to proceed; --yes does not apply to format.",
                   "Pass --dry-run to see what would be changed."});
  }
  std::fputs(plan.c_str(), stderr);
  const std::string typed = Prompt("  Type the serial number to continue (Enter cancels): ");
  if (typed == expected) return;
  if (typed.empty()) throw Refused("NOT_CONFIRMED", what, "canceled");
  throw Refused("WRONG_SERIAL", what, fmt::format("'{}' is not the serial number", typed));
}

}  // namespace Console
