// The terminal as a full screen with keys; its previous contents are restored when it is destroyed.
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
  // Whether `out` and standard input are terminals, and not dumb ones.
  static bool IsPossible(std::FILE* out);
  // Takes over the terminal of `out`, with the keys of standard input. Null if that is not possible
  // or the terminal type is unknown.
  static std::unique_ptr<Screen> Open(std::FILE* out, const Style& style);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  ScreenSize Size() const;
  // The next pending key, or none; does not block.
  Key Read();
  // Shows these lines from the top, truncated to the size of the screen.
  void Show(const std::vector<Line>& lines);

 private:
  struct Terminal;
  explicit Screen(std::unique_ptr<Terminal> terminal);

  std::unique_ptr<Terminal> m_pTerminal;
};

}  // namespace Console
