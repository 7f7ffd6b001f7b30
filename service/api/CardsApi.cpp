#include "service/api/CardsApi.h"

#include <fmt/format.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "console/base/Timestamp.h"
#include "host/Database.h"
#include "service/api/Documents.h"

namespace Service {
namespace {

using Http::Reply;
using Http::Request;
using Http::Response;

constexpr const char* kOpenMetrics = "application/openmetrics-text; version=1.0.0; charset=utf-8";
constexpr const char* kText = "text/plain; charset=utf-8";

// The tag changes with each snapshot. It does not depend on the time of the response, which the
// document also contains.
Response WithEntityTag(Response response, const Snapshot& snapshot) {
  if (response.m_Status == 200) {
    response.m_EntityTag = fmt::format("{:x}-{}", snapshot.m_Run, snapshot.m_Number);
  }
  return response;
}

// Returns the command for an object of a snapshot. Throws `Console::Failure` if the object
// does not exist.
using CommandFor = std::function<Arguments(const Snapshot&)>;

Response AnswerFrom(const ApiContext& api, const SnapshotPtr& snapshot, const CommandFor& command) {
  return ResponseOf([&] {
    return WithEntityTag(RespondFromSnapshot(api, snapshot, command(*snapshot)), *snapshot);
  });
}

Reply AnswerObjects(const ApiContext& api, const Request& request, CommandFor command) {
  const SnapshotPtr snapshot = api.m_Store.Get();
  if (Http::Find(request.m_Query, "fresh") == nullptr) return AnswerFrom(api, snapshot, command);
  return AnswerLater(api, [&api, command = std::move(command)] {
    if (auto problem = Refresh(api)) return *problem;
    return AnswerFrom(api, api.m_Store.Get(), command);
  });
}

Arguments ShowCommand(const std::string& object) {
  return {"show", "-o", "json", object};
}

// Returns no counts if the log has never been read.
std::vector<HostKit::EventCount> CountsOf(EventSummary& summary) {
  try {
    return summary.CountEvents();
  } catch (const DBEXCEPTION::DatabaseException&) {
    return {};
  }
}

}  // namespace

Reply GetCards(const ApiContext& api, const Request& request) {
  return AnswerObjects(api, request, [](const Snapshot&) -> Arguments {
    return {"list", "-o", "json"};
  });
}

Reply GetCard(const ApiContext& api, const Request& request) {
  return AnswerObjects(api, request,
                       [serial = request.m_Parameters.at("serial")](const Snapshot& snapshot) {
                         return ShowCommand(CardName(snapshot, serial));
                       });
}

Reply GetDrive(const ApiContext& api, const Request& request) {
  return AnswerObjects(
      api, request,
      [serial = request.m_Parameters.at("serial"), drive = request.m_Parameters.at("drive")](
          const Snapshot& snapshot) { return ShowCommand(DriveName(snapshot, serial, drive)); });
}

Reply GetStatus(const ApiContext& api, const Request&) {
  return RespondFromSnapshot(api, api.m_Store.Get(), {"status", "-o", "json"}, kJsonType,
                             &api.m_Summary);
}

// Query parameters other than "object" are named after the command's options.
Reply GetEvents(const ApiContext& api, const Request& request) {
  Arguments arguments = {"events", "-o", "json"};
  Arguments object;
  for (const auto& [name, value] : request.m_Query) {
    if (name == "object") {
      object = {"--", value};
    } else {
      arguments.push_back("--" + name + "=" + value);
    }
  }
  arguments.insert(arguments.end(), object.begin(), object.end());
  return AnswerFromDatabase(
      api, [&api, arguments] { return RespondFromSnapshot(api, api.m_Store.Get(), arguments); });
}

Reply GetMetrics(const ApiContext& api, const Request&) {
  const SnapshotPtr snapshot = api.m_Store.Get();
  const std::uint64_t second = Console::NowMs() / 1000;
  return api.m_Metrics.Get({snapshot->m_Number, second, CountsOf(api.m_Summary)}, [&] {
    return RespondFromSnapshot(api, snapshot, {"metrics"}, kOpenMetrics, &api.m_Summary);
  });
}

Reply GetHealth(const ApiContext&, const Request&) {
  return Http::MakeResponse(200, kText, "ok\n");
}

Reply GetReadiness(const ApiContext& api, const Request&) {
  const SnapshotPtr snapshot = api.m_Store.Get();
  if (!snapshot->m_Plugin.m_IsUp) return MakePluginDownProblem(snapshot->m_Plugin);
  return Http::MakeResponse(200, kText, "ready\n");
}

}  // namespace Service
