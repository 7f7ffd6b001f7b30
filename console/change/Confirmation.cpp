#include "console/change/Confirmation.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdio>

#include "console/base/Failure.h"
#include "console/base/Terminal.h"
#include "console/change/BlockDeviceUsers.h"
#include "console/model/FieldTable.h"

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

std::string Ask(const std::string& question) {
  try {
    return AskLine(question);
  } catch (const Stopped& stopped) {
    std::fputs("\n", stderr);
    throw StopFailure(stopped.what(), {"Nothing was changed."});
  }
}

bool IsYes(const std::string& answer) {
  return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes" || answer == "YES";
}

}  // namespace

std::string Described(const Model& model, const Object& object) {
  std::string text = object.m_Selector;
  Append(text, "", FieldText(object, "name"));
  const Object* adapter = AdapterOf(model, object);
  if (adapter == nullptr) return text;
  Append(text, "serial ", SerialOf(model, object));
  Append(text, "slot ", FieldText(*adapter, "pci_slot"));
  Append(text, "PCI ", FieldText(*adapter, "pci_address"));
  return text;
}

std::string ConfirmationWord(const Model& model, const Object& object) {
  const std::string serial = SerialOf(model, object);
  return serial.empty() ? IdText(object.m_ID) : serial;
}

void RequireUnused(const Model& model, const Object& object, const std::string& what) {
  const Object* adapter = AdapterOf(model, object);
  if (adapter == nullptr) return;
  const std::vector<std::string> users =
      BlockDeviceUsers::OfThisSystem().UsersOf(FieldText(*adapter, "pci_address"));
  if (users.empty()) return;
  throw Refused("IN_USE", what, fmt::format("it is in use: {}", fmt::join(users, ", ")),
                {"Unmount or release it first."});
}

void RequireConfirmation(const Context& context, const std::string& what,
                         const std::string& question) {
  if (context.m_Options.m_Yes) return;
  if (!CanAsk(context.m_Options)) {
    throw Refused("NOT_CONFIRMED", what, "nobody can be asked here whether to do it",
                  {"Say -y to do it without a question."});
  }
  if (IsYes(Ask(question + " [y/N] "))) return;
  throw Refused("NOT_CONFIRMED", what, "it was not wanted");
}

void RequireRetyped(const Context& context, const std::string& what, const std::string& plan,
                    const std::string& word) {
  const std::string& given = context.m_Options.m_Confirm;
  if (!given.empty()) {
    if (given == word) return;
    throw Refused("WRONG_SERIAL", what, fmt::format("'{}' is not its serial number", given),
                  {"See it with: corvane-host list"});
  }
  if (!CanAsk(context.m_Options)) {
    throw Refused("NOT_CONFIRMED", what, "all data on the drive would be lost",
                  {"Say --confirm with the serial number to do it all the same; -y is not enough.",
                   "See what would be done with: --dry-run"});
  }
  std::fputs(plan.c_str(), stderr);
  const std::string typed = Ask("  Type the serial number to go on (Enter stops): ");
  if (typed == word) return;
  if (typed.empty()) throw Refused("NOT_CONFIRMED", what, "it was not wanted");
  throw Refused("WRONG_SERIAL", what, fmt::format("'{}' is not its serial number", typed));
}

}  // namespace Console
