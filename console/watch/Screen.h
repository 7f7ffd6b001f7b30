// A full-screen view on a terminal, with key input.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
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
  Escape,
  Erase,
  Events,
  Find,
  Help,
  Locate,
  Sort,
  Quit,
  Resize,
  Text  // any other character
};

struct KeyPress {
  Key m_Key = Key::None;
  std::string m_Text;  // the character that was typed; empty for other keys
};

struct ScreenSize {
  std::size_t m_Rows;
  std::size_t m_Columns;
};

// Restores the terminal's previous contents when destroyed. Only one may exist at a time. Call only
// from the thread that created it.
class Screen {
 public:
  // Whether `out` and standard input are terminals and TERM names a terminal other than "dumb".
  static bool IsSupported(std::FILE* out);
  // Opens a screen on the terminal `out`, with keys from standard input. Returns null if this is
  // not possible or the terminal type is unknown.
  static std::unique_ptr<Screen> Open(std::FILE* out, const Style& style);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  ScreenSize Size() const;
  // Returns the next pending key, or `Key::None`; does not block.
  KeyPress Read();
  // Shows the lines from the top, truncated to the size of the screen.
  void Show(const std::vector<Line>& lines);

 private:
  struct Terminal;
  explicit Screen(std::unique_ptr<Terminal> terminal);

  std::unique_ptr<Terminal> m_pTerminal;
};

}  // namespace Console
