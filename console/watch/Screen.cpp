// The only source that includes curses, because the macros of curses collide with names of the
// host.
#define _XOPEN_SOURCE_EXTENDED 1
#include "console/watch/Screen.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <utility>

#define NCURSES_NOMACROS 1
#include <curses.h>

namespace Console {
namespace {

struct KeyRow {
  wint_t m_Code;
  Key m_Key;
};

constexpr wint_t kEscape = 27;
constexpr wint_t kDelete = 127;
constexpr wint_t kBackspace = 8;

// Keys that type no character.
constexpr KeyRow kFunctionKeys[] = {
    {KEY_UP, Key::Up},          {KEY_DOWN, Key::Down},       {KEY_PPAGE, Key::PageUp},
    {KEY_NPAGE, Key::PageDown}, {KEY_HOME, Key::First},      {KEY_END, Key::Last},
    {KEY_ENTER, Key::Enter},    {KEY_RIGHT, Key::Enter},     {KEY_LEFT, Key::Back},
    {KEY_RESIZE, Key::Resize},  {KEY_BACKSPACE, Key::Erase},
};

constexpr KeyRow kCharacters[] = {
    {'k', Key::Up},     {'j', Key::Down},   {' ', Key::PageDown},  {'g', Key::First},
    {'G', Key::Last},   {'\n', Key::Enter}, {'\r', Key::Enter},    {kEscape, Key::Escape},
    {'e', Key::Events}, {'q', Key::Quit},   {'/', Key::Find},      {'?', Key::Help},
    {'l', Key::Locate}, {'s', Key::Sort},   {kDelete, Key::Erase}, {kBackspace, Key::Erase},
};

template <class Rows>
Key FindKey(const Rows& rows, wint_t code, Key otherwise) {
  for (const KeyRow& row : rows) {
    if (row.m_Code == code) return row.m_Key;
  }
  return otherwise;
}

// Returns the bytes of a printable character, or an empty string.
std::string TextOf(wint_t character) {
  std::array<char, MB_LEN_MAX> bytes{};
  std::mbstate_t state = {};
  if (iswprint(character) == 0) return {};
  const std::size_t count = std::wcrtomb(bytes.data(), static_cast<wchar_t>(character), &state);
  return count == static_cast<std::size_t>(-1) ? std::string() : std::string(bytes.data(), count);
}

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

KeyPress Screen::Read() {
  wint_t code = 0;
  for (int kind = wget_wch(stdscr, &code); kind != ERR; kind = wget_wch(stdscr, &code)) {
    KeyPress press;
    if (kind == KEY_CODE_YES) {
      press.m_Key = FindKey(kFunctionKeys, code, Key::None);
    } else {
      press = {FindKey(kCharacters, code, Key::Text), TextOf(code)};
    }
    if (press.m_Key != Key::None) return press;
  }
  return {};
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
