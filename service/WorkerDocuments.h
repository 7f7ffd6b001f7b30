// The documents that the plug-in process sends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <vector>

#include "console/plugin/Session.h"
#include "console/plugin/UnresponsiveCard.h"

namespace Service {

// Parses the first document. Throws the `Console::Failure` that it reports if the plug-in could not
// be loaded, and `Console::RecordError` or `nlohmann::json::exception` if the document is invalid.
Console::PluginInfo ParseGreeting(const nlohmann::json& document);

// A later document: a notification, or the reply to the call with this id.
struct WorkerDocument {
  bool m_IsNotification = false;
  std::uint64_t m_Id = 0;
  std::size_t m_FailedThreads = 0;
  bool m_NeedsRestart = false;
  std::vector<Console::UnresponsiveCard> m_UnresponsiveCards;
  nlohmann::json m_Reply;  // without the fields above
};

// Throws `Console::RecordError` or `nlohmann::json::exception` if the document is invalid.
WorkerDocument ParseWorkerDocument(nlohmann::json document);

}  // namespace Service
