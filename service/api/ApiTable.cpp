#include "service/api/ApiTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "console/model/SerialNumbers.h"
#include "service/Audit.h"
#include "service/Log.h"
#include "service/api/CardsApi.h"
#include "service/api/Documents.h"
#include "service/api/JobsApi.h"
#include "service/api/OpenApi.h"
#include "service/api/PluginApi.h"
#include "service/api/QueryValues.h"
#include "service/api/Schemas.h"
#include "service/api/SessionApi.h"
#include "service/api/StateApi.h"

namespace Service {
namespace {

using Http::Access;
using Http::Method;

constexpr const char* kOpenMetricsType = "application/openmetrics-text";
constexpr const char* kTextType = "text/plain";
constexpr const char* kEventStreamType = "text/event-stream";
constexpr const char* kKeyHeader = "Idempotency-Key";

const ResponseRow kDocument = {200, "The JSON document that the console prints.", kJsonType,
                               "Document"};
const ResponseRow kTaggedDocument = {
    kDocument.m_Status, kDocument.m_Meaning, kDocument.m_MediaType, kDocument.m_Schema, {"ETag"}};
const ResponseRow kUnchanged = {304,
                                "The snapshot is unchanged: its entity tag matches If-None-Match.",
                                nullptr,
                                nullptr,
                                {"ETag"}};
const ResponseRow kNoContent = {204, "Done.", nullptr, nullptr};
const ResponseRow kText = {200, "A one-word status.", kTextType, nullptr};
const ResponseRow kJob = {202, "The job that runs the operation.", kJsonType, "Job", {"Location"}};

const ProblemRow kDown = {503, "PLUGIN_DOWN", "The plug-in is not running."};
const ProblemRow kEnded = {503, "PLUGIN_ENDED", "The plug-in process exited during the change."};
const ProblemRow kNoObject = {404, "NO_SUCH_OBJECT", "No such card or drive."};
const ProblemRow kAmbiguous = {409, "AMBIGUOUS", "The name matches more than one object."};
const ProblemRow kSharedSerial = {409, "AMBIGUOUS", "Several cards have this serial number."};
const ProblemRow kTimedOut = {504, "TIMED_OUT", "The plug-in is not responding."};
const ProblemRow kSlowDatabase = {504, "DATABASE_TIMED_OUT", "The database is not responding."};
const ProblemRow kBusy = {503, "TOO_MANY_CALLS", "Too many requests are waiting."};
const ProblemRow kInvalidQuery = {400, "QUERY_INVALID", "A query parameter is missing or invalid."};
const ProblemRow kUsage = {400, "USAGE", "The command rejected a query parameter."};
const ProblemRow kInvalidBody = {400, "BODY_INVALID", "The body does not match its schema."};
const ProblemRow kNotConfirmed = {409, "NOT_CONFIRMED", "The confirmation is missing."};
const ProblemRow kWrongSerial = {409, "WRONG_SERIAL",
                                 "The confirmation is not the card's serial number."};
const ProblemRow kJobRunning = {409, "JOB_RUNNING", "Another job is running on the card."};
const ProblemRow kNoOperation = {404, "NO_SUCH_OPERATION", "No such operation."};
const ProblemRow kInvalidKey = {400, "IDEMPOTENCY_KEY_INVALID",
                                "The Idempotency-Key is not 1 to 255 visible ASCII characters."};
const ProblemRow kReusedKey = {422, "IDEMPOTENCY_KEY_REUSED",
                               "The Idempotency-Key was used for another request."};
const ProblemRow kNoJob = {404, "NO_SUCH_JOB", "No such job."};
const ProblemRow kNoTable = {404, "NO_SUCH_TABLE", "No such table."};
const ProblemRow kNoLog = {500, "NO_EVENT_LOG", "The event log cannot be read."};
const ProblemRow kInvalidEventId = {400, "EVENT_ID_INVALID",
                                    "Last-Event-ID is not a valid event number."};
const ProblemRow kTooManyStreams = {503, "STREAM_REFUSED", "Too many streams are open."};
const ProblemRow kUnknownCard = {404, "UNKNOWN_CARD", "The card is not known."};
const ProblemRow kPresent = {409, "CARD_PRESENT", "The card is present."};
const ProblemRow kNotMissing = {409, "NOT_MISSING",
                                "A card that is present cannot be acknowledged as MISSING."};
const ProblemRow kUnknownReason = {400, "UNKNOWN_REASON", "No such reason."};
const ProblemRow kNotAcknowledged = {404, "NOT_ACKNOWLEDGED", "The reason is not acknowledged."};
const ProblemRow kNoDatabase = {500, "DATABASE_FAILED", "The database cannot be used."};
const ProblemRow kReserved = {409, "RESERVED", "This command is reserved for the service."};

// Problems of resources that read objects and accept "fresh" in the query.
const std::vector<ProblemRow> kObjectProblems = {kInvalidQuery, kDown, kBusy, kTimedOut};
const std::vector<ProblemRow> kSingleObjectProblems = {kInvalidQuery, kNoObject, kDown, kBusy,
                                                       kTimedOut};
const std::vector<ProblemRow> kOperationProblems = {
    kInvalidBody, kNoObject, kNoOperation, kNotConfirmed, kJobRunning, kDown, kBusy, kNoDatabase};

const std::vector<ApiRow> kRows = {
    {Method::Get,
     "/healthz",
     Access::Anyone,
     "getHealth",
     "whether the service responds",
     GetHealth,
     {kText}},
    {Method::Get,
     "/readyz",
     Access::Anyone,
     "getReadiness",
     "whether the plug-in is running",
     GetReadiness,
     {kText},
     {kDown}},
    {Method::Get,
     "/metrics",
     Access::Read,
     "getMetrics",
     "metrics for Prometheus",
     GetMetrics,
     {{200, "Metrics in the OpenMetrics format.", kOpenMetricsType, nullptr}}},
    {Method::Get,
     "/v1/openapi.json",
     Access::Read,
     "getOpenApi",
     "this document",
     GetOpenApi,
     {{200, "An OpenAPI 3.1 document.", kJsonType, nullptr}}},
    {Method::Get,
     "/v1/cards",
     Access::Read,
     "listCards",
     "all cards and drives",
     GetCards,
     {kTaggedDocument, kUnchanged},
     kObjectProblems,
     {"fresh"}},
    {Method::Get,
     "/v1/cards/{serial}",
     Access::Read,
     "getCard",
     "one card",
     GetCard,
     {kTaggedDocument, kUnchanged},
     kSingleObjectProblems,
     {"fresh"}},
    {Method::Delete,
     "/v1/cards/{serial}",
     Access::Change,
     "forgetCard",
     "forget a missing card",
     DeleteCard,
     {kNoContent},
     {kUnknownCard, kPresent, kBusy, kNoDatabase, kSlowDatabase}},
    {Method::Get,
     "/v1/cards/{serial}/history",
     Access::Read,
     "getHistory",
     "recorded values of one field, at most 1,000 points",
     GetHistory,
     {{200, "The values.", kJsonType, "History"}},
     {kInvalidQuery, kUnknownCard, kBusy, kNoDatabase, kSlowDatabase},
     {"field", "from", "to", "step"}},
    {Method::Post,
     "/v1/cards/{serial}/ack",
     Access::Change,
     "acknowledge",
     "acknowledge a problem",
     PostAcknowledgment,
     {{201, "The acknowledgment.", kJsonType, "Acknowledgment"}},
     {kInvalidBody, kUnknownReason, kUnknownCard, kNotMissing, kBusy, kNoDatabase, kSlowDatabase},
     {},
     "AcknowledgmentRequest"},
    {Method::Delete,
     "/v1/cards/{serial}/ack",
     Access::Change,
     "unacknowledge",
     "remove an acknowledgment",
     DeleteAcknowledgment,
     {kNoContent},
     {kInvalidQuery, kNotAcknowledged, kBusy, kNoDatabase, kSlowDatabase},
     {"reason"}},
    {Method::Get,
     "/v1/acknowledgments",
     Access::Read,
     "listAcknowledgments",
     "acknowledged problems",
     GetAcknowledgments,
     {{200, "The acknowledgments in effect.", kJsonType, "Acknowledgments"}},
     {kBusy, kNoDatabase, kSlowDatabase}},
    {Method::Get,
     "/v1/known-cards",
     Access::Read,
     "listKnownCards",
     "all cards ever seen on this machine",
     GetKnownCards,
     {{200, "Cards by position.", kJsonType, "KnownCards"}},
     {kBusy, kNoDatabase, kSlowDatabase}},
    {Method::Post,
     "/v1/cards/{serial}/operations/{operation}",
     Access::Change,
     "runOperation",
     "locate, stop-locate, attach or detach a card",
     PostCardOperation,
     {kJob},
     kOperationProblems,
     {},
     "OperationRequest"},
    {Method::Get,
     "/v1/cards/{serial}/drives/{drive}",
     Access::Read,
     "getDrive",
     "one drive",
     GetDrive,
     {kTaggedDocument, kUnchanged},
     kSingleObjectProblems,
     {"fresh"}},
    {Method::Post,
     "/v1/cards/{serial}/drives/{drive}/operations/{operation}",
     Access::Change,
     "runDriveOperation",
     "bring a drive online or take it offline",
     PostDriveOperation,
     {kJob},
     kOperationProblems,
     {},
     "OperationRequest"},
    {Method::Post,
     "/v1/cards/{serial}/drives/{drive}/format",
     Access::Change,
     "formatDrive",
     "erase a drive and change its layout",
     PostFormat,
     {kJob},
     {kInvalidBody, kNoObject, kNotConfirmed, kWrongSerial, kJobRunning, kDown, kBusy, kNoDatabase},
     {},
     "FormatRequest"},
    {Method::Get,
     "/v1/jobs",
     Access::Read,
     "listJobs",
     "the newest jobs",
     GetJobs,
     {{200, "Jobs, newest first.", kJsonType, "Jobs"}}},
    {Method::Get,
     "/v1/jobs/{job}",
     Access::Read,
     "getJob",
     "one job",
     GetJob,
     {{200, "The job.", kJsonType, "Job"}},
     {kNoJob}},
    {Method::Get,
     "/v1/status",
     Access::Read,
     "getStatus",
     "problems and what to do",
     GetStatus,
     {kDocument},
     {kDown}},
    {Method::Get,
     "/v1/events",
     Access::Read,
     "listEvents",
     "the event log",
     GetEvents,
     {kDocument},
     {kInvalidQuery, kUsage, kNoObject, kAmbiguous, kDown, kBusy, kNoLog, kSlowDatabase},
     {"since", "after", "object", "severity", "limit"}},
    {Method::Get,
     "/v1/events/stream",
     Access::Read,
     "streamEvents",
     "stream of new events, or of all events after Last-Event-ID",
     GetEventStream,
     {{200, "Server-sent events of the types event, snapshot and gap.", kEventStreamType, nullptr}},
     {kInvalidEventId, kTooManyStreams},
     {},
     nullptr,
     {"Last-Event-ID"}},
    {Method::Get,
     "/v1/plugin",
     Access::Read,
     "getPlugin",
     "the plug-in's properties",
     GetPlugin,
     {kDocument},
     {kDown}},
    {Method::Patch,
     "/v1/plugin",
     Access::Change,
     "changePlugin",
     "set the plug-in's properties",
     PatchPlugin,
     {kDocument},
     {kInvalidBody, kDown, kEnded, kBusy, kTimedOut},
     {},
     "PluginChange"},
    {Method::Get,
     "/v1/session",
     Access::Read,
     "getSession",
     "the plug-in and its state",
     GetSession,
     {{200, "The state of the plug-in.", kJsonType, "SessionInfo"}},
     {kDown, kBusy}},
    {Method::Post,
     "/v1/session",
     Access::Read,
     "callPlugin",
     "execute one command of the plug-in interface",
     PostSession,
     {{200, "What the plug-in returned.", kJsonType, "SessionReply"}},
     {kInvalidBody, kInvalidQuery, kReserved, kJobRunning, kDown, kEnded, kBusy, kTimedOut},
     {"fresh"},
     "SessionCommand"},
    {Method::Get,
     "/v1/session/events",
     Access::Read,
     "getSessionEvents",
     "entries of the event log as records",
     GetSessionEvents,
     {{200, "The first entries after a number, or the newest ones.", kJsonType, "SessionEvents"}},
     {kInvalidQuery, kNoLog, kBusy, kSlowDatabase},
     {"after", "since_ms", "limit"}},
    {Method::Get,
     "/v1/session/event-counts",
     Access::Read,
     "getSessionEventCounts",
     "number of events ever logged",
     GetSessionEventCounts,
     {{200, "The counts.", kJsonType, "SessionEventCounts"}},
     {kNoLog, kBusy, kSlowDatabase}},
    {Method::Get,
     "/v1/session/rows/{table}",
     Access::Read,
     "getSessionRows",
     "rows that the plug-in has written to the database",
     GetSessionRows,
     {{200, "The table.", kJsonType, "SessionRows"}},
     {kNoTable, kDown, kBusy, kTimedOut, kNoDatabase}},
};

const std::vector<ProblemRow> kCommonProblems = {
    {400, "PATH_INVALID", "The path is not valid percent-encoded UTF-8, or contains NUL."},
    {400, "QUERY_INVALID", "The query is not valid percent-encoded UTF-8."},
    {400, "QUERY_UNKNOWN", "The query has an unknown parameter."},
    {400, "QUERY_REPEATED", "A query parameter is repeated."},
    {400, "HEADER_INVALID", "A header is not UTF-8 or contains NUL."},
    {400, "BODY_MISSING", "The request requires a body."},
    {400, "BODY_NOT_ALLOWED", "The request must not have a body."},
    {403, "PERMISSION_DENIED", "The user does not have this permission."},
    {403, "READ_ONLY", "Changes are possible over the Unix socket only."},
    {403, "HOST_NOT_ALLOWED", "The Host header does not name this service."},
    {403, "ORIGIN_NOT_ALLOWED", "The request came from a page from another origin."},
    {404, "NOT_FOUND", "No such path."},
    {405, "METHOD_NOT_ALLOWED", "The method is not allowed for this path."},
    {413, "BODY_TOO_LARGE", "The body is larger than 64 KiB."},
    {415, "MEDIA_TYPE_NOT_SUPPORTED", "The body is not JSON."},
    {431, "HEADERS_TOO_LARGE", "Request line and headers are larger than 8 KiB."},
    {500, "UNEXPECTED", "Internal error; see the service log."},
    {503, "STOPPING", "The service is stopping."},
};

std::string Lower(std::string text) {
  for (char& each : text) each = static_cast<char>(std::tolower(static_cast<unsigned char>(each)));
  return text;
}

std::optional<std::string> QueryError(const Http::Request& request) {
  for (const auto& [name, text] : request.m_Query) {
    if (auto error = ParameterError(name, text)) return error;
  }
  return std::nullopt;
}

// Whether a JSON document contains NUL, as a byte or escaped. The JSON library treats the byte as
// the end of the document, and messages would end at an escaped NUL.
bool ContainsNul(const std::string& json) {
  if (json.find('\0') != std::string::npos) return true;
  for (auto at = json.find('\\'); at != std::string::npos; at = json.find('\\', at + 2)) {
    if (json.compare(at, 6, "\\u0000") == 0) return true;
  }
  return false;
}

std::optional<std::string> BodyError(const ApiRow& row, const Http::Request& request) {
  if (row.m_Body == nullptr || request.m_Body.empty()) return std::nullopt;
  if (ContainsNul(request.m_Body)) return "the body contains NUL";
  const auto body = nlohmann::json::parse(request.m_Body, nullptr, false);
  if (body.is_discarded()) return "the body is not a JSON document";
  return ValidationError(body, row.m_Body);
}

// Returns the operation and the values in its path, such as "getCard/FA00000001", for the log and
// for recognizing repeated requests.
std::string TargetOf(const ApiRow& row, const Http::Request& request) {
  std::string target = row.m_Id;
  for (const auto& [name, value] : request.m_Parameters) target += "/" + value;
  return target;
}

// The members of a body that decide what becomes of the data.
constexpr const char* kLoggedMembers[] = {"capacity", "sector_size", "again", "force"};

// Returns the request for the log, such as "formatDrive/0/FA00000001, capacity=80".
std::string LoggedChange(const ApiRow& row, const Http::Request& request) {
  std::string text = TargetOf(row, request);
  const auto body = nlohmann::json::parse(request.m_Body, nullptr, false);
  for (const char* const name : kLoggedMembers) {
    if (!body.is_object() || !body.contains(name)) continue;
    const nlohmann::json& value = body.at(name);
    text +=
        fmt::format(", {}={}", name, value.is_string() ? value.get<std::string>() : value.dump());
  }
  return text;
}

bool IsForCard(const ApiRow& row) {
  return std::string_view(row.m_Path).find("{serial}") != std::string_view::npos;
}

// Calls the handler of the row, unless several cards have the serial number in the path.
Http::Reply Respond(const ApiRow& row, const ApiContext& api, const Http::Request& request) {
  if (!IsForCard(row)) return row.m_Function(api, request);
  return ReplyOf([&] {
    // Throws if several cards have the number.
    Console::CardWithSerial(ModelOf(*api.m_Store.Get()), request.m_Parameters.at("serial"));
    return row.m_Function(api, request);
  });
}

// Responds to the request, after logging it if the row is for changes.
Http::Reply Handle(const ApiRow& row, const ApiContext& api, const Http::Request& request) {
  if (row.m_Access != Access::Change) return Respond(row, api, request);
  const std::string change = LoggedChange(row, request);
  LogChange(request.m_Peer, change);
  Http::Reply reply = Respond(row, api, request);
  const auto* const response = std::get_if<Http::Response>(&reply);
  if (response != nullptr && response->m_Status >= 400) {
    const auto problem = nlohmann::ordered_json::parse(*response->m_Body, nullptr, false);
    LogRefusal(request.m_Peer, change, CauseOf(problem));
  }
  return reply;
}

// Returns everything in which two requests of a user can differ, as text. All parts are UTF-8: the
// body is a valid document.
std::string ContentOf(const ApiRow& row, const Http::Request& request) {
  return JsonText(nlohmann::json{TargetOf(row, request), request.m_Query, request.m_Body});
}

// If an earlier request with this key has succeeded, returns its response instead of repeating the
// request.
Http::Reply AnswerOnce(const ApiRow& row, const ApiContext& api, const Http::Request& request,
                       const std::string& key) {
  if (ParameterError(kKeyHeader, key)) {
    return Http::MakeProblem(kInvalidKey.m_Status, kInvalidKey.m_Id,
                             "Idempotency-Key must be 1 to 255 visible ASCII characters");
  }
  return api.m_Replays.Answer(*ReplayKey(request), ContentOf(row, request),
                              [&] { return Handle(row, api, request); });
}

Http::Reply Answer(const ApiRow& row, const ApiContext& api, const Http::Request& request) {
  if (const auto why = QueryError(request)) {
    return Http::MakeProblem(kInvalidQuery.m_Status, kInvalidQuery.m_Id, *why);
  }
  if (const auto why = BodyError(row, request)) {
    return Http::MakeProblem(kInvalidBody.m_Status, kInvalidBody.m_Id, *why);
  }
  const std::string* const key = Http::Find(request.m_Headers, Lower(kKeyHeader));
  if (key == nullptr) return Handle(row, api, request);
  return AnswerOnce(row, api, request, *key);
}

bool HonorsKey(const ApiRow& row) {
  return row.m_Access == Access::Change;
}

}  // namespace

const std::vector<ApiRow>& ApiRows() {
  return kRows;
}

std::vector<const char*> HeadersOf(const ApiRow& row) {
  std::vector<const char*> headers = row.m_Headers;
  if (HonorsKey(row)) headers.push_back(kKeyHeader);
  const bool mayBeUnchanged =
      std::any_of(row.m_Responses.begin(), row.m_Responses.end(),
                  [](const ResponseRow& each) { return each.m_Status == kUnchanged.m_Status; });
  if (mayBeUnchanged) headers.push_back("If-None-Match");
  return headers;
}

std::vector<ProblemRow> ProblemsOf(const ApiRow& row) {
  std::vector<ProblemRow> problems = row.m_Problems;
  if (IsForCard(row)) problems.push_back(kSharedSerial);
  if (HonorsKey(row)) problems.insert(problems.end(), {kInvalidKey, kReusedKey});
  return problems;
}

const std::vector<ProblemRow>& CommonProblems() {
  return kCommonProblems;
}

std::vector<Http::Route> ApiRoutes(const ApiContext& api) {
  std::vector<Http::Route> routes;
  for (const ApiRow& row : ApiRows()) {
    const auto handle = [&api, &row](const Http::Request& request) {
      return Answer(row, api, request);
    };
    const auto body = row.m_Body == nullptr ? Http::BodyRule::None : Http::BodyRule::Required;
    routes.push_back({row.m_Method,
                      row.m_Path,
                      row.m_Access,
                      handle,
                      {row.m_Query.begin(), row.m_Query.end()},
                      body});
    for (const char* const name : HeadersOf(row)) routes.back().m_Headers.push_back(Lower(name));
  }
  return routes;
}

}  // namespace Service
