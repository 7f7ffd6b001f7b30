#include "console/commands/Acknowledged.h"

#include <fmt/format.h>

#include <algorithm>

#include "base/Printable.h"
#include "console/base/Timestamp.h"
#include "console/model/AcknowledgeableReasons.h"
#include "console/model/Selectors.h"
#include "console/plugin/UnreadableRecords.h"
#include "console/report/SeveralObjects.h"

namespace Console {
namespace {

using Service::Acknowledgment;

std::string EndText(const Acknowledgment& acknowledgment) {
  return acknowledgment.m_Until ? TimeText(*acknowledgment.m_Until) : "-";
}

std::string TextOf(const std::optional<Acknowledgment>& now, bool changed) {
  if (!now) return changed ? "acknowledgment removed" : "not acknowledged";
  return (changed ? "" : "already ") + AcknowledgmentText(*now);
}

// Returns the text of --dry-run for a change.
std::string PlanText(const std::optional<Acknowledgment>& now, AckEffect effect) {
  return TextOf(now, false) +
         (effect == AckEffect::WouldRemove ? " -> removed" : " -> acknowledged");
}

Row RowOf(const StoredCard& card, const std::string& reason,
          const std::optional<Acknowledgment>& now) {
  Row row{{TextCell(card.Name()), TextCell(card.m_SerialNumber), TextCell(reason)}, std::nullopt};
  const Acknowledgment none;
  const auto cell = [](const std::string& text) { return TextCell(text.empty() ? "-" : text); };
  row.m_Cells.push_back(cell(now.value_or(none).m_User));
  row.m_Cells.push_back(cell(now ? TimeText(now->m_Time) : ""));
  row.m_Cells.push_back(cell(now ? EndText(*now) : ""));
  row.m_Cells.push_back(cell(now.value_or(none).m_Note));
  return row;
}

}  // namespace

Json AcknowledgmentJson(const Acknowledgment& acknowledgment) {
  return {{"user", acknowledgment.m_User},
          {"time", TimeText(acknowledgment.m_Time)},
          {"until", acknowledgment.m_Until ? Json(TimeText(*acknowledgment.m_Until)) : Json()},
          {"note", acknowledgment.m_Note}};
}

std::string AcknowledgmentText(const Acknowledgment& acknowledgment) {
  std::string text = "acknowledged by " + acknowledgment.m_User;
  if (acknowledgment.m_Until) text += " until " + TimeText(*acknowledgment.m_Until);
  return acknowledgment.m_Note.empty() ? text : text + ": " + acknowledgment.m_Note;
}

std::vector<Acknowledgment> ReadAcknowledgments(Context& context) {
  try {
    return Service::OpenStoredState(context.Open())->Acknowledgments();
  } catch (const Failure& failure) {
    if (failure.m_Code == ExitCode::TimedOut) throw;
    ReportUnreadableRecords(UnreadableRecordsFailure(failure.m_Text, failure.m_Advice),
                            context.m_Diagnostics);
    return {};
  }
}

const Acknowledgment* FindAcknowledgment(const std::vector<Acknowledgment>& all,
                                         const std::string& serial, const std::string& reason) {
  const auto found = std::find_if(all.begin(), all.end(), [&](const Acknowledgment& each) {
    return each.m_SerialNumber == serial && each.m_Reason == reason;
  });
  return serial.empty() || found == all.end() ? nullptr : &*found;
}

const std::string& RequireReason(const std::string& command, const std::string& reason) {
  const std::vector<std::string>& reasons = AcknowledgeableReasons();
  if (std::find(reasons.begin(), reasons.end(), reason) != reasons.end()) return reason;
  throw UnknownReasonFailure(command, reason);
}

Failure UnknownReasonFailure(const std::string& command, const std::string& reason) {
  std::vector<std::string> advice = DidYouMean(reason, AcknowledgeableReasons());
  advice.emplace_back("The reasons of a card are printed by: corvane-host status");
  return Failure(ExitCode::Usage, "UNKNOWN_REASON", command,
                 fmt::format("'{}' is not a reason", reason), advice);
}

std::optional<Acknowledgment> FindAcknowledgment(Service::StoredState& state,
                                                 const std::string& serial,
                                                 const std::string& reason) {
  for (const Acknowledgment& each : state.Acknowledgments()) {
    if (each.m_SerialNumber == serial && each.m_Reason == reason) return each;
  }
  return std::nullopt;
}

CommandResult AcknowledgedResult(const Context& context, const StoredCard& card,
                                 const std::string& reason,
                                 const std::optional<Acknowledgment>& now, AckEffect effect) {
  const bool changed = effect == AckEffect::Changed;
  const bool isPlan = effect == AckEffect::WouldAcknowledge || effect == AckEffect::WouldRemove;
  const bool dryRun = context.m_Options.m_DryRun;
  CommandResult result;
  result.m_Changed = changed;
  result.m_Json = {{"object", card.m_Selector.empty() ? Json() : Json(card.m_Selector)},
                   {"serial_number", card.m_SerialNumber},
                   {"reason", reason},
                   {"acknowledgment", now ? AcknowledgmentJson(*now) : Json()},
                   {"changed", changed},
                   {"dry_run", dryRun},
                   {"would_change", WouldChangeJson(dryRun, isPlan)}};
  const std::string text = isPlan ? PlanText(now, effect) : TextOf(now, changed);
  result.m_Text = Base::Printable(fmt::format("{} {}: {}", card.Name(), reason, text)) + "\n" +
                  (dryRun ? "Nothing was changed.\n" : "");
  result.m_Table.m_Columns = {{"OBJECT", "object", false}, {"SERIAL", "serial_number", false},
                              {"REASON", "reason", false}, {"USER", "user", false},
                              {"TIME", "time", false},     {"UNTIL", "until", false},
                              {"NOTE", "note", false}};
  result.m_Table.m_Rows = {RowOf(card, reason, now)};
  return result;
}

namespace {

// Returns the names before the last argument, with "all" replaced by all adapters.
std::vector<std::string> NamesBeforeReason(const Context& context, const Model& model) {
  std::vector<std::string> names;
  const auto& words = context.m_Arguments;
  for (std::size_t i = 0; i + 1 < words.size(); ++i) {
    if (words[i] != kAllObjects) {
      names.push_back(words[i]);
      continue;
    }
    for (const Object& object : model.Objects()) {
      if (object.m_Kind == Kind::Adapter) names.push_back(object.m_Selector);
    }
  }
  return names;
}

}  // namespace

CommandResult RunForCards(
    Context& context,
    const std::function<CommandResult(Service::StoredState& state, const StoredCard& card)>& run) {
  const Model model = context.Objects();
  const auto state = Service::OpenStoredState(context.Open());
  std::vector<StoredCard> cards;
  std::vector<std::string> names;
  for (const std::string& name : NamesBeforeReason(context, model)) {
    cards.push_back(SelectStoredCard(model, *state, context.m_Command.c_str(), name));
    names.push_back(cards.back().Name());
  }
  const bool isSeveral = context.m_Arguments.size() > 2 || context.m_Arguments[0] == kAllObjects;
  return RunForEach(context, names, isSeveral,
                    [&](std::size_t i) { return run(*state, cards[i]); });
}

}  // namespace Console
