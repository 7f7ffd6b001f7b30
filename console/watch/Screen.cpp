// The only source that includes curses, because the macros of curses collide with names of the
// host.
#define _XOPEN_SOURCE_EXTENDED 1
#include "console/watch/Screen.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

#define NCURSES_NOMACROS 1
#include <curses.h>

namespace Console {
namespace {

struct KeyRow {
  int m_Code;
  Key m_Key;
};

constexpr int kEscape = 27;

constexpr KeyRow kKeys[] = {
    {KEY_UP, Key::Up},          {'k', Key::Up},
    {KEY_DOWN, Key::Down},      {'j', Key::Down},
    {KEY_PPAGE, Key::PageUp},   {KEY_NPAGE, Key::PageDown},
    {' ', Key::PageDown},       {KEY_HOME, Key::First},
    {'g', Key::First},          {KEY_END, Key::Last},
    {'G', Key::Last},           {KEY_ENTER, Key::Enter},
    {'\n', Key::Enter},         {'\r', Key::Enter},
    {KEY_RIGHT, Key::Enter},    {KEY_LEFT, Key::Back},
    {KEY_BACKSPACE, Key::Back}, {kEscape, Key::Back},
    {'e', Key::Events},         {'q', Key::Quit},
    {KEY_RESIZE, Key::Resize},
};

// Color pairs by severity.
constexpr short kPairs[] = {0, 1, 2, 3};

void DefineColors() {
  if (has_colors() == FALSE || start_color() == ERR) return;
  const short background = use_default_colors() == OK ? -1 : COLOR_BLACK;
  init_pair(1, COLOR_GREEN, background);
  init_pair(2, COLOR_YELLOW, background);
  init_pair(3, COLOR_RED, background);
}

attr_t AttributesOf(const Piece& piece) {
  const bool isAlert = piece.m_Severity == Severity::Warning || piece.m_Severity == Severity::Bad;
  attr_t attributes = A_NORMAL;
  if (piece.m_Strong || isAlert) attributes |= A_BOLD;
  if (piece.m_Reverse) attributes |= A_REVERSE;
  return attributes;
}

}  // namespace

struct Screen::Terminal {
  SCREEN* m_pScreen = nullptr;
  bool m_Color = false;
};

Screen::Screen(std::unique_ptr<Terminal> terminal) : m_pTerminal(std::move(terminal)) {}

bool Screen::IsSupported(std::FILE* out) {
  const char* terminalType = secure_getenv("TERM");
  return terminalType != nullptr && *terminalType != '\0' &&
         std::strcmp(terminalType, "dumb") != 0 && out != nullptr && isatty(fileno(out)) != 0 &&
         isatty(STDIN_FILENO) != 0;
}

std::unique_ptr<Screen> Screen::Open(std::FILE* out, const Style& style) {
  if (!IsSupported(out)) return nullptr;
  constexpr int kEscapeDelayMs = 50;
  set_escdelay(kEscapeDelayMs);
  auto terminal = std::make_unique<Terminal>();
  terminal->m_pScreen = newterm(nullptr, out, stdin);
  if (terminal->m_pScreen == nullptr) return nullptr;
  terminal->m_Color = style.m_Color;
  std::unique_ptr<Screen> screen(new Screen(std::move(terminal)));
  // cbreak() rather than raw(): Ctrl-C must still raise SIGINT, so that the program exits cleanly.
  cbreak();
  noecho();
  nonl();
  intrflush(stdscr, FALSE);
  keypad(stdscr, TRUE);
  nodelay(stdscr, TRUE);
  curs_set(0);
  if (style.m_Color) DefineColors();
  return screen;
}

Screen::~Screen() {
  endwin();
  delscreen(m_pTerminal->m_pScreen);
}

ScreenSize Screen::Size() const {
  return {static_cast<std::size_t>(std::max(getmaxy(stdscr), 0)),
          static_cast<std::size_t>(std::max(getmaxx(stdscr), 0))};
}

Key Screen::Read() {
  for (int code = wgetch(stdscr); code != ERR; code = wgetch(stdscr)) {
    for (const KeyRow& row : kKeys) {
      if (row.m_Code == code) return row.m_Key;
    }
  }
  return Key::None;
}

void Screen::Show(const std::vector<Line>& lines) {
  const ScreenSize size = Size();
  werase(stdscr);
  for (std::size_t row = 0; row < std::min(lines.size(), size.m_Rows); ++row) {
    wmove(stdscr, static_cast<int>(row), 0);
    for (const Piece& piece : CutLine(lines[row], size.m_Columns)) {
      const short pair = kPairs[static_cast<std::size_t>(piece.m_Severity)];
      wattr_set(stdscr, AttributesOf(piece), m_pTerminal->m_Color ? pair : short{0}, nullptr);
      waddstr(stdscr, piece.m_Text.c_str());
    }
  }
  wattr_set(stdscr, A_NORMAL, 0, nullptr);
  wrefresh(stdscr);
}

}  // namespace Console
