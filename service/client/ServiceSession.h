// A session with the plug-in of a service.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "console/base/Deadline.h"
#include "console/base/Failure.h"
#include "console/plugin/CommandSession.h"
#include "console/plugin/DatabaseAdvice.h"
#include "service/client/EventStream.h"
#include "service/client/HttpClient.h"
#include "service/client/SessionReplies.h"

namespace Service {

// The service logs the events, so this process needs no database.
class ServiceSession : public Console::CommandSession,
                       public Console::EventSource,
                       public Console::DatabaseAdviser {
 public:
  // Connects, and waits if the plug-in is still starting. Throws `Console::Failure`, with the id
  // `kNoService` if it cannot connect to the socket. Redirects `eventLog` to the service's log
  // until the session is destroyed; `eventLog` must outlive the session.
  ServiceSession(std::filesystem::path socket, Console::EventLogClient& eventLog,
                 const Console::TimeLimits& limits);
  ~ServiceSession() override;

  bool IsUp() const override { return m_State.m_IsUp && !m_IsLost; }
  // Returns why the plug-in is not running.
  const std::string& Reason() const { return m_State.m_Reason; }
  // Returns why the service cannot read the known cards; empty if it can.
  const std::string& RecordsFailure() const { return m_State.m_RecordsFailure; }
  // Returns advice for a failure of the service's database.
  std::vector<std::string> DatabaseAdvice() const override {
    return Console::ServiceDatabaseAdvice(m_State.m_DatabaseFile);
  }
  // Whether the cards of the service are simulated.
  bool IsSimulated() const { return m_State.m_IsSimulated; }

  Console::PluginInfo Info() const override { return m_State.m_Info; }
  bool IsShared() const override { return true; }
  bool HasCards() const override { return m_State.m_HasCards; }
  std::size_t FailedThreads() const override { return m_State.m_FailedThreads; }
  std::chrono::duration<double> StartDuration() const override { return m_State.m_StartDuration; }
  void KeepConnected(std::function<void()> onLost) override { m_OnLost = std::move(onLost); }
  std::vector<PI::CObject> Topology() override;
  const Console::CardTimes& Times() const override { return m_Times; }
  Console::CardRecords Cards() const override { return m_Cards; }
  std::uint32_t ExecuteOperation(std::uint64_t object, PI::COperation& operation) override;
  HostKit::RowTable ReadRows(const Console::RowSource& source) override;
  std::vector<Console::LoggedEvent> CollectEvents() override;
  using Session::WaitForNotification;
  bool WaitForNotification(std::chrono::milliseconds timeout,
                           const Console::WaitSet& extra) override;

  // Sends a request to another resource of the service, with the time limit of a call. Returns the
  // reply, whatever its status. Throws `Console::Failure` if there is none.
  HttpReply Exchange(const HttpRequest& request);
  const std::filesystem::path& Socket() const { return m_Client.Socket(); }

 private:
  HttpReply SendWithin(const Console::Deadline& deadline, const HttpRequest& request);
  HttpReply Send(const HttpRequest& request, const Console::Deadline& deadline);
  nlohmann::json RequestJson(const HttpRequest& request, const Console::Deadline& deadline);
  SessionState ReadState();
  std::vector<Console::LoggedEvent> ReadLog(const std::string& query);
  std::vector<Console::LoggedEvent> ReadNewEvents();
  bool IsConnectionLoss(const Console::Failure& failure) const;
  void MarkLost();
  bool Reconnect(std::chrono::milliseconds timeout, const Console::WaitSet& extra);
  bool IsReady();

  std::optional<Console::PluginReply> Call(Console::PluginCommand command,
                                           const Console::Deadline& deadline,
                                           Console::OnStop onStop) override;
  void Abandon() override {}  // each request has a deadline

  std::vector<Console::LoggedEvent> ReadEvents(std::uint64_t sinceMs, std::size_t limit) override;
  std::vector<HostKit::EventCount> CountEvents() override;

  Console::EventLogClient& m_EventLog;
  HttpClient m_Client;
  EventStream m_Stream;
  SessionState m_State;
  Console::CardTimes m_Times;  // of the last topology
  Console::CardRecords m_Cards;
  // Number of the newest event that was returned, or that existed before the session.
  std::int64_t m_Seen;

  std::function<void()> m_OnLost;  // null: the session ends with the connection
  std::vector<PI::CObject> m_LastObjects;
  bool m_IsLost = false;
  std::chrono::milliseconds m_Pause{0};  // before the next attempt to connect
  Console::Deadline m_NextAttempt;
};

}  // namespace Service
