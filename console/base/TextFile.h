// Text files that other programs may read at any time.
#pragma once

#include <string>

namespace Console {

// Atomically replaces the contents of `file` with `text` and makes it readable for every user. At
// all times, even after a crash, a reader finds either the old or the new file. Throws `Failure` if
// `file` cannot be written, is not a regular file, or could be redirected by another user; the old
// file is then unchanged, and no draft is left.
void ReplaceTextFile(const std::string& file, const std::string& text);

}  // namespace Console
