// The service's side of a plug-in process.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/Descriptor.h"
#include "base/Mutex.h"
#include "console/base/Deadline.h"
#include "console/base/Notifier.h"
#include "console/plugin/PluginCommand.h"
#include "console/plugin/PluginFiles.h"
#include "console/plugin/Session.h"
#include "console/plugin/UnresponsiveCard.h"
#include "service/FrameSender.h"

namespace Service {

// A running plug-in process. Thread-safe.
class Worker {
 public:
  // Starts `program plugin-process PLUGIN CARD-LIBRARY`, with the environment of this process, and
  // waits until it has loaded the plug-in. Throws `Console::Failure` if the process cannot be
  // started, the plug-in cannot be loaded, or the deadline has passed.
  Worker(const std::filesystem::path& program, const Console::PluginFiles& plugin,
         const Console::Deadline& deadline);
  // Calls `Finish`.
  ~Worker();

  Console::PluginInfo Info() const { return m_Info; }
  pid_t ProcessId() const { return m_Process; }

  // Whether a call may wait longer than its deadline because a format blocks the plug-in.
  enum class DuringFormat { GiveUp, Wait };

  // Executes one command. Returns empty if the process has exited or has not replied by the
  // deadline; a late reply is dropped.
  std::optional<Console::PluginReply> Call(
      const Console::PluginCommand& command, const Console::Deadline& deadline,
      DuringFormat duringFormat = DuringFormat::GiveUp) HOST_BLOCKS;
  // Reads the rows that the plug-in has written to a table, which is named as in
  // console/plugin/RowTables.h. Returns {"rows": ...}, or {"error": ...} if the database cannot be
  // read. Returns empty if the process has exited or has not replied by the deadline.
  std::optional<nlohmann::json> ReadRows(const std::string& table,
                                         const Console::Deadline& deadline) HOST_BLOCKS;
  // Whether a format is running.
  bool IsFormatting() const;
  // Whether calls may wait longer than their deadline: a format is running or has just ended.
  bool MayWaitForFormat() const;
  // Disconnects if a format is running. Later formats are refused: their calls return empty.
  void RefuseFormats();
  // Notified when the plug-in has changes or events, and when the process exits.
  const Console::Notifier& Notifications() const { return m_Notifications; }
  // Whether the connection to the process still works.
  bool IsAlive() const;
  // Number of threads that the plug-in failed to start, as of the last reply.
  std::size_t FailedThreads() const;
  // Sends the cards of the previous process, for a card library that cannot list all
  // cards. Call before the plug-in is initialized.
  void SetKnownCards(const std::vector<PI::CObject>& objects,
                     const std::vector<Console::UnresponsiveCard>& unresponsive);
  // Returns the cards that did not respond to the plug-in, as of the last reply.
  std::vector<Console::UnresponsiveCard> UnresponsiveCards() const;
  // Whether the plug-in omits a card that responds, as of the last reply.
  bool NeedsRestart() const;
  // Closes the connection, so that the process stops the plug-in and exits. Pending calls return
  // empty.
  void Disconnect();
  // Kills the process. Pending calls return empty.
  void Kill();
  // Disconnects and waits for the process to exit; kills it after about 30 seconds. Does nothing if
  // called again. Not thread-safe.
  void Finish() HOST_BLOCKS;

 private:
  class PendingCall;
  struct Started {
    Base::Descriptor m_Socket;
    pid_t m_Process;
  };

  static Started Start(const std::filesystem::path& program, const Console::PluginFiles& plugin);
  Worker(Started started, const Console::Deadline& deadline);
  void ReceivePluginInfo(const Console::Deadline& deadline);
  void ReadReplies();
  void HandleDocument(nlohmann::json document);
  std::optional<nlohmann::json> Exchange(const PendingCall& call, nlohmann::json document,
                                         const Console::Deadline& deadline,
                                         DuringFormat duringFormat);
  std::optional<nlohmann::json> AwaitReply(std::uint64_t id, const Console::Deadline& deadline,
                                           DuringFormat duringFormat);
  void HandleSendFailure();
  void SetUnresponsiveCards(std::vector<Console::UnresponsiveCard> cards);
  void MarkEnded();
  bool AwaitEnd(const Console::Deadline& deadline);
  bool HasExited();
  bool HasTimedOut(const Console::Deadline& deadline, DuringFormat duringFormat) const
      HOST_REQUIRES(m_Lock);
  bool IsBlockedByFormat() const HOST_REQUIRES(m_Lock);

  const Base::Descriptor m_Socket;
  const pid_t m_Process;
  Console::PluginInfo m_Info;
  Console::Notifier m_Notifications;
  std::atomic<bool> m_IsDisconnected{false};  // `Disconnect` was called

  mutable Base::Mutex m_Lock;
  Base::ConditionVariable m_Changed;  // signals changes of the members below
  bool m_HasEnded HOST_GUARDED_BY(m_Lock) = false;
  bool m_IsReaped HOST_GUARDED_BY(m_Lock) = false;  // the process ID may have been reused
  std::uint64_t m_LastId HOST_GUARDED_BY(m_Lock) = 0;
  // Replies of pending calls, by id.
  std::map<std::uint64_t, std::optional<nlohmann::json>> m_Replies HOST_GUARDED_BY(m_Lock);
  std::size_t m_FailedThreads HOST_GUARDED_BY(m_Lock) = 0;
  std::vector<Console::UnresponsiveCard> m_UnresponsiveCards HOST_GUARDED_BY(m_Lock);
  bool m_NeedsRestart HOST_GUARDED_BY(m_Lock) = false;
  int m_Formats HOST_GUARDED_BY(m_Lock) = 0;  // number of running formats
  bool m_RefusesFormats HOST_GUARDED_BY(m_Lock) = false;
  // Extra time for calls that waited for a format; expired if there was none.
  Console::Deadline m_AfterFormat HOST_GUARDED_BY(m_Lock){std::chrono::steady_clock::time_point()};

  std::optional<FrameSender> m_Sender;  // set by the constructor
  std::thread m_Reader;
};

}  // namespace Service
