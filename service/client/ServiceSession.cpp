#include "service/client/ServiceSession.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>

#include "console/base/CallWithTimeout.h"
#include "console/base/Failure.h"
#include "console/plugin/RecordJson.h"
#include "service/client/Pause.h"
#include "service/client/ServiceFailure.h"

namespace Service {

using Console::Deadline;
using Console::Failure;
using Console::LoggedEvent;
using Json = nlohmann::json;

namespace {

constexpr const char* kSession = "/v1/session";

// Backoff between reconnect attempts: the pause doubles from the first to the longest.
constexpr std::chrono::milliseconds kFirstPause(100);
constexpr std::chrono::milliseconds kLongestPause(5000);

// Whether a service that was running when the session began has stopped.
bool IsStopOfService(const Failure& failure) {
  return failure.m_Id == "SERVICE_ENDED" || failure.m_Id == "STOPPING";
}

// A reply that cannot be parsed comes from another program or version.
template <class Parse>
auto ParseReply(const std::filesystem::path& socket, Parse parse) {
  try {
    return parse();
  } catch (const Json::exception& error) {
    throw InvalidReplyFailure(socket, error.what());
  } catch (const Console::RecordError& error) {
    throw InvalidReplyFailure(socket, error.what());
  }
}

}  // namespace

ServiceSession::ServiceSession(std::filesystem::path socket, Console::EventLogClient& eventLog,
                               const Console::TimeLimits& limits)
    : CommandSession(eventLog, limits),
      m_EventLog(eventLog),
      m_Client(socket),
      m_Stream(std::move(socket)),
      m_State(ReadState()),
      m_Seen(m_State.m_NewestEvent) {
  m_EventLog.ReadFrom(this);
}

ServiceSession::~ServiceSession() {
  m_EventLog.ReadFrom(nullptr);
}

// Waits slightly beyond the deadline, because a command that runs for a given time collects its
// last events after that time.
HttpReply ServiceSession::SendWithin(const Deadline& deadline, const HttpRequest& request) {
  auto reply = m_Client.Send(request, deadline.Extended(Console::kGrace));
  if (!reply) throw ServiceTimeoutFailure(m_Client.Socket(), request.m_IsChange);
  return std::move(*reply);
}

// Throws a failure if the status of the reply is not 200. If the service has stopped, the failure
// says what becomes of the operation that this session has executed.
HttpReply ServiceSession::Send(const HttpRequest& request, const Deadline& deadline) {
  try {
    HttpReply reply = SendWithin(deadline, request);
    if (reply.m_Status != 200) throw ProblemFailure(reply, m_Client.Socket());
    return reply;
  } catch (const Failure& failure) {
    const bool mayHaveChanged = request.m_IsChange || HasExecutedOperation();
    if (mayHaveChanged && IsStopOfService(failure)) throw StoppedFailure(failure);
    throw;
  }
}

HttpReply ServiceSession::Exchange(const HttpRequest& request) {
  return SendWithin(Limits().ForCall(), request);
}

Json ServiceSession::RequestJson(const HttpRequest& request, const Deadline& deadline) {
  const HttpReply reply = Send(request, deadline);
  return ParseReply(m_Client.Socket(), [&] { return Json::parse(reply.m_Body); });
}

SessionState ServiceSession::ReadState() {
  HttpRequest request;
  request.m_Path = kSession;
  const Json json = RequestJson(request, Limits().ForCall());
  return ParseReply(m_Client.Socket(), [&] { return SessionStateFromJson(json); });
}

// After an operation, reads wait until the service has read the cards again, so that they show the
// end of the operation's job.
std::optional<Console::PluginReply> ServiceSession::Call(Console::PluginCommand command,
                                                         const Deadline& deadline,
                                                         Console::OnStop onStop) {
  HttpRequest request;
  request.m_Path = HasExecutedOperation() ? "/v1/session?fresh=1" : kSession;
  request.m_IsChange = IsChange(command);
  if (request.m_IsChange) request.m_Path = kSession;
  request.m_Body = Console::ToJson(command).dump();
  request.m_OnStop = onStop;
  Json json = RequestJson(request, deadline);
  return ParseReply(m_Client.Socket(), [&] {
    if (const auto times = json.find("times"); times != json.end()) {
      m_Times = Console::CardTimesFromJson(*times);
      json.erase(times);
    }
    if (const auto up = json.find("up"); up != json.end()) {
      m_State.m_IsUp = up->get<bool>();
      json.erase(up);
    }
    if (const auto cards = json.find("cards"); cards != json.end()) {
      m_Cards = Console::CardRecordsFromJson(*cards);
      json.erase(cards);
    }
    return Console::ReplyFromJson(command.m_Command, json);
  });
}

// Reads the state again, because the plug-in may have failed to start a thread. If this read fails,
// the operation's result is still returned, and the next read reports the failure.
std::uint32_t ServiceSession::ExecuteOperation(std::uint64_t object, PI::COperation& operation) {
  const std::uint32_t result = CommandSession::ExecuteOperation(object, operation);
  try {
    m_State = ReadState();
  } catch (const Failure&) {
  } catch (const Console::Stopped&) {
  }
  return result;
}

HostKit::RowTable ServiceSession::ReadRows(const Console::RowSource& source) {
  HttpRequest request;
  request.m_Path = std::string("/v1/session/rows/") + source.m_Name;
  const Json json = RequestJson(request, Limits().ForCall());
  return ParseReply(m_Client.Socket(), [&] { return Console::RowTableFromJson(json); });
}

std::vector<LoggedEvent> ServiceSession::ReadLog(const std::string& query) {
  HttpRequest request;
  request.m_Path = "/v1/session/events?" + query;
  const Json json = RequestJson(request, Limits().ForCall());
  return ParseReply(m_Client.Socket(), [&] {
    LogReply reply = LogReplyFromJson(json);
    // A service that has not read its log yet reports 0.
    if (reply.m_Newest != 0) m_Seen = reply.m_Newest;
    return std::move(reply.m_Events);
  });
}

// The events of a replaced log are numbered from 1 again.
std::vector<LoggedEvent> ServiceSession::ReadNewEvents() {
  const std::int64_t seen = m_Seen;
  std::vector<LoggedEvent> events = ReadLog(fmt::format("after={}", seen));
  return m_Seen < seen ? ReadLog("after=0") : events;
}

std::vector<LoggedEvent> ServiceSession::CollectEvents() {
  try {
    return ReadNewEvents();
  } catch (const Failure& failure) {
    if (IsConnectionLoss(failure)) {
      MarkLost();
    } else if (failure.m_Id != Console::kNoEventLog) {
      throw;
    }
    return {};
  }
}

std::vector<PI::CObject> ServiceSession::Topology() {
  try {
    std::vector<PI::CObject> objects = CommandSession::Topology();
    if (m_OnLost) m_LastObjects = objects;
    return objects;
  } catch (const Failure& failure) {
    if (!IsConnectionLoss(failure) || m_LastObjects.empty()) throw;
    MarkLost();
    return m_LastObjects;
  }
}

// PLUGIN_DOWN counts as a loss: a service rejects reads of its snapshot with it only until the
// plug-in has reported its objects, so the service has been restarted.
bool ServiceSession::IsConnectionLoss(const Failure& failure) const {
  static const std::set<std::string> losses = {kNoService, "SERVICE_ENDED", "STOPPING",
                                               "PLUGIN_DOWN"};
  return m_OnLost && losses.count(failure.m_Id) > 0;
}

void ServiceSession::MarkLost() {
  if (m_IsLost) return;
  m_IsLost = true;
  m_Pause = kFirstPause;
  m_NextAttempt = Deadline(m_Pause);
  m_OnLost();
}

// Returns true as soon as the session is connected again, and false on timeout, on a stop signal or
// if a descriptor of `extra` is ready.
bool ServiceSession::Reconnect(std::chrono::milliseconds timeout, const Console::WaitSet& extra) {
  const Deadline deadline(timeout);
  while (Pause(deadline.Earlier(m_NextAttempt).Remaining(), extra) && m_NextAttempt.HasPassed()) {
    if (IsReady()) {
      m_IsLost = false;
      return true;
    }
    m_Pause = std::min(m_Pause * 2, kLongestPause);
    m_NextAttempt = Deadline(m_Pause);
  }
  return false;
}

bool ServiceSession::IsReady() {
  constexpr std::chrono::milliseconds kTimeout(5000);
  HttpRequest request;
  request.m_Path = "/readyz";
  try {
    const auto reply = m_Client.Send(request, Deadline(kTimeout));
    if (!reply || reply->m_Status != 200) return false;
    m_State = ReadState();
    return true;
  } catch (const Failure& failure) {
    if (!IsConnectionLoss(failure) && failure.m_Code != Console::ExitCode::TimedOut) throw;
    return false;
  }
}

std::vector<LoggedEvent> ServiceSession::ReadEvents(std::uint64_t sinceMs, std::size_t limit) {
  // The service refuses higher limits, but callers ask for one event more than they show.
  constexpr std::size_t kLargest = Console::EventLogClient::kAll;
  return ReadLog(fmt::format("since_ms={}&limit={}", sinceMs, std::min(limit, kLargest)));
}

std::vector<HostKit::EventCount> ServiceSession::CountEvents() {
  HttpRequest request;
  request.m_Path = "/v1/session/event-counts";
  const Json json = RequestJson(request, Limits().ForCall());
  return ParseReply(m_Client.Socket(), [&] { return EventCountsFromJson(json); });
}

bool ServiceSession::WaitForNotification(std::chrono::milliseconds timeout,
                                         const Console::WaitSet& extra) {
  if (m_IsLost) return Reconnect(timeout, extra);
  try {
    return m_Stream.Wait(m_Seen, timeout, extra);
  } catch (const Failure& failure) {
    if (!IsConnectionLoss(failure)) throw;
    MarkLost();
    return false;
  }
}

}  // namespace Service
