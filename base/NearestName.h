// "Did you mean" suggestions: finds the known name nearest to a mistyped one.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Base {

// Returns the element of `names` nearest to `word`, or nullptr if none is near. The result points
// into `names`.
//
// A name is near if it differs from `word` by at most `maxEdits` edits, or one edit per three
// characters of `word` if that is more. An edit inserts, deletes or replaces a character, or swaps
// two adjacent ones; ASCII case is ignored. A word of at least three characters may also match the
// start of a name, which adds one edit. Among equally near names, one with the same first character
// is preferred, then the shortest, then the first. A word longer than 64 characters has no near
// name.
const std::string* NearestName(std::string_view word, const std::vector<std::string>& names,
                               std::size_t maxEdits);

}  // namespace Base
