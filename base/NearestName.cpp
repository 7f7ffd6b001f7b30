#include "base/NearestName.h"

#include <algorithm>

namespace Base {
namespace {

// Caps the cost, which is quadratic in the length.
constexpr std::size_t kMaxWordLength = 64;

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& letter : lower) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return lower;
}

// Returns the edit distance of the strings; swapping two adjacent characters is one edit.
std::size_t Distance(std::string_view from, std::string_view to) {
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

// Returns the distance to the name or, if that is less, one more than the distance to its start.
std::size_t DistanceToName(std::string_view typed, std::string_view name) {
  std::size_t least = Distance(typed, name);
  if (typed.size() < 3) return least;
  if (name.substr(0, typed.size()) == typed) return std::min<std::size_t>(least, 1);
  for (std::size_t length = typed.size() - 1; length <= typed.size() + 1; ++length) {
    least = std::min(least, Distance(typed, name.substr(0, length)) + 1);
  }
  return least;
}

}  // namespace

const std::string* NearestName(std::string_view word, const std::vector<std::string>& names,
                               std::size_t maxEdits) {
  if (word.size() > kMaxWordLength) return nullptr;
  const std::string typed = Lower(word);
  const std::size_t limit = std::max(maxEdits, word.size() / 3);
  const std::string* nearest = nullptr;
  std::size_t least = 2 * limit + 2;
  for (const std::string& candidate : names) {
    const std::string name = Lower(candidate);
    // Among equally near names, prefer one with the same first letter, which is rarely mistyped.
    const std::size_t rank =
        2 * DistanceToName(typed, name) + (typed.substr(0, 1) == name.substr(0, 1) ? 0 : 1);
    const bool isShorter =
        nearest != nullptr && rank == least && candidate.size() < nearest->size();
    if (rank >= least && !isShorter) continue;
    least = rank;
    nearest = &candidate;
  }
  return nearest;
}

}  // namespace Base
