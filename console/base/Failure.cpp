#include "console/base/Failure.h"

#include <fmt/format.h>

#include <utility>

#include "base/NearestName.h"
#include "hostkit/Texts.h"

namespace Console {

Failure::Failure(ExitCode code, std::string id, const std::string& what, const std::string& why,
                 std::vector<std::string> advice)
    : m_Code(code),
      m_Id(std::move(id)),
      m_Text(fmt::format("{}: {}", what, why)),
      m_Advice(std::move(advice)) {}

Failure::Failure(ExitCode code, std::string id, std::string text, std::vector<std::string> advice)
    : m_Code(code), m_Id(std::move(id)), m_Text(std::move(text)), m_Advice(std::move(advice)) {}

Failure PluginFailure(const std::string& what, std::uint32_t error) {
  std::string id = HostKit::NameOf(HostKit::Family::Error, error);
  std::string why = HostKit::CaptionOf(HostKit::Family::Error, error);
  while (!why.empty() && why.back() == '.') why.pop_back();
  if (id.empty()) id = "PLUGIN_ERROR";
  if (why.empty()) why = "unknown plug-in error";
  return Failure(ExitCode::Failed, id, what, fmt::format("{} ({})", why, error),
                 {"Run the command again with --trace 2,16 to see the card library's message."});
}

Failure StopFailure(std::string text, std::vector<std::string> advice) {
  return Failure(ExitCode::Stopped, "STOPPED", std::move(text), std::move(advice));
}

Failure UsageFailure(const std::string& why, std::vector<std::string> advice) {
  return Failure(ExitCode::Usage, kUsageError, why, std::move(advice));
}

std::vector<std::string> DidYouMean(const std::string& word,
                                    const std::vector<std::string>& candidates) {
  constexpr std::size_t kMaxEdits = 1;
  const std::string* nearest = Base::NearestName(word, candidates, kMaxEdits);
  if (nearest == nullptr) return {};
  return {fmt::format("Did you mean '{}'?", *nearest)};
}

}  // namespace Console
