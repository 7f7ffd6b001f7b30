#include "service/api/PluginApi.h"

#include <fmt/format.h>

#include <string>

#include "service/api/Documents.h"

namespace Service {
namespace {

using Http::Reply;
using Http::Request;
using Json = nlohmann::ordered_json;

}  // namespace

Reply GetPlugin(const ApiContext& api, const Request&) {
  return RespondFromSnapshot(api, api.m_Store.Get(), {"show", "-o", "json", "plugin"});
}

Reply PatchPlugin(const ApiContext& api, const Request& request) {
  return AnswerLater(api, [&api, changes = Json::parse(request.m_Body)] {
    std::string lastDocument;
    for (const auto& [name, value] : changes.items()) {
      lastDocument =
          RunPluginCommand(api, {"set", "plugin", fmt::format("{}={}", name, value.dump()), "-o",
                                 "json", "--quiet", "--no-input"});
    }
    return Http::MakeResponse(200, kJsonType, lastDocument);
  });
}

}  // namespace Service
