#include "console/change/FormatDrive.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "base/Printable.h"
#include "console/base/Duration.h"
#include "console/base/StopSignals.h"
#include "console/base/Terminal.h"
#include "console/change/CardFailure.h"
#include "console/change/Confirmation.h"
#include "console/change/OperationRunner.h"
#include "console/change/Progress.h"
#include "console/model/StaleValues.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

const OperationRow& FormatRow() {
  return *FindOperation(PI::OP_FORMAT_DEVICE);
}

// The fields of a drive that a format changes.
constexpr const char* kChangedFields[] = {"formatted_size_bytes", "formatted_ratio",
                                          "sector_size_bytes"};

std::uint64_t Number(const Object& object, const char* name) {
  const Value value = ReadField(object, name);
  const auto* number = std::get_if<std::uint64_t>(&value.m_Data);
  return number == nullptr ? 0 : *number;
}

// Returns the capacity as a percentage of the factory size. Do not call for `MAXIMUM_CAPACITY`: the
// drive reports that size.
std::int32_t Percent(const FormatRequest& request) {
  switch (request.m_Capacity) {
    case PI::Value::CUSTOM:
      return request.m_Percent;
    case PI::Value::IMPROVED_PERFORMANCE:
      return 90;
    case PI::Value::HIGH_PERFORMANCE:
      return 80;
    default:
      return 100;
  }
}

// Estimates the size after the format; the card decides the actual size. Returns 0 if the drive
// does not report the field that the estimate needs.
std::uint64_t PlannedBytes(const Object& drive, const FormatRequest& request) {
  if (request.m_Capacity == PI::Value::MAXIMUM_CAPACITY) {
    return Number(drive, "configurable_size_bytes");
  }
  return Number(drive, "physical_size_bytes") / 100 * static_cast<std::uint64_t>(Percent(request));
}

std::string Bytes(std::uint64_t bytes, bool ascii) {
  Value value;
  value.m_Kind = ValueKind::Bytes;
  if (bytes != 0) value.m_Data = bytes;
  return HumanText(value, ascii);
}

std::string CapacityText(const FormatRequest& request) {
  if (request.m_Capacity == PI::Value::MAXIMUM_CAPACITY) return "maximum";
  return fmt::format("{} %", Percent(request));
}

std::string SectorText(const Object& drive, const FormatRequest& request, bool ascii) {
  const std::uint64_t before = Number(drive, "sector_size_bytes");
  const std::string now = Bytes(request.m_SectorSize, ascii);
  if (before == request.m_SectorSize) return now + " (unchanged)";
  return fmt::format("{} -> {}", Bytes(before, ascii), now);
}

struct Plan {
  FormatRequest m_Request;
  std::uint64_t m_Bytes;  // 0: unknown
  std::string m_Text;
};

// Keeps the locate LED of the card on while the user is prompted.
class LocateLedGuard {
 public:
  LocateLedGuard(Context& context, const Object* adapter) : m_Context(context), m_Adapter(adapter) {
    if (adapter == nullptr) return;
    m_IsOn = adapter->SupportsOperation(PI::OP_LOCATE_DEVICE) && Switch(PI::OP_LOCATE_DEVICE);
  }
  ~LocateLedGuard() {
    if (!m_IsOn) return;
    try {
      Switch(PI::OP_STOP_LOCATE_DEVICE);
    } catch (const Failure& failure) {
      NoteStaysOn(failure);  // such as another job that was started during the prompt
    } catch (const Stopped&) {
    }
  }
  LocateLedGuard(const LocateLedGuard&) = delete;
  LocateLedGuard& operator=(const LocateLedGuard&) = delete;

  bool IsOn() const { return m_IsOn; }

 private:
  bool Switch(PI::_OPERATION_ID number) {
    PI::COperation operation;
    operation.m_OperationID = number;
    return m_Context.Open().ExecuteOperation(m_Adapter->m_ID, operation) == PI::SUCCESS;
  }
  void NoteStaysOn(const Failure& failure) {
    const std::string& name = m_Adapter->m_Selector;
    m_Context.m_Diagnostics.Note(
        "LED_STAYS_ON", fmt::format("the locate LED of {} stays on: {}", name, failure.what()),
        {fmt::format("To switch it off: corvane-host locate {} off", name)});
  }

  Context& m_Context;
  const Object* const m_Adapter;
  bool m_IsOn = false;
};

