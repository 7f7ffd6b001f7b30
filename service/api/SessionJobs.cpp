#include "service/api/SessionJobs.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "console/base/Failure.h"
#include "console/model/FieldTable.h"
#include "console/model/Model.h"
#include "hostkit/Texts.h"
#include "service/CollectorSession.h"
#include "service/api/Documents.h"

namespace Service {
namespace {

using Http::MakeProblem;
using Http::Response;

// An operation, its name in jobs, and how its end is recognized after the reply.
struct OperationRow {
  std::uint32_t m_Number;
  const char* m_Name;
  int m_EndReason;              // status reason of the card at the end; 0: it ends with the reply
  std::uint32_t m_FailedEvent;  // 0: none
};

constexpr OperationRow kOperations[] = {
    // number, name, end reason, failed event
    {PI::OP_LOCATE_DEVICE, "locate", 0, 0},
    {PI::OP_STOP_LOCATE_DEVICE, "stop-locate", 0, 0},
    {PI::OP_ATTACH, "attach", PI::Value::ATTACHED, PI::Event::CTRL_ATTACH_FAILED},
    {PI::OP_DETACH, "detach", PI::Value::DETACHED, PI::Event::CTRL_DETACH_FAILED},
    {PI::OP_FORCE_DETACH, "detach", PI::Value::DETACHED, PI::Event::CTRL_DETACH_FAILED},
    {PI::OP_MAKE_ONLINE, "online", 0, 0},
    {PI::OP_MAKE_OFFLINE, "offline", 0, 0},
    {PI::OP_FORMAT_DEVICE, "format", 0, 0},
};

// Returns null for an operation that the service does not know; the plug-in rejects most of them.
const OperationRow* FindRow(std::uint32_t number) {
  const auto* const found =
      std::find_if(std::begin(kOperations), std::end(kOperations),
                   [number](const OperationRow& row) { return row.m_Number == number; });
  return found == std::end(kOperations) ? nullptr : found;
}

const OperationRow* FindRow(const std::string& name) {
  const auto* const found =
      std::find_if(std::begin(kOperations), std::end(kOperations),
                   [&name](const OperationRow& row) { return row.m_Name == name; });
  return found == std::end(kOperations) ? nullptr : found;
}

std::string NameOf(std::uint32_t number) {
  const OperationRow* const row = FindRow(number);
  return row == nullptr ? std::to_string(number) : row->m_Name;
}

// Returns the operation that the command executes, or null.
const PI::COperation* ExecutedOperation(const Console::PluginCommand& command) {
  if (command.m_Command != PI::CMD_EXECUTE_OPERATION) return nullptr;
  return std::get_if<PI::COperation>(&command.m_Payload);
}

// Returns null if the snapshot has no card with that serial number.
const PI::CObject* FindCard(const Snapshot& snapshot, const std::string& serial) {
  const Console::Model model = ModelOf(snapshot);
  for (const Console::Object& object : model.Objects()) {
    if (object.m_Kind != Console::Kind::Adapter) continue;
    if (Console::FieldText(object, "serial_number") == serial) return snapshot.Find(object.m_ID);
  }
  return nullptr;
}

bool HasReason(const PI::CObject& card, int reason) {
  const PI::CProperty* const reasons = FindProperty(card, PI::Property::ADDITIONAL_STATUS);
  if (reasons == nullptr) return false;
  const auto& values = reasons->m_Value.m_MultiValue.m_Values;
  return std::find(values.begin(), values.end(), reason) != values.end();
}

Response RejectedProblem(const OperationRow& row) {
  return MakeProblem(500, HostKit::NameOf(HostKit::Family::Event, row.m_FailedEvent),
                     "the card rejected the command");
}

Response RemovedProblem(const std::string& serial) {
  return MakeProblem(404, "NO_SUCH_OBJECT", fmt::format("card {} was removed", serial));
}

Response TimeoutProblem() {
  return MakeProblem(504, "TIMED_OUT", "the card has not finished in time",
                     "The card may still be working; nothing was rolled back.");
}

}  // namespace

bool ReadsLocateLed(const Console::PluginCommand& command) {
  const auto* const operation = std::get_if<PI::COperation>(&command.m_Payload);
  return command.m_Command == PI::CMD_CHECK_OPERATION && operation != nullptr &&
         (operation->m_OperationID == PI::OP_LOCATE_DEVICE ||
          operation->m_OperationID == PI::OP_STOP_LOCATE_DEVICE);
}

SessionJobs::SessionJobs(JobTable& jobs, std::chrono::milliseconds timeout)
    : m_Jobs(jobs), m_Timeout(timeout) {}

std::optional<std::string> SessionJobs::Begin(const Snapshot& snapshot,
                                              const Console::PluginCommand& command,
                                              const std::string& user) {
  const PI::COperation* const operation = ExecutedOperation(command);
  if (operation == nullptr) return std::nullopt;
  Running running;
  running.m_Serial = SerialOf(snapshot, command.m_Object);
  running.m_Operation = operation->m_OperationID;
  if (running.m_Serial.empty()) return std::nullopt;
  const Job job = m_Jobs.Begin(running.m_Serial, NameOf(running.m_Operation), false,
                               {JobOrigin::Session, user});
  const Base::MutexLock lock(m_Lock);
  m_Running[job.m_Id] = std::move(running);
  return job.m_Id;
}

void SessionJobs::RequireCheckable(const Snapshot& snapshot,
                                   const Console::PluginCommand& command) const {
  if (command.m_Command != PI::CMD_CHECK_OPERATION) return;
  const std::string serial = SerialOf(snapshot, command.m_Object);
  if (serial.empty()) return;
  m_Jobs.RequireNotRunning(serial, NameOf(PI::OP_FORMAT_DEVICE));
  if (ReadsLocateLed(command)) return;
  m_Jobs.RequireNotRunning(serial, NameOf(PI::OP_ATTACH));
  m_Jobs.RequireNotRunning(serial, NameOf(PI::OP_DETACH));
}

void SessionJobs::Drop(const std::string& id) {
  {
    const Base::MutexLock lock(m_Lock);
    m_Running.erase(id);
  }
  m_Jobs.Drop(id);
}

void SessionJobs::Fail(const std::string& id, const Response& problem) {
  Finish({{id, problem}});
}

void SessionJobs::OnReply(const std::string& id, const Console::PluginReply& reply, pid_t process) {
  End end = {id, std::nullopt};
  {
    const Base::MutexLock lock(m_Lock);
    Running& job = m_Running.at(id);
    const OperationRow* const row = FindRow(job.m_Operation);
    const bool continues = row != nullptr && row->m_EndReason != 0;
    if (reply.m_Result != PI::SUCCESS) {
      end.m_Problem = ResponseOf([&]() -> Response {
        throw Console::PluginFailure(NameOf(job.m_Operation) + " " + job.m_Serial, reply.m_Result);
      });
    } else if (job.m_HasFailed) {
      end.m_Problem = RejectedProblem(*row);
    } else if (continues) {
      job.m_Process = process;
      job.m_Deadline.emplace(m_Timeout);
      return;
    }
  }
  Finish({end});
}

// Returns empty if the job is still running.
std::optional<SessionJobs::End> SessionJobs::EndOf(const std::string& id, const Running& job,
                                                   const Snapshot& snapshot) {
  if (!job.m_Deadline) return std::nullopt;  // the plug-in has not replied
  if (!snapshot.m_Plugin.m_IsUp || snapshot.m_Plugin.m_Process != job.m_Process) {
    return End{id, ResponseOf([]() -> Response { throw PluginEndedFailure(); })};
  }
  const PI::CObject* const card = FindCard(snapshot, job.m_Serial);
  if (card == nullptr) return End{id, RemovedProblem(job.m_Serial)};
  if (HasReason(*card, FindRow(job.m_Operation)->m_EndReason)) return End{id, std::nullopt};
  if (job.m_Deadline->HasPassed()) return End{id, TimeoutProblem()};
  return std::nullopt;
}

// The card may have finished an interrupted attach or detach in the meantime.
void SessionJobs::ResolveInterrupted(const Snapshot& snapshot) {
  if (!snapshot.m_Plugin.m_IsUp || !snapshot.m_HasCards) return;
  for (const Job& job : m_Jobs.TakeInterrupted()) {
    const OperationRow* const row = FindRow(job.m_Operation);
    if (job.m_IsDryRun || row == nullptr || row->m_EndReason == 0) continue;
    const PI::CObject* const card = FindCard(snapshot, job.m_Serial);
    if (card == nullptr || !HasReason(*card, row->m_EndReason)) continue;
    m_Jobs.End(job.m_Id, JobState::Succeeded, nullptr);
  }
}

void SessionJobs::OnSnapshot(const Snapshot& snapshot) {
  ResolveInterrupted(snapshot);
  std::vector<End> ends;
  {
    const Base::MutexLock lock(m_Lock);
    for (const auto& [id, job] : m_Running) {
      if (auto end = EndOf(id, job, snapshot)) ends.push_back(std::move(*end));
    }
  }
  Finish(ends);
}

void SessionJobs::OnEvents(const std::vector<HostKit::LoggedEvent>& events) {
  std::vector<End> ends;
  {
    const Base::MutexLock lock(m_Lock);
    for (auto& [id, job] : m_Running) {
      const OperationRow* const row = FindRow(job.m_Operation);
      if (row == nullptr || row->m_FailedEvent == 0) continue;
      const auto isFailure = [&job = job, row](const HostKit::LoggedEvent& event) {
        return event.m_EventID == row->m_FailedEvent && event.m_SerialNumber == job.m_Serial;
      };
      if (std::none_of(events.begin(), events.end(), isFailure)) continue;
      job.m_HasFailed = true;
      if (job.m_Deadline) ends.push_back({id, RejectedProblem(*row)});
    }
  }
  Finish(ends);
}

void SessionJobs::Finish(const std::vector<End>& ends) {
  for (const End& end : ends) {
    {
      const Base::MutexLock lock(m_Lock);
      if (m_Running.erase(end.m_Id) == 0) continue;
    }
    if (end.m_Problem) {
      m_Jobs.End(end.m_Id, JobState::Failed, nlohmann::ordered_json::parse(*end.m_Problem->m_Body));
    } else {
      m_Jobs.End(end.m_Id, JobState::Succeeded, nullptr);
    }
  }
}

}  // namespace Service
