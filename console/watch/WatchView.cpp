#include "console/watch/WatchView.h"

#include <fmt/format.h>

#include <algorithm>

#include "base/Printable.h"
#include "console/model/FieldTable.h"
#include "console/model/Health.h"
#include "console/render/HealthCells.h"
#include "console/render/Table.h"
#include "console/watch/CardTable.h"

namespace Console {
namespace {

using Lines = std::vector<Line>;

Line Title(const LiveModel& live, ScreenSize size, const std::string& time) {
  std::size_t cards = 0, unhealthy = 0;
  for (const Object* object : ObjectsWithStatus(live.CurrentModel())) {
    if (object->m_Kind != Kind::Adapter) continue;
    ++cards;
    if (!IsHealthy(HealthOf(*object).m_Status)) ++unhealthy;
  }
  const std::string left = fmt::format(" corvane-host watch   {} card{}, {} not ok", cards,
                                       cards == 1 ? "" : "s", unhealthy);
  const std::string right = fmt::format(" {} ", time);
  const std::size_t room = size.m_Columns > right.size() ? size.m_Columns - right.size() : 0;
  return {{Fit(left, room) + right, Severity::Neutral, true, true}};
}

// Extracts the time from text such as 2026-11-21T05:31:02+00:00, with the date if `withDate`.
std::string EventTimeText(const LiveModel::Entry& entry, bool withDate) {
  const std::string& time = entry.m_Row.m_Cells[0].m_Human;
  return withDate ? time.substr(0, 10) + " " + time.substr(11, 8) : time.substr(11, 8);
}

Line EventLine(const LiveModel::Entry& entry, bool withDate) {
  const std::vector<Cell>& cells = entry.m_Row.m_Cells;
  return {{EventTimeText(entry, withDate) + "  "},
          {Fit(cells[1].m_Human, 11) + "  ", entry.m_Severity},
          {Fit(cells[4].m_Human, 6) + "  "},
          {cells[3].m_Human + "  "},
          {Base::Printable(cells[5].m_Human)}};
}

bool IsOnDayOf(const LiveModel::Entry& entry, const std::string& time) {
  return entry.m_Row.m_Cells[0].m_Human.substr(0, 10) == time.substr(0, 10);
}

// Draws the log. Dates are shown unless all events are from the day of `time`.
Lines LogLines(const LiveModel& live, const std::string& time) {
  const bool withDate =
      !std::all_of(live.Log().begin(), live.Log().end(),
                   [&](const LiveModel::Entry& each) { return IsOnDayOf(each, time); });
  Lines lines;
  for (const LiveModel::Entry& entry : live.Log()) lines.push_back(EventLine(entry, withDate));
  return lines;
}

// Returns up to `rows` lines, the last of them `below` lines before the end.
Lines Tail(const Lines& lines, std::size_t rows, std::size_t below) {
  const std::size_t end = lines.size() - std::min(below, lines.size());
  const std::size_t begin = end - std::min(rows, end);
  return {lines.begin() + static_cast<std::ptrdiff_t>(begin),
          lines.begin() + static_cast<std::ptrdiff_t>(end)};
}

void Append(Lines& lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
}

Line Heading(const std::string& text) {
  return {{text, Severity::Neutral, true}};
}

void AddReasons(Lines& lines, const Health& health, bool ascii) {
  for (const Reason& reason : health.m_Reasons) {
    lines.push_back({{"  why   " + ReasonText(reason, ascii)}});
    lines.push_back({{"  do    " + reason.m_Advice}});
  }
}

// Returns the number of objects or lines by which a key moves; `page` is the number on a page.
std::ptrdiff_t StepOf(Key key, std::ptrdiff_t page) {
  constexpr std::ptrdiff_t kFar = 100'000;
  switch (key) {
    case Key::Up:
      return -1;
    case Key::Down:
      return 1;
    case Key::PageUp:
      return -page;
    case Key::PageDown:
      return page;
    case Key::First:
      return -kFar;
    case Key::Last:
      return kFar;
    default:
      return 0;
  }
}

}  // namespace

std::vector<Line> WatchView::Draw(const LiveModel& live, ScreenSize size, const std::string& time) {
  constexpr std::size_t kFrame = 2;  // the title and the line with the keys
  const ScreenSize inner{size.m_Rows > kFrame ? size.m_Rows - kFrame : 0, size.m_Columns};
  m_PageRows = std::max<std::size_t>(inner.m_Rows, 1);
  Lines lines = {Title(live, size, time)};
  if (m_Page == Page::Cards) Append(lines, DrawCards(live, inner, time));
  if (m_Page == Page::Events) Append(lines, DrawEvents(live, inner, time));
  if (m_Page == Page::Object) Append(lines, DrawObject(live, inner));
  lines.resize(inner.m_Rows + 1);
  const char* keys = m_Page == Page::Cards ? " q quit   e events   Enter object   arrows select"
                                           : " q quit   Esc back   e events   arrows scroll";
  lines.push_back({{Fit(keys, size.m_Columns), Severity::Neutral, false, true}});
  return lines;
}

// Draws the cards above the log. If there are many cards, the log keeps a few lines.
std::vector<Line> WatchView::DrawCards(const LiveModel& live, ScreenSize size,
                                       const std::string& time) {
  constexpr std::size_t kMinLog = 4, kHeadings = 3;
  EnsureSelection(live.CurrentModel());
  const CardTable cards = DrawCardTable(live, m_Selected, size.m_Columns, m_Ascii);
  const std::size_t taken = kHeadings + kMinLog;
  const std::size_t room = size.m_Rows > taken ? size.m_Rows - taken : 1;
  if (cards.m_Selected < m_Scroll) m_Scroll = cards.m_Selected;
  if (cards.m_Selected >= m_Scroll + room) m_Scroll = cards.m_Selected - room + 1;

  Lines lines = {cards.m_Headings};
  Append(lines, VisibleLines(cards.m_Lines, room));
  lines.push_back({});
  lines.push_back(Heading(fmt::format("EVENTS ({})", live.EventCount())));
  const std::size_t left = size.m_Rows > lines.size() ? size.m_Rows - lines.size() : 0;
  Append(lines, Tail(LogLines(live, time), left, 0));
  return lines;
}

void WatchView::EnsureSelection(const Model& model) {
  const std::vector<const Object*> objects = ObjectsWithStatus(model);
  if (!objects.empty() && model.Find(m_Selected) == nullptr) m_Selected = objects.front()->m_ID;
}

std::vector<Line> WatchView::DrawEvents(const LiveModel& live, ScreenSize size,
                                        const std::string& time) {
  const Lines log = LogLines(live, time);
  const std::size_t rows = size.m_Rows > 0 ? size.m_Rows - 1 : 0;
  m_Scroll = std::min(m_Scroll, log.size() - std::min(rows, log.size()));
  Lines lines = {Heading(fmt::format("EVENTS ({})", live.EventCount()))};
  Append(lines, Tail(log, rows, m_Scroll));
  if (log.empty()) lines.push_back({{"The event log is empty."}});
  return lines;
}

std::vector<Line> WatchView::DrawObject(const LiveModel& live, ScreenSize size) {
  const Object* object = live.CurrentModel().Find(m_Selected);
  if (object == nullptr) return {Heading("This object has been removed.")};
  const Health health = HealthOf(*object);
  constexpr std::size_t kNames = 30;
  Lines lines = {
      {{Fit("status", kNames)}, {StatusText(health.m_Status), health.m_Status.m_Severity}}};
  AddReasons(lines, health, m_Ascii);
  for (const Field& field : FieldsOf(object->m_Kind)) {
    const Value value = ReadField(*object, field);
    lines.push_back({{Fit(field.m_Name, kNames)},
                     {Base::Printable(HumanText(value, m_Ascii)), value.m_Severity}});
  }
  Lines page = {Heading(fmt::format("{}  {}", object->m_Selector, IdText(*object)))};
  Append(page, VisibleLines(lines, size.m_Rows > 0 ? size.m_Rows - 1 : 0));
  return page;
}

std::vector<Line> WatchView::VisibleLines(const std::vector<Line>& lines, std::size_t rows) {
  const std::size_t maximum = lines.size() - std::min(rows, lines.size());
  m_Scroll = std::min(m_Scroll, maximum);
  const auto first = lines.begin() + static_cast<std::ptrdiff_t>(m_Scroll);
  return {first, first + static_cast<std::ptrdiff_t>(std::min(rows, lines.size()))};
}

bool WatchView::HandleKey(Key key, const LiveModel& live) {
  switch (key) {
    case Key::Quit:
      return false;
    case Key::Events:
      m_Page = m_Page == Page::Events ? Page::Cards : Page::Events;
      m_Scroll = 0;
      break;
    case Key::Enter:
      if (m_Page != Page::Events) {
        m_Page = m_Page == Page::Object ? Page::Cards : Page::Object;
        m_Scroll = 0;
      }
      break;
    case Key::Back:
      m_Page = Page::Cards;
      m_Scroll = 0;
      break;
    default:
      Move(key, live);
  }
  return true;
}

// On the card page, the keys select an object. On the other pages they scroll; the event log starts
// at its end, so scrolling up shows older events.
void WatchView::Move(Key key, const LiveModel& live) {
  const std::ptrdiff_t step = StepOf(key, static_cast<std::ptrdiff_t>(m_PageRows));
  if (m_Page == Page::Cards) {
    MoveSelection(step, live.CurrentModel());
    return;
  }
  const auto scroll =
      static_cast<std::ptrdiff_t>(m_Scroll) + (m_Page == Page::Events ? -step : step);
  m_Scroll = static_cast<std::size_t>(std::max<std::ptrdiff_t>(scroll, 0));
}

void WatchView::MoveSelection(std::ptrdiff_t step, const Model& model) {
  const std::vector<const Object*> objects = ObjectsWithStatus(model);
  if (objects.empty()) return;
  const auto at = std::find_if(objects.begin(), objects.end(),
                               [&](const Object* object) { return object->m_ID == m_Selected; });
  const std::ptrdiff_t from = at == objects.end() ? 0 : at - objects.begin();
  const auto last = static_cast<std::ptrdiff_t>(objects.size()) - 1;
  const std::ptrdiff_t to = std::clamp<std::ptrdiff_t>(from + step, 0, last);
  m_Selected = objects[static_cast<std::size_t>(to)]->m_ID;
}

}  // namespace Console
