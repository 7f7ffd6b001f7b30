// Jobs for the operations that clients execute with commands of the plug-in interface.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "console/base/Deadline.h"
#include "console/plugin/PluginCommand.h"
#include "hostkit/EventLog.h"
#include "service/JobTable.h"
#include "service/Snapshot.h"
#include "service/http/Message.h"

namespace Service {

// Whether the command is a check whose result is the state of the locate LED.
bool ReadsLocateLed(const Console::PluginCommand& command);

// The plug-in replies to an attach or detach before the card has finished. Such a job ends with the
// first snapshot or event that shows that the card has finished; all other jobs end with the reply.
// Thread-safe.
class SessionJobs {
 public:
  // The job table must outlive this object. `timeout` is the time limit of an attach or detach.
  explicit SessionJobs(JobTable& jobs, std::chrono::milliseconds timeout = std::chrono::minutes(2));

  // Begins a job if the command executes an operation on a card of the snapshot or on one of its
  // drives. Returns the job's id; empty if the command needs no job. Throws `Console::Failure` if
  // another job is running on the card.
  std::optional<std::string> Begin(const Snapshot& snapshot, const Console::PluginCommand& command,
                                   const std::string& user);
  // Throws `Console::Failure` if the command checks an operation that would be refused because the
  // card is being attached, detached or formatted. The plug-in does not know the new state of the
  // card before its next scan, and its checks wait for the end of a format.
  void RequireCheckable(const Snapshot& snapshot, const Console::PluginCommand& command) const;
  // Removes a job whose command was not executed.
  void Drop(const std::string& id);
  // Reports that `process` has replied to the job's command.
  void OnReply(const std::string& id, const Console::PluginReply& reply, pid_t process);
  // Ends the job with a problem document.
  void Fail(const std::string& id, const Http::Response& problem);

  // The first snapshot also decides about the jobs that a restart of the service has interrupted.
  //
  // Call before a snapshot is published, and before events are announced, so that a client that has
  // seen the end of a job can start the next one.
  void OnSnapshot(const Snapshot& snapshot);
  void OnEvents(const std::vector<HostKit::LoggedEvent>& events);

 private:
  // A job that has not ended.
  struct Running {
    std::string m_Serial;
    std::uint32_t m_Operation = 0;
    bool m_HasFailed = false;  // the plug-in has reported an event for the failure
    // Set by the reply to an attach or detach.
    pid_t m_Process = -1;
    std::optional<Console::Deadline> m_Deadline;
  };
  // The end of a job; no problem: the job has succeeded.
  struct End {
    std::string m_Id;
    std::optional<Http::Response> m_Problem;
  };

  static std::optional<End> EndOf(const std::string& id, const Running& job,
                                  const Snapshot& snapshot);
  void Finish(const std::vector<End>& ends);
  void ResolveInterrupted(const Snapshot& snapshot);

  JobTable& m_Jobs;
  const std::chrono::milliseconds m_Timeout;
  Base::Mutex m_Lock;
  std::map<std::string, Running> m_Running HOST_GUARDED_BY(m_Lock);  // by job id
};

}  // namespace Service
