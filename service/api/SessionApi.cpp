#include "service/api/SessionApi.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/plugin/EventLogClient.h"
#include "console/plugin/RecordJson.h"
#include "console/plugin/RowTables.h"
#include "host/Database.h"
#include "hostkit/Paths.h"
#include "service/Audit.h"
#include "service/CollectorSession.h"
#include "service/Log.h"
#include "service/UserName.h"
#include "service/api/Documents.h"
#include "service/api/QueryValues.h"

namespace Service {
namespace {

using Console::PluginCommand;
using Console::PluginReply;
using Http::MakeProblem;
using Http::Response;
using Json = nlohmann::json;

Response MakeReply(const PluginReply& reply) {
  return Http::MakeResponse(200, kJsonType, JsonText(Console::ToJson(reply)));
}

// Adds whether the plug-in is running, the times and the records of the cards to a topology.
Response MakeSnapshotReply(const Snapshot& snapshot, const PluginCommand& command,
                           const PluginReply& reply) {
  Json json = Console::ToJson(reply);
  if (command.m_Command == PI::CMD_GET_TOPOLOGY) {
    json["up"] = snapshot.m_Plugin.m_IsUp;
    json["times"] = Console::ToJson(snapshot.m_Times);
    json["cards"] = Console::ToJson(snapshot.m_Cards);
  }
  return Http::MakeResponse(200, kJsonType, JsonText(json));
}

// Returns the property from the snapshot. If it is missing, the reply contains the unchanged
// request, as from the plug-in.
PluginReply ReadProperty(const PI::CObject& object, const PluginCommand& command) {
  const auto& wanted = std::get<PI::CProperty>(command.m_Payload);
  const PI::CProperty* const found = FindProperty(object, wanted.m_PropertyID);
  if (found == nullptr) return {PI::ERR_GENERAL, command.m_Payload};
  return {PI::SUCCESS, *found};
}

// Returns empty for a command that cannot be answered from the snapshot.
std::optional<PluginReply> ReadSnapshot(const Snapshot& snapshot, const PluginCommand& command) {
  if (command.m_Command == PI::CMD_GET_TOPOLOGY) {
    return PluginReply{PI::SUCCESS, ObjectsWithActivities(snapshot)};
  }
  const PI::CObject* const object = snapshot.Find(command.m_Object);
  if (object == nullptr) return std::nullopt;
  switch (command.m_Command) {
    case PI::CMD_GET_PROPERTIES:
      return PluginReply{PI::SUCCESS, object->m_Properties};
    case PI::CMD_GET_PROPERTY:
      return ReadProperty(*object, command);
    case PI::CMD_GET_OPERATIONS:
      return PluginReply{PI::SUCCESS, object->m_Operations};
    default:
      return std::nullopt;
  }
}

// Only the service starts and stops the plug-in and collects its events.
bool IsReserved(const PluginCommand& command) {
  if (command.m_Command <= PI::CMD_DEINITIALIZE) return true;
  const auto* operation = std::get_if<PI::COperation>(&command.m_Payload);
  return operation != nullptr && operation->m_OperationID == PI::OP_GET_EVENTS;
}

Console::Deadline DeadlineOf(const PluginCommand& command, std::chrono::milliseconds timeout) {
  return IsFormat(command) ? Console::Deadline() : Console::Deadline(timeout);
}

Response NoReplyProblem(const ApiContext& api, const char* hint, const CallEnd& end = {}) {
  if (end.m_HasExited || !api.m_Collector.IsRunning()) {
    return MakeProblem(503, "PLUGIN_DOWN", "the plug-in is not running");
  }
  return MakeProblem(504, "TIMED_OUT", "the plug-in is not responding", hint);
}

// Executes a command. Passes the plug-in's reply and its process to `onReply`. Throws
// `Console::Failure` if the plug-in process exits during a change.
using OnReply = std::function<void(const PluginReply&, pid_t)>;
Response Execute(const ApiContext& api, const PluginCommand& command, const OnReply& onReply) {
  CallEnd end;
  const auto reply = api.m_Collector.Call(command, DeadlineOf(command, api.m_CallTimeout), &end);
  if (end.m_HasExited && IsChange(command)) throw PluginEndedFailure();
  if (!reply) return NoReplyProblem(api, "The command may still take effect.", end);
  onReply(*reply, end.m_Process);
  return MakeReply(*reply);
}

// The plug-in reports success even if it could not start a thread for an attach or detach.
Response NoThreadProblem() {
  return MakeProblem(500, "NO_THREAD", "the plug-in could not start a thread",
                     "Allow the service more processes and threads, or free memory.");
}

// A job of a session, and the user who started it.
struct SessionJob {
  std::string m_Id;
  uid_t m_User;
};

// Stores the job of a command, executes it and ends the job, unless the card is still working. A
// job that cannot be stored runs anyway, because no client knows its id.
Response ExecuteJob(const ApiContext& api, const PluginCommand& command, const SessionJob& job) {
  const std::string& id = job.m_Id;
  api.m_Jobs.Store(id, UserName(job.m_User));
  const std::size_t failedThreads = api.m_Collector.FailedThreads();
  const auto onReply = [&](const PluginReply& reply, pid_t process) {
    if (api.m_Collector.FailedThreads() > failedThreads) {
      api.m_SessionJobs.Fail(id, NoThreadProblem());
    } else {
      api.m_SessionJobs.OnReply(id, reply, process);
    }
  };
  Response response = ResponseOf([&] { return Execute(api, command, onReply); });
  if (response.m_Status != 200) api.m_SessionJobs.Fail(id, response);
  return response;
}

// Executes a command. Returns from a change only after the cards have been read again, so that
// later reads include it. `job`: the change's job, or empty.
Response CallPlugin(const ApiContext& api, const PluginCommand& command,
                    const std::optional<SessionJob>& job = std::nullopt) {
  const auto execute = [&] { return Execute(api, command, [](const PluginReply&, pid_t) {}); };
  Response response = job ? ExecuteJob(api, command, *job) : ResponseOf(execute);
  if (IsChange(command)) api.m_Collector.Refresh(Console::Deadline(api.m_RefreshTimeout));
  return response;
}

// Executes a change on another thread, as a job if it executes an operation on a card. Throws
// `Console::Failure` if another job is running on the card.
Http::Reply StartChange(const ApiContext& api, const Http::Request& request,
                        const Snapshot& snapshot, const PluginCommand& command) {
  const uid_t user = request.m_Peer.m_User;
  const auto id = api.m_SessionJobs.Begin(snapshot, command, std::to_string(user));
  const auto job = id ? std::optional(SessionJob{*id, user}) : std::nullopt;
  try {
    LogChange(request.m_Peer, ChangeText(snapshot, command));
    Http::Reply reply =
        AnswerLater(api, [&api, command, job] { return CallPlugin(api, command, job); });
    const bool isRefused = std::holds_alternative<Response>(reply);
    if (job && isRefused) api.m_SessionJobs.Drop(*id);
    return reply;
  } catch (...) {
    if (job) api.m_SessionJobs.Drop(*id);  // otherwise the card could run no other job
    throw;
  }
}

// Logs that a change was refused. The console first checks an operation, so a refused check counts
// as one, unless it only reads the state of a locate LED.
Response Refuse(const Http::Request& request, const Snapshot& snapshot,
                const PluginCommand& command, Response problem) {
  const bool isCheck = command.m_Command == PI::CMD_CHECK_OPERATION;
  if (isCheck && (!request.m_MayChange || ReadsLocateLed(command))) return problem;
  LogRefusal(request.m_Peer, ChangeText(snapshot, command),
             CauseOf(nlohmann::ordered_json::parse(*problem.m_Body)));
  return problem;
}

// Returns a problem if the command checks an operation that would be refused during a format.
std::optional<Response> RefusalOfCheck(const ApiContext& api, const Snapshot& snapshot,
                                       const PluginCommand& command) {
  try {
    api.m_SessionJobs.RequireCheckable(snapshot, command);
    return std::nullopt;
  } catch (const Console::Failure& failure) {
    return ResponseOf([&failure]() -> Response { throw failure; });
  }
}

// Answers a read after the cards have been read again.
Response ReadFresh(const ApiContext& api, const PluginCommand& command) {
  if (auto problem = Refresh(api)) return *problem;
  const SnapshotPtr snapshot = api.m_Store.Get();
  const auto reply = ReadSnapshot(*snapshot, command);
  return reply ? MakeSnapshotReply(*snapshot, command, *reply) : CallPlugin(api, command);
}

Response ReadRows(const ApiContext& api, const std::string& table) {
  const auto reply = api.m_Collector.ReadRows(table, Console::Deadline(api.m_CallTimeout));
  if (!reply) return NoReplyProblem(api, "");
  if (reply->contains("error")) {
    return MakeProblem(500, "DATABASE_FAILED", reply->at("error").get<std::string>());
  }
  return Http::MakeResponse(200, kJsonType, JsonText(reply->at("rows")));
}

Response SessionInfo(const ApiContext& api, const Snapshot& snapshot) {
  const PluginState& plugin = snapshot.m_Plugin;
  if (!snapshot.HasReport()) return MakePluginDownProblem(plugin);
  return MakeJson(200, {{"plugin", Console::ToJson(snapshot.m_Info)},
                        {"up", plugin.m_IsUp},
                        {"reason", plugin.m_Reason},
                        {"has_cards", snapshot.m_HasCards},
                        {"failed_threads", plugin.m_FailedThreads},
                        {"start_seconds", plugin.m_StartDuration.count()},
                        {"newest_event", api.m_Feed.Newest()},
                        {"simulated", api.m_IsSimulated},
                        {"records_failure", api.RecordsFailure()},
                        {"database_file", HostKit::DatabaseFile().string()}});
}

bool IsStarting(const Snapshot& snapshot) {
  return !snapshot.HasReport() && snapshot.m_Plugin.m_Reason.empty();
}

// Waits until the first start of the plug-in has succeeded or failed.
Response AwaitSession(const ApiContext& api) {
  const Console::Deadline deadline(api.m_RefreshTimeout);
  SnapshotPtr snapshot = api.m_Store.Get();
  while (IsStarting(*snapshot) && !deadline.HasPassed()) {
    snapshot = api.m_Store.AwaitNewer(snapshot->m_Number, deadline);
  }
  return SessionInfo(api, *snapshot);
}

// Omits events after `newest`, because no client may see an event before the stream sends it.
Response EventsUpTo(std::int64_t newest, const std::vector<HostKit::LoggedEvent>& events) {
  Json json = {{"newest", newest}, {"events", Json::array()}};
  for (const HostKit::LoggedEvent& event : events) {
    if (event.m_Number <= newest) json["events"].push_back(Console::ToJson(event));
  }
  return Http::MakeResponse(200, kJsonType, JsonText(json));
}

// Calls `read` on the state thread and sends its response, or a problem if the log cannot be read.
Http::Reply AnswerFromEventLog(const ApiContext& api, std::function<Response()> read) {
  return AnswerFromDatabase(api, [read = std::move(read)] {
    try {
      return read();
    } catch (const DBEXCEPTION::DatabaseException& failure) {
      return MakeProblem(500, Console::kNoEventLog,
                         std::string("cannot read the event log: ") + failure.what());
    }
  });
}

}  // namespace

Http::Reply GetSession(const ApiContext& api, const Http::Request&) {
  const SnapshotPtr snapshot = api.m_Store.Get();
  if (!IsStarting(*snapshot)) return SessionInfo(api, *snapshot);
  return AnswerLater(api, [&api] { return AwaitSession(api); });
}

Http::Reply PostSession(const ApiContext& api, const Http::Request& request) {
  PluginCommand command;
  try {
    command = Console::CommandFromJson(Json::parse(request.m_Body));
  } catch (const Json::exception&) {
    return MakeProblem(400, "BODY_INVALID", "the body is not a JSON document");
  } catch (const Console::RecordError& error) {
    return MakeProblem(400, "BODY_INVALID", error.what());
  }
  if (IsReserved(command)) {
    return MakeProblem(409, "RESERVED",
                       "the service starts and stops the plug-in and collects its events");
  }
  if (IsChange(command) && !request.m_MayChange) {
    return MakeProblem(403, "PERMISSION_DENIED", "this user is not permitted to make changes");
  }
  const SnapshotPtr snapshot = api.m_Store.Get();
  if (!snapshot->HasReport()) return MakePluginDownProblem(snapshot->m_Plugin);
  if (auto refusal = RefusalOfCheck(api, *snapshot, command)) {
    return Refuse(request, *snapshot, command, *refusal);
  }
  const bool isFresh = Http::Find(request.m_Query, "fresh") != nullptr && !IsChange(command);
  if (isFresh) return AnswerLater(api, [&api, command] { return ReadFresh(api, command); });
  if (const auto reply = ReadSnapshot(*snapshot, command)) {
    return MakeSnapshotReply(*snapshot, command, *reply);
  }
  if (IsChange(command)) {
    try {
      return StartChange(api, request, *snapshot, command);
    } catch (const Console::Failure& failure) {
      return Refuse(request, *snapshot, command,
                    ResponseOf([&failure]() -> Response { throw failure; }));
    }
  }
  return AnswerLater(api,
                     [&api, command = std::move(command)] { return CallPlugin(api, command); });
}

Http::Reply GetSessionEvents(const ApiContext& api, const Http::Request& request) {
  const auto after = QueryNumber(request, "after", 0);
  const auto since = QueryNumber(request, "since_ms", 0);
  const auto limit = QueryNumber(request, "limit", Console::EventLogClient::kAll);
  const bool isAfter = Http::Find(request.m_Query, "after") != nullptr;
  if (!after || !since || !limit) {
    return MakeProblem(400, "QUERY_INVALID", "after, since_ms and limit must be numbers");
  }
  return AnswerFromEventLog(api, [&api, isAfter, after = static_cast<std::int64_t>(*after),
                                  since = *since, limit = *limit] {
    const std::int64_t newest = api.m_Feed.Newest();
    return EventsUpTo(newest, isAfter ? HostKit::ReadEventsAfter(after, limit)
                                      : HostKit::ReadEvents(since, limit));
  });
}

Http::Reply GetSessionEventCounts(const ApiContext& api, const Http::Request&) {
  return AnswerFromEventLog(api, [] {
    Json counts = Json::array();
    for (const HostKit::EventCount& each : HostKit::CountEvents()) {
      counts.push_back(Console::ToJson(each));
    }
    return Http::MakeResponse(200, kJsonType, JsonText(Json{{"counts", counts}}));
  });
}

Http::Reply GetSessionRows(const ApiContext& api, const Http::Request& request) {
  const std::string& table = request.m_Parameters.at("table");
  const std::vector<std::string> names = Console::RowTableNames();
  if (std::find(names.begin(), names.end(), table) == names.end()) {
    return MakeProblem(404, "NO_SUCH_TABLE", "unknown table; use adapter, drive or plugin");
  }
  return AnswerLater(api, [&api, table] { return ReadRows(api, table); });
}

// Without Last-Event-ID, streams only new events.
Http::Reply GetEventStream(const ApiContext& api, const Http::Request& request) {
  const std::string* const after = Http::Find(request.m_Headers, "last-event-id");
  if (after == nullptr) return api.m_Feed.Open(std::nullopt);
  if (const auto number = ParseEventId(*after)) return api.m_Feed.Open(number);
  return MakeProblem(400, "EVENT_ID_INVALID", "Last-Event-ID is not a valid event number");
}

}  // namespace Service
