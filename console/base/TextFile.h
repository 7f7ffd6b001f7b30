// Files that other programs may read at any time.
#pragma once

#include <string>

namespace Console {

// Atomically replaces `file` by `text`, readable for every user. A reader finds the old file or the
// new one, also after a crash. Throws `Failure`, also if `file` is not a regular file or another
// user could redirect it; the old file is then unchanged, and no draft is left.
void ReplaceTextFile(const std::string& file, const std::string& text);

}  // namespace Console
