// ack: acknowledge a problem of a card.
#include <fmt/format.h>

#include <algorithm>

#include "console/base/Timestamp.h"
#include "console/cli/CommandTable.h"
#include "console/commands/Acknowledged.h"
#include "console/commands/StoredCard.h"
#include "console/model/EffectiveState.h"
#include "console/model/Health.h"
#include "console/report/CommandContext.h"

namespace Console {
namespace {

using Service::Acknowledgment;

constexpr std::size_t kMaxNoteBytes = 1000;

// Returns the expiry, rounded up to a whole second so that it is still in the future.
std::optional<std::uint64_t> ExpiryOf(const std::string& until) {
  constexpr std::uint64_t kSecondMs = 1000;
  if (until.empty()) return std::nullopt;
  const std::uint64_t end = ParseEndTime("--until", until, NowMs());
  return (end + kSecondMs - 1) / kSecondMs * kSecondMs;
}

Acknowledgment RequestOf(const Context& context) {
  Acknowledgment request;
  request.m_Reason = RequireReason(context.m_Command, context.m_Arguments.back());
  request.m_Until = ExpiryOf(context.m_Options.m_Until);
  request.m_Note = context.m_Options.m_Note;
  if (request.m_Note.size() > kMaxNoteBytes) {
    throw UsageFailure("--note: longer than 1,000 bytes");
  }
  return request;
}

bool IsSame(const Acknowledgment& one, const Acknowledgment& other) {
  return one.m_Until == other.m_Until && one.m_Note == other.m_Note;
}

// Whether the card has the reason now. A card that only the stored state has is missing.
bool HasReason(const StoredCard& card, const std::string& reason) {
  if (card.m_pObject == nullptr) return reason == kMissing;
  const std::vector<Reason> reasons = HealthOf(*card.m_pObject).m_Reasons;
  return std::any_of(reasons.begin(), reasons.end(),
                     [&](const Reason& each) { return each.m_Name == reason; });
}

Failure NotMissingFailure(const StoredCard& card) {
  return Failure(ExitCode::Refused, "NOT_MISSING", "ack " + card.Name(), "the card is not missing",
                 {"Acknowledge MISSING after the card has been removed.", "Nothing was changed."});
}

// Any reason but MISSING may be expected, for example DETACHED before a repair.
void CheckReason(const Context& context, const StoredCard& card, const std::string& reason) {
  if (HasReason(card, reason)) return;
  if (Service::HidesRemoval(reason, true)) throw NotMissingFailure(card);
  context.m_Diagnostics.Note(
      "REASON_ABSENT",
      fmt::format("{} does not have the reason {} now; it is acknowledged when it occurs",
                  card.Name(), reason),
      {fmt::format("To undo this: corvane-host unack {} {}", card.Name(), reason)});
}

CommandResult Acknowledge(const Context& context, Service::StoredState& state,
                          const StoredCard& card, Acknowledgment request) {
  CheckReason(context, card, request.m_Reason);
  request.m_SerialNumber = card.m_SerialNumber;
  const auto before = FindAcknowledgment(state, card.m_SerialNumber, request.m_Reason);
  if (before && IsSame(*before, request)) {
    return AcknowledgedResult(context, card, request.m_Reason, before, AckEffect::None);
  }
  if (context.m_Options.m_DryRun) {
    if (!FindKnownCard(state, card.m_SerialNumber)) throw UnknownCardFailure("ack " + card.Name());
    return AcknowledgedResult(context, card, request.m_Reason, before, AckEffect::WouldAcknowledge);
  }
  switch (state.Acknowledge(request)) {
    case Service::AcknowledgeResult::UnknownCard:
      throw UnknownCardFailure("ack " + card.Name());
    case Service::AcknowledgeResult::UnknownReason:
      throw UnknownReasonFailure(context.m_Command, request.m_Reason);
    case Service::AcknowledgeResult::NotMissing:
      throw NotMissingFailure(card);
    case Service::AcknowledgeResult::Done:
      break;
  }
  return AcknowledgedResult(context, card, request.m_Reason, request, AckEffect::Changed);
}

CommandResult Run(Context& context) {
  const Acknowledgment request = RequestOf(context);
  return RunForCards(context, [&](Service::StoredState& state, const StoredCard& card) {
    return Acknowledge(context, state, card, request);
  });
}

}  // namespace

Command AckCommand() {
  Command command;
  command.m_Group = Group::Change;
  command.m_Name = "ack";
  command.m_Arguments = "OBJ... REASON";
  command.m_MinArguments = 2;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "acknowledge a problem of a card";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Options = {"--until", "--note", "--dry-run"};
  command.m_Run = Run;
  command.m_Description =
      "Records who acknowledged the problem, when and until when, and replaces an earlier "
      "acknowledgment of the same problem. The acknowledgment stays in effect when the problem "
      "ends and recurs. A note says that the card does not have the problem now; MISSING is "
      "refused for a card that is present. OBJ is an adapter or the serial number of a missing "
      "card.";
  command.m_Exits = {{2, "no such reason"},
                     {3, "no such card, or it has never been recorded"},
                     {4, "MISSING was acknowledged for a card that is present"}};
  command.m_Examples = {{"ack a1 TEMPERATURE_ABOVE_WARN --until 2d --note 'fan ordered'",
                         "acknowledge a known problem for two days", true},
                        {"ack FA00000003 MISSING", "acknowledge that a card was removed"}};
  return command;
}

}  // namespace Console
