// The live view: drawing the screen and handling keys.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "console/watch/LiveModel.h"
#include "console/watch/Screen.h"
#include "console/watch/ScreenLines.h"

namespace Console {

// What the caller must do after a key.
enum class WatchAction { None, Quit, Locate };

class WatchView {
 public:
  // `host` is the name of the machine, for the title.
  WatchView(std::string host, bool ascii) : m_Host(std::move(host)), m_Ascii(ascii) {}

  // Returns all lines of the screen. `nowMs` is the current time in milliseconds since the epoch.
  std::vector<Line> Draw(const LiveModel& live, ScreenSize size, std::uint64_t nowMs);
  // Handles a key.
  WatchAction HandleKey(const KeyPress& press, const LiveModel& live);
  // Returns the id of the selected object; 0 if there is none.
  std::uint64_t Selected() const { return m_Selected; }
  // Shows a message at the bottom until the next key.
  void SetMessage(const std::string& message) { m_Message = message; }

 private:
  enum class Page { Cards, Events, Object, Help };

  Line Title(const LiveModel& live, ScreenSize size, std::uint64_t nowMs) const;
  Line Footer(ScreenSize size) const;
  std::vector<Line> DrawCards(const LiveModel& live, ScreenSize size, std::uint64_t nowMs);
  std::vector<Line> DrawEvents(const LiveModel& live, ScreenSize size, std::uint64_t nowMs);
  std::vector<Line> DrawObject(const LiveModel& live, ScreenSize size);
  std::vector<Line> DrawHelp(ScreenSize size);
  std::vector<Line> VisibleLines(const std::vector<Line>& lines, std::size_t rows);
  std::vector<const Object*> ShownObjects(const Model& model) const;
  void EnsureSelection(const std::vector<const Object*>& objects);
  void MoveSelection(std::ptrdiff_t step, const Model& model);
  void Move(Key key, const LiveModel& live);
  bool HandleText(const KeyPress& press);
  void Show(Page page);

  const std::string m_Host;
  const bool m_Ascii;
  Page m_Page = Page::Cards;
  std::string m_Find;            // only cards that contain this text are shown; empty: all
  bool m_IsFinding = false;      // whether keys edit `m_Find`
  std::size_t m_Sort = 0;        // index of the order of the cards
  std::string m_Message;         // empty: none
  std::uint64_t m_Selected = 0;  // id of the selected object
  bool m_HasMoved = false;       // until the user selects an object, the first one is selected
  std::size_t m_Scroll = 0;      // number of lines before the page; in the event log, after it
  std::size_t m_PageRows = 10;   // as last drawn
};

}  // namespace Console
