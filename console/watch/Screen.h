// The whole terminal as a screen: lines are put on it, keys come from it, and what was there before
// is back when it is gone.
#pragma once

#include <cstdio>
#include <memory>
#include <vector>

#include "console/base/Output.h"
#include "console/watch/ScreenLines.h"

namespace Console {

enum class Key {
  None,
  Up,
  Down,
  PageUp,
  PageDown,
  First,
  Last,
  Enter,
  Back,
  Events,
  Leave,
  Resize
};

struct ScreenSize {
  std::size_t m_Rows;
  std::size_t m_Columns;
};

// At most one at a time, and for the thread that made it.
class Screen {
 public:
  // Whether both `out` and standard input are a terminal, and not a dumb one.
  static bool IsPossible(std::FILE* out);
  // Takes over the terminal behind `out` with the keys of standard input. Null when that is not
  // possible, or nothing is known about terminals of its kind.
  static std::unique_ptr<Screen> Open(std::FILE* out, const Style& style);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  ScreenSize Size() const;
  // The next key that waits, or none; never waits itself.
  Key Read();
  // Shows these lines from the top, cut to the size, and nothing else.
  void Show(const std::vector<Line>& lines);

 private:
  struct Terminal;
  explicit Screen(std::unique_ptr<Terminal> terminal);

  std::unique_ptr<Terminal> m_pTerminal;
};

}  // namespace Console
