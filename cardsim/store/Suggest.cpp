#include "cardsim/store/Suggest.h"

#include <algorithm>
#include <cstddef>

#include "base/NearestName.h"

namespace CardSim {
namespace {

constexpr std::size_t kSlips = 2;

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
  const std::string* nearest = Base::NearestName(wrong, names, kSlips);
  return nearest == nullptr ? std::string() : Suggestion(*nearest);
}

}  // namespace CardSim
