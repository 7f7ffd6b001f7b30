#include "cardsim/store/Suggest.h"

#include <algorithm>
#include <cstddef>

#include "base/NearestName.h"

namespace CardSim {
namespace {

constexpr std::size_t kMaxTypos = 2;

// Synonyms of a command or verb, which need not resemble its name.
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
  const std::string* nearest = Base::NearestName(wrong, names, kMaxTypos);
  return nearest == nullptr ? std::string() : Suggestion(*nearest);
}

}  // namespace CardSim
