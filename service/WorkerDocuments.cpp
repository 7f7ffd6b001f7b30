#include "service/WorkerDocuments.h"

#include <string>
#include <utility>
#include <vector>

#include "console/base/Failure.h"
#include "console/plugin/RecordJson.h"
#include "service/client/SessionReplies.h"

namespace Service {
namespace {

using Console::ExitCode;
using Json = nlohmann::json;

Console::Failure FailureFrom(const Json& document) {
  const std::int64_t code = CountField(document, "exit_code");
  const bool isKnown = code >= static_cast<std::int64_t>(ExitCode::Failed) &&
                       code <= static_cast<std::int64_t>(ExitCode::TimedOut);
  return Console::Failure(isKnown ? static_cast<ExitCode>(code) : ExitCode::Failed,
                          document.at("id").get<std::string>(),
                          document.at("text").get<std::string>(),
                          document.at("advice").get<std::vector<std::string>>());
}

std::vector<Console::UnresponsiveCard> UnresponsiveCardsFrom(const Json& list) {
  std::vector<Console::UnresponsiveCard> cards;
  for (const Json& each : list) {
    cards.push_back({each.at("serial_number").get<std::string>(),
                     each.at("device_path").get<std::string>(),
                     each.at("reason").get<std::string>(), each.at("omitted").get<bool>()});
  }
  return cards;
}

}  // namespace

Console::PluginInfo ParseGreeting(const Json& document) {
  if (document.contains("failure")) throw FailureFrom(document.at("failure"));
  return Console::PluginInfoFromJson(document.at("plugin"));
}

WorkerDocument ParseWorkerDocument(Json document) {
  WorkerDocument result;
  result.m_IsNotification = document.contains("notified");
  if (result.m_IsNotification) return result;
  result.m_Id = static_cast<std::uint64_t>(CountField(document, "id"));
  result.m_FailedThreads = static_cast<std::size_t>(CountField(document, "failed_threads"));
  result.m_NeedsRestart = document.at("needs_restart").get<bool>();
  result.m_UnresponsiveCards = UnresponsiveCardsFrom(document.at("unresponsive"));
  for (const char* const name : {"id", "failed_threads", "needs_restart", "unresponsive"}) {
    document.erase(name);
  }
  result.m_Reply = std::move(document);
  return result;
}

}  // namespace Service