std::string PlanText(Context& context, const Model& model, const Object& drive, const Plan& plan,
                     bool locateLed) {
  const bool ascii = context.m_Style.m_Ascii;
  std::string text = fmt::format("  Drive   {}\n", Base::Printable(DescribeObject(model, drive)));
  if (locateLed) text += "  LED     the card's locate LED is blinking\n";
  text +=
      fmt::format("  Change  {} -> about {} ({}), sectors {}\n",
                  Bytes(Number(drive, "formatted_size_bytes"), ascii), Bytes(plan.m_Bytes, ascii),
                  CapacityText(plan.m_Request), SectorText(drive, plan.m_Request, ascii));
  return text + "  ALL DATA ON THIS DRIVE WILL BE LOST. This cannot be undone.\n";
}

// Always passes all three parameters: the plug-in's default for a missing parameter may differ from
// the drive's current state.
PI::COperation FormatOperation(const FormatRequest& request) {
  PI::COperation operation;
  operation.m_OperationID = PI::OP_FORMAT_DEVICE;
  operation.m_NameID = PI::OP_FORMAT_DEVICE;
  PI::CProperty capacity(PI::Property::CHOICE_PARAM, true);
  capacity.m_NameID = PI::Property::FORMATTING;
  capacity.SetValue(request.m_Capacity, {request.m_Capacity});
  PI::CProperty percent(PI::Property::RANGE_PARAM, true);
  percent.m_NameID = PI::Property::SIZE;
  percent.SetValue(request.m_Percent, kMinPercent, kMaxPercent, 1);
  const auto bytes = static_cast<int>(request.m_SectorSize);
  PI::CProperty sector(PI::Property::RANGE_PARAM, true);
  sector.m_NameID = PI::Property::BLOCK_SIZE;
  sector.SetValue(bytes, bytes, bytes, 1);
  operation.m_Properties = {capacity, percent, sector};
  return operation;
}

// Cards format only while they are detached.
void RequireDetached(Session& session, const Model& model, const Object& drive) {
  const Object* adapter = AdapterOf(model, drive);
  if (adapter == nullptr || StateOf(session, adapter->m_ID, Aspect::Card) != "attached") return;
  throw Failure(ExitCode::Refused, "CARD_ATTACHED", ActionText(FormatRow(), drive),
                fmt::format("{} is attached", adapter->m_Selector),
                {fmt::format("Detach it first: corvane-host detach {}", adapter->m_Selector),
                 "Nothing was changed."});
}

// Throws `Failure` if the drive is in use or the card would reject the format.
void RequireAllowed(Session& session, const Model& model, const Object& drive,
                    const FormatRequest& request) {
  const std::string what = ActionText(FormatRow(), drive);
  RequireNotInUse(model, drive, what);
  RequireDetached(session, model, drive);
  PI::COperation operation = FormatOperation(request);
  const std::uint32_t error = session.CheckOperation(drive.m_ID, operation);
  if (error != PI::SUCCESS) throw CheckFailure(session, what, &FormatRow(), "", error);
}

// The failure of a format that has started.
Failure FormatFailure(Session& session, const Object& drive, std::uint32_t error) {
  const Failure plain = CommandFailure(session, ActionText(FormatRow(), drive), error);
  std::vector<std::string> advice = plain.m_Advice;
  advice.push_back(fmt::format("Check the drive: corvane-host show {}", drive.m_Selector));
  return Failure(plain.m_Code, plain.m_Id, plain.m_Text, advice);
}

Json JobJson(const Object& drive) {
  return {{"object", drive.m_Selector}, {"operation", OperationName(FormatRow().m_Number)}};
}

// Adds a note that the format was completed although the program was interrupted.
void NoteFormatted(Context& context, const Object& drive) {
  context.m_Diagnostics.Note(
      "FORMATTED",
      fmt::format("{} was formatted before the program was interrupted", drive.m_Selector),
      {"Until the next scan of the cards, other commands show its old size. To wait for the scan:",
       fmt::format("corvane-host wait {} 'formatted_size_bytes!={}'", drive.m_Selector,
                   Number(drive, "formatted_size_bytes"))});
}

// Runs the format and returns the elapsed time. The call cannot be interrupted.
milliseconds Execute(Context& context, const Object& drive, const FormatRequest& request) {
  Session& session = context.Open();
  PI::COperation operation = FormatOperation(request);
  std::uint32_t result = PI::SUCCESS;
  milliseconds elapsed{0};
  {
    Progress progress(context, Headline(FormatRow(), drive), JobJson(drive));
    const BackgroundTicks ticks(progress);
    result = session.ExecuteOperation(drive.m_ID, operation);
    elapsed = progress.Elapsed();
  }
  if (result != PI::SUCCESS) throw FormatFailure(session, drive, result);
  if (IsStopRequested()) NoteFormatted(context, drive);
  ThrowIfStopped();
  return elapsed;
}

