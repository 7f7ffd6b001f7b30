// "Did you mean": the known name that is nearest to a mistyped one.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Base {

// The one of `names` that `word` was probably meant to be, or nullptr when none is near. The result
// points into `names`.
//
// ASCII case does not matter. Near means at most `slips` inserted, missing, wrong or exchanged
// characters, or one per three characters of `word` if that is more. The start of a name counts
// as one slip. Among names equally near, one with the same first character wins, then the shortest,
// then the first. A word of more than 64 characters is near nothing.
const std::string* NearestName(std::string_view word, const std::vector<std::string>& names,
                               std::size_t slips);

}  // namespace Base
