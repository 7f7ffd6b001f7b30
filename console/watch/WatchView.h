// The live view: its lines, and what the keys do.
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

  // The whole screen, as it is at `time`.
  std::vector<Line> Draw(const LiveModel& live, ScreenSize size, const std::string& time);
  // False if the key quits.
  bool Press(Key key, const LiveModel& live);

 private:
  enum class Page { Cards, Events, Object };

  std::vector<Line> DrawCards(const LiveModel& live, ScreenSize size, const std::string& time);
  std::vector<Line> DrawEvents(const LiveModel& live, ScreenSize size, const std::string& time);
  std::vector<Line> DrawObject(const LiveModel& live, ScreenSize size);
  std::vector<Line> Scrolled(const std::vector<Line>& lines, std::size_t rows);
  void ChooseOne(const Model& model);
  void Choose(std::ptrdiff_t step, const Model& model);
  void Move(Key key, const LiveModel& live);

  const bool m_Ascii;
  Page m_Page = Page::Cards;
  std::uint64_t m_Chosen = 0;   // id of the object that the keys are at
  std::size_t m_Scroll = 0;     // lines above the page; below it in the event log
  std::size_t m_PageRows = 10;  // as last drawn
};

}  // namespace Console