bool Differ(const Object& one, const Object& other) {
  return std::any_of(std::begin(kChangedFields), std::end(kChangedFields), [&](const char* name) {
    return ReadField(one, name).m_Data != ReadField(other, name).m_Data;
  });
}

// Whether the drive reports the capacity that the format would give it.
bool HasCapacity(const Object& drive, const FormatRequest& request) {
  if (request.m_Capacity == PI::Value::MAXIMUM_CAPACITY) {
    const std::uint64_t largest = Number(drive, "configurable_size_bytes");
    return largest != 0 && Number(drive, "formatted_size_bytes") == largest;
  }
  const Value ratio = ReadField(drive, "formatted_ratio");
  const auto* now = std::get_if<double>(&ratio.m_Data);
  return now != nullptr && std::abs(*now * 100 - Percent(request)) < 0.5;
}

bool ShouldDiffer(const Object& drive, const FormatRequest& request) {
  return !HasCapacity(drive, request) || Number(drive, "sector_size_bytes") != request.m_SectorSize;
}

// Waits until the plug-in reports the new size, which it does after the next scan of all cards, and
// returns the drive. Returns empty if no scan reports it in time. Scans run once per poll interval,
// delayed by up to a third of an interval; the limit leaves a margin.
std::optional<Object> AwaitScan(Context& context, const Model& before, const Object& drive,
                                const FormatRequest& request) {
  constexpr milliseconds kCheckInterval{250};
  const Object& plugin = before.Objects().front();
  const std::uint64_t interval = Number(plugin, "poll_interval_seconds");
  const auto longest = milliseconds(interval * 5000 / 3 + 2000);
  constexpr milliseconds kProgressDelay = std::chrono::seconds(1);
  const auto start = steady_clock::now();
  std::optional<Progress> progress;
  while (true) {
    const Model model = context.Objects();
    const Object* now = model.Find(drive.m_ID);
    if (now != nullptr && (Differ(*now, drive) || !ShouldDiffer(drive, request))) return *now;
    if (steady_clock::now() - start > longest) return std::nullopt;
    if (!progress && CanRewriteLine() && steady_clock::now() - start > kProgressDelay) {
      progress.emplace(context, "Waiting for the next scan", JobJson(drive));
    }
    if (progress) progress->Tick();
    context.Open().WaitForNotification(kCheckInterval);
    if (!IsStopRequested()) continue;
    progress.reset();
    NoteFormatted(context, drive);
    throw Stopped();
  }
}

// Returns the sizes of a drive; null values if `drive` is null.
Json SizesJson(const Object* drive) {
  Json json = Json::object();
  for (const char* name : kChangedFields) {
    PutValue(json, name, drive == nullptr ? Value() : ReadField(*drive, name));
  }
  return json;
}

Json PlannedJson(const Plan& plan) {
  const auto sector = static_cast<std::uint64_t>(plan.m_Request.m_SectorSize);
  Value bytes;
  if (plan.m_Bytes != 0) bytes.m_Data = plan.m_Bytes;
  Json json = {
      {"capacity", HostKit::NameOf(HostKit::Family::Value,
                                   static_cast<std::uint32_t>(plan.m_Request.m_Capacity))}};
  json["capacity_ratio"] = nullptr;
  if (plan.m_Request.m_Capacity != PI::Value::MAXIMUM_CAPACITY) {
    json["capacity_ratio"] = Percent(plan.m_Request) / 100.0;
  }
  PutValue(json, "formatted_size_bytes", bytes);
  json["sector_size_bytes"] = sector;
  return json;
}

Table ChangeTable(const Object& drive, const std::optional<Object>& after) {
  Table table;
  table.m_Columns = ChangeColumns();
  for (const char* name : kChangedFields) {
    table.m_Rows.push_back(
        {{TextCell(drive.m_Selector), TextCell(name), TextCell(BareText(ReadField(drive, name))),
          TextCell(after ? BareText(ReadField(*after, name)) : "-")},
         std::nullopt});
  }
  return table;
}

std::string DoneText(const Object& drive, const std::optional<Object>& after, milliseconds elapsed,
                     bool ascii) {
  std::string text = fmt::format("Done in {}. {}: ", ElapsedText(elapsed), drive.m_Selector);
  if (!after) return text + "new size not reported yet.\n";
  return text + fmt::format("{}, {} sectors.\n",
                            HumanText(ReadField(*after, "formatted_size_bytes"), ascii),
                            HumanText(ReadField(*after, "sector_size_bytes"), ascii));
}

