// Files that other programs may read at any time.
#pragma once

#include <string>

namespace Console {

// Puts `text` in the place of `file`, readable for everybody. A reader finds the old file or the
// new one, never a part, also after a crash. Throws `Failure`, also for something that is no
// regular file or could be led elsewhere by another user; the old one then stands, and nothing is
// left beside it.
void ReplaceTextFile(const std::string& file, const std::string& text);

}  // namespace Console
