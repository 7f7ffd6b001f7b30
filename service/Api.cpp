#include "service/Api.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <utility>

#include "console/base/Failure.h"
#include "console/model/FieldTable.h"
#include "console/model/Model.h"
#include "service/SessionApi.h"
#include "service/SnapshotCommand.h"
#include "service/SnapshotSession.h"

namespace Service {
namespace {

using Console::ExitCode;
using Console::Failure;
using Http::Access;
using Http::Method;
using Http::Reply;
using Http::Request;
using Http::Response;
using Words = std::vector<std::string>;

constexpr const char* kJson = "application/json";
constexpr const char* kOpenMetrics = "application/openmetrics-text; version=1.0.0; charset=utf-8";

struct StatusRow {
  ExitCode m_Code;
  unsigned m_Status;
};

// The console's exit codes; all others are 500.
constexpr StatusRow kStatuses[] = {
    {ExitCode::Usage, 400},      {ExitCode::NoObject, 404},       {ExitCode::Refused, 409},
    {ExitCode::Permission, 403}, {ExitCode::PluginUnusable, 503}, {ExitCode::TimedOut, 504},
};

unsigned StatusFor(ExitCode code) {
  for (const StatusRow& row : kStatuses) {
    if (row.m_Code == code) return row.m_Status;
  }
  return 500;
}

Response ProblemFor(const Failure& failure) {
  const std::string hint = failure.m_Advice.empty() ? std::string() : failure.m_Advice.front();
  return Http::MakeProblem(StatusFor(failure.m_Code), failure.m_Id, failure.what(), hint);
}

// What a command prints for that snapshot.
Response DocumentOf(const ApiContext& api, const SnapshotPtr& snapshot, const Words& words,
                    const char* type = kJson) {
  try {
    return Http::MakeResponse(200, type,
                              RunOnSnapshot(api.m_Commands, words, api.m_Stream, snapshot));
  } catch (const Failure& failure) {
    return ProblemFor(failure);
  } catch (const Console::Stopped&) {
    return Http::MakeProblem(503, "STOPPING", "the service is stopping");
  }
}

// A document of objects alone: the tag changes with each snapshot.
Response Tagged(Response response, const Snapshot& snapshot) {
  if (response.m_Status == 200) {
    response.m_EntityTag = fmt::format("{:x}-{}", snapshot.m_Run, snapshot.m_Number);
  }
  return response;
}

Reply GetCards(const ApiContext& api, const Request&) {
  const SnapshotPtr snapshot = api.m_Store.Get();
  return Tagged(DocumentOf(api, snapshot, {"list", "-o", "json"}), *snapshot);
}

// The name of the card with that serial number: "a0". Throws `Failure` if no card has it.
std::string CardName(const Snapshot& snapshot, const std::string& serial) {
  RequireReport(snapshot);
  const Console::Model model(snapshot.m_Objects);
  for (const Console::Object& object : model.Objects()) {
    const bool isCard = object.m_Kind == Console::Kind::Adapter;
    if (isCard && Console::FieldText(object, "serial_number") == serial) return object.m_Selector;
  }
  throw Failure(ExitCode::NoObject, "NO_OBJECT",
                fmt::format("no card with serial number {}", serial));
}

Reply GetObject(const ApiContext& api, const Request& request, const std::string& suffix) {
  try {
    const SnapshotPtr snapshot = api.m_Store.Get();
    const std::string card = CardName(*snapshot, request.m_Parameters.at("serial"));
    return Tagged(DocumentOf(api, snapshot, {"show", "-o", "json", card + suffix}), *snapshot);
  } catch (const Failure& failure) {
    return ProblemFor(failure);
  }
}

Reply GetCard(const ApiContext& api, const Request& request) {
  return GetObject(api, request, "");
}

Reply GetDrive(const ApiContext& api, const Request& request) {
  return GetObject(api, request, "/d" + request.m_Parameters.at("drive"));
}

Reply GetStatus(const ApiContext& api, const Request&) {
  return DocumentOf(api, api.m_Store.Get(), {"status", "-o", "json"});
}

// The query has the names of the command's options.
Reply GetEvents(const ApiContext& api, const Request& request) {
  Words words = {"events", "-o", "json"};
  for (const auto& [name, value] : request.m_Query) words.push_back("--" + name + "=" + value);
  return DocumentOf(api, api.m_Store.Get(), words);
}

Reply GetMetrics(const ApiContext& api, const Request&) {
  SnapshotPtr snapshot = api.m_Store.Get();
  // Stale values would look current.
  if (!snapshot->m_Plugin.m_IsUp) snapshot = std::make_shared<Snapshot>();
  return DocumentOf(api, snapshot, {"metrics"}, kOpenMetrics);
}

// Succeeds whenever the service can answer.
Reply GetHealth(const ApiContext&, const Request&) {
  return Http::MakeResponse(200, "text/plain; charset=utf-8", "ok\n");
}

// Succeeds while the plug-in is running and has reported its cards.
Reply GetReadiness(const ApiContext& api, const Request&) {
  const SnapshotPtr snapshot = api.m_Store.Get();
  if (snapshot->m_Plugin.m_IsUp) {
    return Http::MakeResponse(200, "text/plain; charset=utf-8", "ready\n");
  }
  return MakeDownProblem(snapshot->m_Plugin);
}

using Function = Reply (*)(const ApiContext&, const Request&);

struct Row {
  Method m_Method;
  const char* m_Path;
  Access m_Access;
  Function m_Function;
  Words m_Query = {};
  Http::BodyRule m_Body = Http::BodyRule::None;
};

const std::vector<Row>& Rows() {
  static const std::vector<Row> rows = {
      {Method::Get, "/healthz", Access::Anyone, GetHealth},
      {Method::Get, "/readyz", Access::Anyone, GetReadiness},
      {Method::Get, "/metrics", Access::Read, GetMetrics},
      {Method::Get, "/v1/cards", Access::Read, GetCards},
      {Method::Get, "/v1/cards/{serial}", Access::Read, GetCard},
      {Method::Get, "/v1/cards/{serial}/drives/{drive}", Access::Read, GetDrive},
      {Method::Get, "/v1/status", Access::Read, GetStatus},
      {Method::Get, "/v1/events", Access::Read, GetEvents, {"since", "limit"}},
      {Method::Get, "/v1/session", Access::Read, GetSession},
      {Method::Post, "/v1/session", Access::Read, PostSession, {}, Http::BodyRule::Required},
  };
  return rows;
}

}  // namespace

Response MakeDownProblem(const PluginState& plugin) {
  return Http::MakeProblem(503, "PLUGIN_DOWN", plugin.WhyDown());
}

std::vector<Http::Route> ApiRoutes(const ApiContext& api) {
  std::vector<Http::Route> routes;
  for (const Row& row : Rows()) {
    const auto handler = [&api, function = row.m_Function](const Request& request) {
      return function(api, request);
    };
    routes.push_back({row.m_Method, row.m_Path, row.m_Access, handler, row.m_Query, row.m_Body});
  }
  return routes;
}

}  // namespace Service
