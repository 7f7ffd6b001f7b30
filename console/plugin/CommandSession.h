// A session that sends commands to an in-process plug-in or to one in another process.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "console/base/CallWithTimeout.h"
#include "console/base/Deadline.h"
#include "console/plugin/EventLogClient.h"
#include "console/plugin/PluginCommand.h"
#include "console/plugin/Session.h"
#include "console/plugin/TimeLimits.h"
#include "console/plugin/UnresponsiveCard.h"

namespace Console {

// Translates the members of a session into commands, which a derived class executes.
class CommandSession : public Session {
 public:
  bool HasCards() const override { return m_HasCards; }
  std::chrono::duration<double> StartDuration() const override { return m_StartDuration; }
  void SetDeadline(const Deadline& deadline) override { m_Limits.m_Total = deadline; }
  std::vector<PI::CObject> Topology() override;
  const CardTimes& Times() const override { return m_TimeTracker.Times(); }
  // Returns the cards that do not respond to the plug-in.
  std::vector<PI::CProperty> Properties(std::uint64_t object) override;
  std::vector<PI::CProperty> Property(std::uint64_t object, std::uint32_t property) override;
  std::uint32_t SetProperty(std::uint64_t object, PI::CProperty& property) override;
  std::vector<PI::COperation> Operations(std::uint64_t object) override;
  std::uint32_t CheckOperation(std::uint64_t object, PI::COperation& operation) override;
  std::uint32_t ExecuteOperation(std::uint64_t object, PI::COperation& operation) override;
  std::vector<LoggedEvent> CollectEvents() override;
  std::optional<CardError> LastCardError() const override { return m_CardError; }

 protected:
  // The event log must outlive the session.
  CommandSession(EventLogClient& eventLog, const TimeLimits& limits)
      : m_EventLog(eventLog), m_Limits(limits) {}

  // Executes one command. Returns empty if the plug-in has not replied in time; the session then
  // calls `Abandon` and throws.
  virtual std::optional<PluginReply> Call(PluginCommand command, const Deadline& deadline,
                                          OnStop onStop) = 0;
  // Stops using a plug-in that does not respond. Later calls may fail immediately.
  virtual void Abandon() = 0;

  // Initializes the plug-in and numbers its adapters. Throws `Failure`, but not if the plug-in
  // finds no cards.
  void Start();
  // Collects the events that are pending at the end of the session. Ignores errors, because the
  // command's result does not depend on these events.
  void CollectPendingEvents() noexcept;

  // Returns the cards whose values in the last reply are those last read.
  virtual std::vector<UnresponsiveCard> UnresponsiveCards() const { return {}; }

  // Throws the failure of a read that timed out or was interrupted by a stop signal.
  [[noreturn]] static void ThrowReadTimeout();

  const TimeLimits& Limits() const { return m_Limits; }
  // Whether an operation was executed, so that a job of the plug-in may still be running.
  bool HasExecutedOperation() const { return m_HasExecutedOperation; }

 private:
  template <class Record>
  std::uint32_t UnpackReply(std::optional<PluginReply> reply, Record& record);
  template <class Record>
  std::uint32_t Read(PI::_COMMAND command, std::uint64_t object, Record& record);
  template <class Record>
  Record Require(const char* what, PI::_COMMAND command, std::uint64_t object, Record record = {});
  template <class Record>
  std::uint32_t Change(PI::_COMMAND command, std::uint64_t object, Record& record,
                       const Deadline& deadline);

  EventLogClient& m_EventLog;
  TimeLimits m_Limits;
  bool m_HasExecutedOperation = false;
  std::uint64_t m_PluginID = 0;  // 0: unknown
  CardTimeTracker m_TimeTracker;
  std::optional<CardError> m_CardError;  // of the last command
  bool m_HasCards = false;
  std::chrono::duration<double> m_StartDuration{0};
};

}  // namespace Console