enum class Outcome { Formatted, Nothing, Planned, PlannedNothing };

CommandResult FormatResult(const Object& drive, const Plan& plan,
                           const std::optional<Object>& after, Outcome outcome,
                           milliseconds elapsed) {
  const bool dryRun = outcome == Outcome::Planned || outcome == Outcome::PlannedNothing;
  CommandResult result;
  result.m_Changed = outcome == Outcome::Formatted;
  result.m_Json = {{"object", drive.m_Selector},
                   {"operation", OperationName(PI::OP_FORMAT_DEVICE)},
                   {"number", FormatRow().m_Number},
                   {"before", SizesJson(&drive)},
                   {"planned", PlannedJson(plan)},
                   {"after", SizesJson(after ? &*after : nullptr)},
                   {"changed", *result.m_Changed},
                   {"dry_run", dryRun},
                   {"would_change", WouldChangeJson(dryRun, outcome == Outcome::Planned)},
                   {"elapsed_seconds", static_cast<double>(elapsed.count()) / 1000}};
  result.m_Table = ChangeTable(drive, after);
  return result;
}

FormatRequest WithSectorSize(const Object& drive, FormatRequest request) {
  if (request.m_SectorSize == 0) {
    request.m_SectorSize = static_cast<std::uint32_t>(Number(drive, "sector_size_bytes"));
  }
  if (request.m_SectorSize != 0) return request;
  throw UsageFailure(fmt::format("{} does not report its sector size", drive.m_Selector),
                     {"Pass the sector size: --sector-size 512"});
}

// The result for a drive that already has the requested layout.
CommandResult UnchangedResult(const Context& context, const Object& drive, const Plan& plan) {
  const bool ascii = context.m_Style.m_Ascii;
  const Outcome outcome = context.m_Options.m_DryRun ? Outcome::PlannedNothing : Outcome::Nothing;
  CommandResult result = FormatResult(drive, plan, drive, outcome, milliseconds(0));
  result.m_Text = fmt::format(
      "{}: already {} ({}), {} sectors; pass --again to erase it anyway\n", drive.m_Selector,
      HumanText(ReadField(drive, "formatted_size_bytes"), ascii), CapacityText(plan.m_Request),
      HumanText(ReadField(drive, "sector_size_bytes"), ascii));
  return result;
}

void ConfirmFormat(Context& context, const Model& model, const Object& drive, const Plan& plan) {
  const Options& options = context.m_Options;
  const bool prompts = options.m_Confirm.empty() && CanPrompt(options);
  const LocateLedGuard locateLed(context, prompts ? AdapterOf(model, drive) : nullptr);
  RequireTypedText(context, ActionText(FormatRow(), drive),
                   PlanText(context, model, drive, plan, locateLed.IsOn()),
                   ConfirmationText(model, drive));
}

}  // namespace

// Repeats the checks after the prompt, because the state may have changed before the user answered.
CommandResult FormatDrive(Context& context, const Model& model, const Object& drive,
                          FormatRequest request) {
  Session& session = context.Open();
  request = WithSectorSize(drive, request);
  const Plan plan = {request, PlannedBytes(drive, request), ""};
  HasConfirmed(context, ActionText(FormatRow(), drive), ConfirmationText(model, drive));
  if (const Object* const unreadable = UnreadableCardOf(model, drive)) {
    throw UnreadableFailure(ActionText(FormatRow(), drive), *unreadable);
  }
  if (!ShouldDiffer(drive, request) && !context.m_Options.m_Again) {
    return UnchangedResult(context, drive, plan);
  }
  RequireAllowed(session, model, drive, request);
  if (context.m_Options.m_DryRun) {
    CommandResult result =
        FormatResult(drive, plan, std::nullopt, Outcome::Planned, milliseconds(0));
    result.m_Text = PlanText(context, model, drive, plan, false) + "Nothing was changed.\n";
    return result;
  }
  ConfirmFormat(context, model, drive, plan);
  RequireAllowed(session, model, drive, request);
  const milliseconds elapsed = Execute(context, drive, request);
  const std::optional<Object> after = AwaitScan(context, model, drive, request);
  if (!after) {
    context.m_Diagnostics.Note(
        "NOT_SEEN_YET", "the plug-in does not report the new size yet",
        {fmt::format("Check the size: corvane-host show {}", drive.m_Selector)});
  }
  CommandResult result = FormatResult(drive, plan, after, Outcome::Formatted, elapsed);
  result.m_Text = DoneText(drive, after, elapsed, context.m_Style.m_Ascii);
  return result;
}

}  // namespace Console
