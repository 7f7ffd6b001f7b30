#include "service/api/JobsApi.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Lookup.h"
#include "console/base/Timestamp.h"
#include "console/change/FormatRequest.h"
#include "service/UserName.h"
#include "service/api/Documents.h"

namespace Service {
namespace {

using Http::MakeProblem;
using Http::Reply;
using Http::Request;
using Http::Response;
using Json = nlohmann::ordered_json;

constexpr unsigned kAccepted = 202;

// An operation of the API, and the console command that performs it.
struct OperationRow {
  const char* m_Name;
  bool m_IsForDrive;
  bool m_NeedsConfirmation;
  bool m_HasForce;  // accepts "force"
  const char* m_Command;
  const char* m_Argument;  // after the object; null: none
};

constexpr OperationRow kOperations[] = {
    {"locate", false, false, false, "locate", "on"},
    {"stop-locate", false, false, false, "locate", "off"},
    {"attach", false, true, false, "attach", nullptr},
    {"detach", false, true, true, "detach", nullptr},
    {"online", true, true, false, "online", nullptr},
    {"offline", true, true, false, "offline", nullptr},
};

const OperationRow* FindRow(const std::string& name, bool isForDrive) {
  const auto found =
      std::find_if(std::begin(kOperations), std::end(kOperations), [&](const OperationRow& row) {
        return row.m_Name == name && row.m_IsForDrive == isForDrive;
      });
  return found == std::end(kOperations) ? nullptr : found;
}

// Returns the operations that a path accepts.
std::string OperationsHint(bool isForDrive) {
  std::vector<const char*> names;
  for (const OperationRow& row : kOperations) {
    if (row.m_IsForDrive == isForDrive) names.push_back(row.m_Name);
  }
  return fmt::format("Valid: {}.", fmt::join(names, ", "));
}

// Returns null for an interrupted job, because the time of its end is unknown.
Json ElapsedSeconds(const Job& job) {
  if (job.m_State == JobState::Interrupted) return nullptr;
  const auto end = job.m_State == JobState::Running ? Job::Clock::now() : job.m_Ended;
  const std::chrono::duration<double> elapsed = end - job.m_Started;
  return std::max(0.0, elapsed.count());
}

Json ToJson(const Job& job) {
  return {{"id", job.m_Id},
          {"serial_number", job.m_Serial},
          {"operation", job.m_Operation},
          {"dry_run", job.m_IsDryRun},
          {"origin", NameOf(job.m_Client.m_Origin)},
          {"user", job.m_Client.m_User},
          {"state", NameOf(job.m_State)},
          {"started", Console::TimeText(Console::ToMilliseconds(job.m_Started))},
          {"elapsed_seconds", ElapsedSeconds(job)},
          {"result", job.m_Result}};
}

struct JobRequest {
  std::string m_Serial;
  std::string m_Drive;  // its number; empty: the card itself
  std::string m_Operation;
  bool m_IsDryRun;
  uid_t m_User;
  Arguments m_Arguments;  // of the command; the second is replaced by the object's name
};

// Returns the object's current name; names depend on where cards are plugged in. Throws
// `Console::Failure`.
std::string ObjectName(const ApiContext& api, const JobRequest& request) {
  const SnapshotPtr snapshot = api.m_Store.Get();
  if (request.m_Drive.empty()) return CardName(*snapshot, request.m_Serial);
  return DriveName(*snapshot, request.m_Serial, request.m_Drive);
}

// Executes the command of a job and records its result. Blocks.
void RunJob(const ApiContext& api, const std::string& id, JobRequest request) {
  const Response response = ResponseOf([&] {
    if (auto problem = Refresh(api)) return *problem;
    request.m_Arguments.at(1) = ObjectName(api, request);
    return Http::MakeResponse(200, kJsonType, RunPluginCommand(api, request.m_Arguments));
  });
  const bool hasSucceeded = response.m_Status == 200;
  api.m_Jobs.End(id, hasSucceeded ? JobState::Succeeded : JobState::Failed,
                 Json::parse(*response.m_Body, nullptr, false));
}

Response AcceptedResponse(const Job& job) {
  Response response = MakeJson(kAccepted, ToJson(job));
  response.m_Headers.emplace_back("Location", "/v1/jobs/" + job.m_Id);
  return response;
}

// Stores the job. Returns the response to its request, which is stored with the job if a key was
// sent, so that a repeated request never starts a second job. Without a key, a job that cannot be
// stored runs anyway: locate LEDs are also needed while the disk is full.
Response StoreJob(const ApiContext& api, Job job, uid_t user,
                  std::optional<StoredResponse> pending) {
  job.m_Client.m_User = UserName(user);
  Response response = AcceptedResponse(job);
  if (pending) SetResponse(*pending, response);
  const std::string failure =
      api.m_Jobs.Store(job.m_Id, job.m_Client.m_User, pending ? &*pending : nullptr);
  return pending && !failure.empty() ? MakeDatabaseProblem(failure) : response;
}

// Starts a job on a call thread, because storing it and looking up the user can block.
Reply StartJob(const ApiContext& api, const Request& request, JobRequest details) {
  ObjectName(api, details);  // throws for an unknown card or drive
  const Job job = api.m_Jobs.Begin(details.m_Serial, details.m_Operation, details.m_IsDryRun,
                                   {JobOrigin::Api, std::to_string(request.m_Peer.m_User)});
  const auto queue = [&](const std::shared_ptr<Http::Responder>& responder) {
    return api.m_Threads.Run([&api, job, details = std::move(details), responder,
                              pending = api.m_Replays.Pending(request)] {
      const Response response = StoreJob(api, job, details.m_User, pending);
      const bool isAccepted = response.m_Status == kAccepted;
      if (!isAccepted) api.m_Jobs.Drop(job.m_Id);
      responder->Complete(response);
      if (isAccepted) RunJob(api, job.m_Id, details);
    });
  };
  Reply reply = DeferReply(queue, "the plug-in");
  if (std::holds_alternative<Response>(reply)) api.m_Jobs.Drop(job.m_Id);
  return reply;
}

Json BodyOf(const Request& request) {
  return request.m_Body.empty() ? Json::object() : Json::parse(request.m_Body);
}

// Returns the arguments of a command, with the options common to all jobs.
Arguments CommandArguments(const std::string& command, bool isDryRun) {
  Arguments arguments = {command, "", "-o", "json", "--quiet", "--no-input"};
  if (isDryRun) arguments.emplace_back("--dry-run");
  return arguments;
}

// Returns the drive's number in the path; empty if the path is that of a card.
std::string DriveOf(const Request& request) {
  const std::string* const drive = Http::Find(request.m_Parameters, "drive");
  return drive == nullptr ? std::string() : *drive;
}

Reply StartOperation(const ApiContext& api, const Request& request, bool isForDrive) {
  const std::string& name = request.m_Parameters.at("operation");
  const OperationRow* const row = FindRow(name, isForDrive);
  if (row == nullptr) {
    return MakeProblem(404, "NO_SUCH_OPERATION", fmt::format("no operation '{}'", name),
                       OperationsHint(isForDrive));
  }
  const Json body = BodyOf(request);
  const bool isDryRun = body.value("dry_run", false);
  if (row->m_NeedsConfirmation && !isDryRun && !body.value("confirm", false)) {
    return MakeProblem(409, "NOT_CONFIRMED", fmt::format("{} requires \"confirm\": true", name));
  }
  const bool isForced = body.value("force", false);
  if (isForced && !row->m_HasForce) {
    return MakeProblem(400, "BODY_INVALID", fmt::format("{} does not accept \"force\"", name));
  }
  Arguments arguments = CommandArguments(row->m_Command, isDryRun);
  if (row->m_Argument != nullptr) arguments.insert(arguments.begin() + 2, row->m_Argument);
  if (row->m_NeedsConfirmation) arguments.emplace_back("--yes");
  if (isForced) arguments.emplace_back("--force");
  return StartJob(api, request,
                  {request.m_Parameters.at("serial"), DriveOf(request), name, isDryRun,
                   request.m_Peer.m_User, std::move(arguments)});
}

// Returns the layout in the body of a request for a format.
Console::FormatTexts LayoutOf(const Json& body) {
  Console::FormatTexts layout = {"capacity", "sector_size",
                                 R"({"capacity": "80", "confirm": "FA00000001"})",
                                 body.value("capacity", ""), ""};
  if (body.contains("sector_size")) layout.m_SectorSize = body.at("sector_size").dump();
  return layout;
}

// Returns the problem for a layout that the command would reject, or empty.
std::optional<Response> LayoutProblem(const Console::FormatTexts& layout) {
  try {
    Console::ParseFormatRequest(layout);
    return std::nullopt;
  } catch (const Console::Failure& failure) {
    return MakeProblem(400, "BODY_INVALID", failure.what(), failure.m_Advice.front());
  }
}

Reply StartFormat(const ApiContext& api, const Request& request) {
  const Json body = BodyOf(request);
  const bool isDryRun = body.value("dry_run", false);
  const std::string& serial = request.m_Parameters.at("serial");
  const std::string confirmed = body.value("confirm", "");
  if (!isDryRun && confirmed.empty()) {
    return MakeProblem(409, "NOT_CONFIRMED",
                       "format requires the card's serial number in \"confirm\"");
  }
  if (!isDryRun && confirmed != serial) {
    return MakeProblem(409, "WRONG_SERIAL",
                       fmt::format("'{}' is not the serial number", confirmed));
  }
  const Console::FormatTexts layout = LayoutOf(body);
  if (const auto problem = LayoutProblem(layout)) return *problem;
  Arguments arguments = CommandArguments("format", isDryRun);
  if (body.contains("confirm")) arguments.push_back("--confirm=" + body.value("confirm", ""));
  if (body.value("again", false)) arguments.emplace_back("--again");
  if (!layout.m_Capacity.empty()) arguments.push_back("--capacity=" + layout.m_Capacity);
  if (!layout.m_SectorSize.empty()) arguments.push_back("--sector-size=" + layout.m_SectorSize);
  return StartJob(
      api, request,
      {serial, DriveOf(request), "format", isDryRun, request.m_Peer.m_User, std::move(arguments)});
}

}  // namespace

Reply PostCardOperation(const ApiContext& api, const Request& request) {
  return ReplyOf([&] { return StartOperation(api, request, false); });
}

Reply PostDriveOperation(const ApiContext& api, const Request& request) {
  return ReplyOf([&] { return StartOperation(api, request, true); });
}

Reply PostFormat(const ApiContext& api, const Request& request) {
  return ReplyOf([&] { return StartFormat(api, request); });
}

Reply GetJobs(const ApiContext& api, const Request&) {
  Json jobs = Json::array();
  for (const Job& job : api.m_Jobs.List()) jobs.push_back(ToJson(job));
  return MakeJson(200, {{"jobs", jobs}});
}

Reply GetJob(const ApiContext& api, const Request& request) {
  const std::string& id = request.m_Parameters.at("job");
  const auto job = api.m_Jobs.Find(id);
  if (!job) return MakeProblem(404, "NO_SUCH_JOB", fmt::format("no job '{}'", id));
  return MakeJson(200, ToJson(*job));
}

}  // namespace Service
