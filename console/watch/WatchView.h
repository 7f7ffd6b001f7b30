// The live view: drawing the screen and handling keys.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "console/watch/LiveModel.h"
#include "console/watch/Screen.h"
#include "console/watch/ScreenLines.h"

namespace Console {

class WatchView {
 public:
  explicit WatchView(bool ascii) : m_Ascii(ascii) {}

  // Returns all lines of the screen. `time` is the current time, as text.
  std::vector<Line> Draw(const LiveModel& live, ScreenSize size, const std::string& time);
  // Handles a key. Returns false if the key quits.
  bool HandleKey(Key key, const LiveModel& live);

 private:
  enum class Page { Cards, Events, Object };

  std::vector<Line> DrawCards(const LiveModel& live, ScreenSize size, const std::string& time);
  std::vector<Line> DrawEvents(const LiveModel& live, ScreenSize size, const std::string& time);
  std::vector<Line> DrawObject(const LiveModel& live, ScreenSize size);
  std::vector<Line> VisibleLines(const std::vector<Line>& lines, std::size_t rows);
  void EnsureSelection(const Model& model);
  void MoveSelection(std::ptrdiff_t step, const Model& model);
  void Move(Key key, const LiveModel& live);

  const bool m_Ascii;
  Page m_Page = Page::Cards;
  std::uint64_t m_Selected = 0;  // id of the selected object
  std::size_t m_Scroll = 0;      // number of lines before the page; in the event log, after it
  std::size_t m_PageRows = 10;   // as last drawn
};

}  // namespace Console
