#include "console/base/Failure.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <utility>

#include "hostkit/Texts.h"

namespace Console {
namespace {

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// Edits from one text to the other, an exchange of neighbors counting as one.
std::size_t Distance(const std::string& from, const std::string& to) {
  std::vector<std::vector<std::size_t>> cost(from.size() + 1,
                                             std::vector<std::size_t>(to.size() + 1));
  for (std::size_t i = 0; i <= from.size(); ++i) {
    for (std::size_t j = 0; j <= to.size(); ++j) {
      if (i == 0 || j == 0) {
        cost[i][j] = i + j;
        continue;
      }
      const std::size_t change = from[i - 1] == to[j - 1] ? 0 : 1;
      cost[i][j] = std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1, cost[i - 1][j - 1] + change});
      if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1]) {
        cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
      }
    }
  }
  return cost[from.size()][to.size()];
}

// From what was typed to a name, or to the beginning of a long one, which is no worse than one
// slip.
std::size_t DistanceToName(const std::string& typed, const std::string& name) {
  std::size_t least = Distance(typed, name);
  if (typed.size() < 3) return least;
  if (name.rfind(typed, 0) == 0) return std::min<std::size_t>(least, 1);
  for (std::size_t length = typed.size() - 1; length <= typed.size() + 1; ++length) {
    least = std::min(least, Distance(typed, name.substr(0, length)) + 1);
  }
  return least;
}

}  // namespace

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
  if (why.empty()) why = "plug-in error without a text";
  return Failure(ExitCode::Failed, id, what, fmt::format("{} ({})", why, error),
                 {"Run it again with --trace 2,16 to see the card library's error."});
}

Failure StopFailure(std::string text, std::vector<std::string> advice) {
  return Failure(ExitCode::Stopped, "STOPPED", std::move(text), std::move(advice));
}

Failure UsageFailure(const std::string& why, std::vector<std::string> advice) {
  return Failure(ExitCode::Usage, "USAGE", why, std::move(advice));
}

std::vector<std::string> DidYouMean(const std::string& word,
                                    const std::vector<std::string>& candidates) {
  const std::string typed = Lower(word);
  const std::size_t limit = std::max<std::size_t>(1, word.size() / 3);
  std::string best;
  std::size_t least = 2 * limit + 2;
  for (const std::string& candidate : candidates) {
    const std::string name = Lower(candidate);
    const std::size_t distance = DistanceToName(typed, name);
    // Of equals the one that begins alike, since the first letter is seldom wrong; then the
    // shortest.
    const std::size_t rank = 2 * distance + (typed.substr(0, 1) == name.substr(0, 1) ? 0 : 1);
    if (rank < least || (rank == least && candidate.size() < best.size())) {
      least = rank;
      best = candidate;
    }
  }
  if (best.empty()) return {};
  return {fmt::format("Did you mean '{}'?", best)};
}

}  // namespace Console
