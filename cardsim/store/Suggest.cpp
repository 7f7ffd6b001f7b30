#include "cardsim/store/Suggest.h"

#include <algorithm>
#include <numeric>

namespace CardSim {
namespace {

// How many letters must be added, dropped or changed to make one of the other.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

// What people also call a command or verb of ours, however far the name is.
struct Synonym {
  std::string_view word;
  std::string_view name;
};
constexpr Synonym kSynonyms[] = {
    {"heal", "clear-failure"}, {"create", "new"}, {"delete", "remove"},
    {"show", "get"},           {"run", "play"},
};

std::string Suggestion(std::string_view name) {
  return "; did you mean " + std::string(name) + "?";
}

}  // namespace

std::string DidYouMean(std::string_view wrong, const std::vector<std::string>& names) {
  for (const Synonym& synonym : kSynonyms) {
    const bool isName = std::find(names.begin(), names.end(), synonym.name) != names.end();
    if (wrong == synonym.word && isName) return Suggestion(synonym.name);
  }
  // Longer than any name; the time grows with the length.
  if (wrong.size() > 64) return {};
  const std::string* nearest = nullptr;
  std::size_t least = std::max<std::size_t>(2, wrong.size() / 3) + 1;
  for (const std::string& name : names) {
    const std::size_t distance = Distance(wrong, name);
    if (distance >= least) continue;
    least = distance;
    nearest = &name;
  }
  return nearest == nullptr ? std::string() : Suggestion(*nearest);
}

}  // namespace CardSim
