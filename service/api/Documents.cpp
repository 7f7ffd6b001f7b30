#include "service/api/Documents.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <variant>

#include "console/base/Number.h"
#include "console/model/FieldTable.h"
#include "console/model/Model.h"
#include "console/model/SerialNumbers.h"
#include "console/plugin/DatabaseAdvice.h"
#include "hostkit/Paths.h"
#include "service/CollectorSession.h"
#include "service/api/ServedCommand.h"
#include "service/api/SnapshotSession.h"
#include "service/client/StatusTable.h"

namespace Service {
namespace {

using Console::ExitCode;
using Console::Failure;
using Http::Response;

const Console::Object& RequireCard(const Console::Model& model, const std::string& serial) {
  if (const Console::Object* const card = Console::CardWithSerial(model, serial)) return *card;
  throw Failure(ExitCode::NoObject, "NO_SUCH_OBJECT",
                fmt::format("no card with serial number {}", serial));
}

// Returns the numbers of the card's drives, as in their names.
std::vector<std::string> DriveNumbers(const Console::Model& model, const Console::Object& card) {
  const std::string prefix = card.m_Selector + "/d";
  std::vector<std::string> numbers;
  for (const Console::Object& object : model.Objects()) {
    const bool isDrive = object.m_Selector.rfind(prefix, 0) == 0;
    if (isDrive) numbers.push_back(object.m_Selector.substr(prefix.size()));
  }
  return numbers;
}

Response MakeProblem(const Failure& failure) {
  const std::string hint = failure.m_Advice.empty() ? std::string() : failure.m_Advice.front();
  return Http::MakeProblem(StatusOf(failure.m_Code, failure.m_Id), failure.m_Id, failure.what(),
                           hint);
}

}  // namespace

std::vector<std::string> ServedDatabaseAdvice() {
  return Console::ServiceDatabaseAdvice(HostKit::DatabaseFile().string());
}

Http::Reply ReplyOf(const std::function<Http::Reply()>& answer) {
  try {
    return answer();
  } catch (const Failure& failure) {
    return MakeProblem(failure);
  } catch (const Console::Stopped&) {
    return Http::MakeProblem(503, "STOPPING", "the service is stopping");
  } catch (const std::exception& error) {
    return Http::MakeProblem(500, "UNEXPECTED", error.what());
  }
}

Response ResponseOf(const std::function<Response()>& answer) {
  return std::get<Response>(ReplyOf([&answer]() -> Http::Reply { return answer(); }));
}

Response MakeJson(unsigned status, const nlohmann::ordered_json& document) {
  return Http::MakeResponse(status, kJsonType, JsonText(document));
}

Response MakePluginDownProblem(const PluginState& plugin) {
  return Http::MakeProblem(503, "PLUGIN_DOWN", plugin.DownReason());
}

Response RespondFromSnapshot(const ApiContext& api, const SnapshotPtr& snapshot,
                             const Arguments& arguments, const char* type,
                             Console::EventSource* events) {
  const SnapshotNotes notes = {api.m_IsSimulated, api.RecordsFailure(), ServedDatabaseAdvice()};
  return ResponseOf([&] {
    return Http::MakeResponse(
        200, type, RunOnSnapshot(api.m_Commands, arguments, api.m_Stream, snapshot, notes, events));
  });
}

std::string RunPluginCommand(const ApiContext& api, const Arguments& arguments) {
  const auto open = [&api](const Console::SessionRequest& request) {
    Console::TimeLimits limits = request.m_Limits;
    limits.m_Call = std::min(limits.m_Call.value_or(api.m_CallTimeout), api.m_CallTimeout);
    return std::make_unique<CollectorSession>(api.m_Collector, api.m_Store, request.m_EventLog,
                                              limits);
  };
  return RunCommand(api.m_Commands, arguments, api.m_Stream, open);
}

std::optional<Response> Refresh(const ApiContext& api) {
  if (api.m_Collector.Refresh(Console::Deadline(api.m_RefreshTimeout))) return std::nullopt;
  if (!api.m_Collector.IsRunning()) return MakePluginDownProblem(api.m_Store.Get()->m_Plugin);
  return Http::MakeProblem(504, "TIMED_OUT", "timed out waiting for the cards to be read");
}

std::string CardName(const Snapshot& snapshot, const std::string& serial) {
  RequireReport(snapshot);
  return RequireCard(ModelOf(snapshot), serial).m_Selector;
}

std::string DriveName(const Snapshot& snapshot, const std::string& serial,
                      const std::string& drive) {
  RequireReport(snapshot);
  const Console::Model model = ModelOf(snapshot);
  const Console::Object& card = RequireCard(model, serial);
  std::string name = card.m_Selector + "/d" + drive;
  const std::vector<std::string> drives = DriveNumbers(model, card);
  const bool isKnown = std::find(drives.begin(), drives.end(), drive) != drives.end();
  const bool mayExist = !card.m_IsReported && Console::ReadNumber<std::uint32_t>(drive);
  if (isKnown || mayExist) return name;
  throw Failure(ExitCode::NoObject, "NO_SUCH_OBJECT",
                fmt::format("card {} has no drive '{}'", serial, drive),
                std::vector<std::string>{fmt::format("Its drives: {}.", fmt::join(drives, ", "))});
}

Response MakeDatabaseProblem(const std::string& reason) {
  const std::vector<std::string> advice = ServedDatabaseAdvice();
  return Http::MakeProblem(500, "DATABASE_FAILED", "cannot use the database: " + reason,
                           fmt::format("{}. {}", advice.front(), advice.back()));
}

Response MakeBusyProblem(const char* what) {
  return Http::MakeProblem(503, "TOO_MANY_CALLS",
                           fmt::format("too many requests are waiting for {}", what));
}

Http::Reply DeferReply(const QueueResponder& queue, const char* what) {
  auto responder = std::make_shared<Http::Responder>();
  const Http::ResponsePromise promise = responder->Promise();
  if (queue(std::move(responder))) return promise;
  return MakeBusyProblem(what);
}

Http::Reply DeferToDatabase(const ApiContext& api, const QueueResponder& queue, const char* hint) {
  const auto queueWithTimeout = [&](std::shared_ptr<Http::Responder> responder) {
    responder->SetTimeout(
        api.m_DatabaseTimeout,
        Http::MakeProblem(504, "DATABASE_TIMED_OUT", "timed out waiting for the database", hint));
    return queue(std::move(responder));
  };
  return DeferReply(queueWithTimeout, "the database");
}

Http::Reply AnswerFromDatabase(const ApiContext& api, std::function<Response(StateStore&)> answer) {
  const auto queue = [&](const std::shared_ptr<Http::Responder>& responder) {
    const auto read = [responder, answer = std::move(answer)](StateStore& store) {
      return responder->HasEnded() ? Response() : answer(store);
    };
    return api.m_State.QueueRead(read, [responder](const StateOutcome<Response>& outcome) {
      responder->Complete(outcome.m_Result ? *outcome.m_Result
                                           : MakeDatabaseProblem(outcome.m_Failure));
    });
  };
  return DeferToDatabase(api, queue, "");
}

Http::Reply AnswerFromDatabase(const ApiContext& api, std::function<Response()> answer) {
  return AnswerFromDatabase(
      api, [answer = std::move(answer)](StateStore&) { return ResponseOf(answer); });
}

Http::Reply AnswerLater(const ApiContext& api, std::function<Response()> answer) {
  const auto queue = [&](const std::shared_ptr<Http::Responder>& responder) {
    return api.m_Threads.Run(
        [responder, answer = std::move(answer)] { responder->Complete(ResponseOf(answer)); });
  };
  return DeferReply(queue, "the plug-in");
}

}  // namespace Service
