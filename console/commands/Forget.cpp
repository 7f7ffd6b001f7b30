// forget: remove a missing card from the known cards.
#include <fmt/format.h>

#include <algorithm>

#include "base/Printable.h"
#include "console/base/Timestamp.h"
#include "console/change/Confirmation.h"
#include "console/cli/CommandTable.h"
#include "console/commands/StoredCard.h"
#include "console/model/FieldTable.h"
#include "console/model/Selectors.h"
#include "console/plugin/CardLibraryGuard.h"
#include "console/report/CommandContext.h"

namespace Console {
namespace {

using Service::KnownCard;

std::string ActionOf(const std::string& serial) {
  return "forget " + serial;
}

Failure PresentFailure(const std::string& serial) {
  return Failure(ExitCode::Refused, "CARD_PRESENT", ActionOf(serial), "the card is present",
                 {"Only a missing card can be forgotten.", "Nothing was changed."});
}

bool IsPresent(const Model& model, const std::string& serial) {
  const auto& objects = model.Objects();
  return std::any_of(objects.begin(), objects.end(), [&](const Object& object) {
    return object.m_Kind == Kind::Adapter && object.m_Access != Access::Missing &&
           FieldText(object, "serial_number") == serial;
  });
}

// Whether a plug-in in this process omits the card because it cannot be read.
bool IsOmitted(const std::string& serial) {
  const auto cards = GetCardLibraryGuard().m_UnresponsiveCards();
  return std::any_of(cards.begin(), cards.end(), [&](const UnresponsiveCard& each) {
    return each.m_IsOmitted && each.m_SerialNumber == serial;
  });
}

// Throws `Failure` if `text` is another name of a card. What is deleted cannot be restored, and
// only the serial number identifies a card for good.
void RequireSerial(const Model& model, const std::string& text) {
  const Object* const object = FindObject(model, text);
  const std::string serial = object == nullptr ? std::string() : SerialOf(model, *object);
  if (serial.empty()) return;
  throw UsageFailure(
      fmt::format("{} is not a serial number", text),
      {fmt::format("For this card: corvane-host forget {}", serial), "Nothing was changed."});
}

// The presence that a running service has recorded is newer than `model`.
KnownCard RequireMissing(Context& context, Service::StoredState& state, const std::string& serial) {
  const Model model = context.Objects();
  const auto card = FindKnownCard(state, serial);
  if (IsPresent(model, serial)) throw PresentFailure(serial);
  if (!card) RequireSerial(model, serial);
  if (!card) throw UnknownCardFailure(ActionOf(serial));
  if (card->m_IsPresent && context.Open().IsShared()) throw PresentFailure(serial);
  if (IsOmitted(serial)) throw PresentFailure(serial);
  return *card;
}

std::string QuestionFor(const KnownCard& card) {
  return Base::Printable(fmt::format(
      "Forget {}, {}, last seen {} at PCI {}? Its history and acknowledgments are deleted.",
      card.m_SerialNumber, card.m_Name, TimeText(card.m_LastSeen), card.m_PciAddress));
}

void Forget(Service::StoredState& state, const std::string& serial) {
  switch (state.Forget(serial)) {
    case Service::ForgetResult::UnknownCard:
      throw UnknownCardFailure(ActionOf(serial));
    case Service::ForgetResult::CardIsPresent:
      throw PresentFailure(serial);
    case Service::ForgetResult::Done:
      break;
  }
}

CommandResult ResultOf(const KnownCard& card, bool dryRun) {
  CommandResult result;
  result.m_Changed = !dryRun;
  result.m_Json = {{"serial_number", card.m_SerialNumber},
                   {"last_seen", TimeText(card.m_LastSeen)},
                   {"changed", !dryRun},
                   {"dry_run", dryRun},
                   {"would_change", WouldChangeJson(dryRun, true)}};
  result.m_Text = Base::Printable(card.m_SerialNumber) + ": missing -> forgotten\n" +
                  (dryRun ? "Nothing was changed.\n" : "");
  result.m_Table.m_Columns = {{"SERIAL", "serial_number", false},
                              {"LAST SEEN", "last_seen", false}};
  result.m_Table.m_Rows = {
      {{TextCell(card.m_SerialNumber), TimeCell(card.m_LastSeen)}, std::nullopt}};
  return result;
}

CommandResult Run(Context& context) {
  const std::string& serial = context.m_Arguments[0];
  const auto state = Service::OpenStoredState(context.Open());
  const KnownCard card = RequireMissing(context, *state, serial);
  const bool dryRun = context.m_Options.m_DryRun;
  if (!dryRun) {
    RequireConfirmation(context, ActionOf(serial), QuestionFor(card));
    Forget(*state, serial);
  }
  return ResultOf(card, dryRun);
}

}  // namespace

Command ForgetCommand() {
  Command command;
  command.m_Group = Group::Change;
  command.m_Name = "forget";
  command.m_Arguments = "SERIAL";
  command.m_MinArguments = 1;
  command.m_MaxArguments = 1;
  command.m_Summary = "forget a missing card";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Options = {"--yes", "--dry-run"};
  command.m_TimeoutScope = TimeoutScope::Call;
  command.m_Run = Run;
  command.m_Description =
      "Removes a missing card from the known cards. If the card is inserted again, it counts as a "
      "new card.";
  command.m_Danger =
      "The history and the acknowledgments of the card are deleted. Asks for confirmation; pass "
      "--yes to confirm. Refused while the card is present.";
  command.m_Exits = {{3, "the card has never been recorded"},
                     {4, "refused: the card is present, or not confirmed"}};
  command.m_Examples = {{"forget FA00000003", "forget a card that has been replaced"},
                        {"forget FA00000003 --dry-run", "show what would be changed"}};
  return command;
}

}  // namespace Console
