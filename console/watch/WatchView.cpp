#include "console/watch/WatchView.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <cmath>
#include <iterator>
#include <limits>
#include <string>
#include <utility>

#include "base/Printable.h"
#include "console/base/DateTimeText.h"
#include "console/base/Timestamp.h"
#include "console/model/FieldTable.h"
#include "console/model/Health.h"
#include "console/render/HealthCells.h"
#include "console/render/ObjectTable.h"
#include "console/render/Table.h"
#include "console/report/CardList.h"
#include "console/watch/CardTable.h"

namespace Console {
namespace {

using Lines = std::vector<Line>;

// Counts the cards by state: "3 cards: 1 FAILED, 2 ok".
std::string CountsText(const Model& model) {
  std::vector<std::pair<std::string, std::size_t>> counts;
  std::size_t cards = 0;
  for (const Object* card : CardsWorstFirst(model)) {
    const std::string status = StatusText(HealthOf(*card).m_Status);
    const auto found = std::find_if(counts.begin(), counts.end(),
                                    [&](const auto& each) { return each.first == status; });
    if (found == counts.end()) {
      counts.emplace_back(status, 1);
    } else {
      ++found->second;
    }
    ++cards;
  }
  std::string text = fmt::format("{} card{}", cards, cards == 1 ? "" : "s");
  const char* separator = ": ";
  for (const auto& [status, count] : counts) {
    text += fmt::format("{}{} {}", separator, count, status);
    separator = ", ";
  }
  return text;
}

constexpr std::size_t kDateColumns = 10, kTimeColumns = 8;

// Returns the date or the time of day in the local time zone.
std::string LocalDate(std::uint64_t milliseconds) {
  return LocalTimeText(milliseconds).substr(0, kDateColumns);
}

std::string LocalTimeOfDay(std::uint64_t milliseconds) {
  return LocalTimeText(milliseconds).substr(kDateColumns + 1, kTimeColumns);
}

std::uint64_t TimeOf(const LiveModel::Entry& entry) {
  return entry.m_Row.m_Cells[0].m_Time;
}

std::string EventTimeText(const LiveModel::Entry& entry, bool withDate) {
  const std::string time = LocalTimeOfDay(TimeOf(entry));
  return withDate ? LocalDate(TimeOf(entry)) + " " + time : time;
}

Line EventLine(const LiveModel::Entry& entry, std::size_t objectColumns, bool withDate) {
  const std::vector<Cell>& cells = entry.m_Row.m_Cells;
  return {{EventTimeText(entry, withDate) + "  "},
          {Fit(cells[1].m_Human, 11) + "  ", entry.m_Severity},
          {Fit(Base::Printable(cells[4].m_Human), objectColumns) + "  "},
          {cells[3].m_Human + "  "},
          {Base::Printable(cells[5].m_Human)}};
}

// Draws the log. Dates are shown unless all events are from today.
Lines LogLines(const LiveModel& live, std::uint64_t nowMs, std::size_t columns, bool ascii) {
  const std::string today = LocalDate(nowMs);
  bool withDate = false;
  std::size_t objectColumns = 6;
  for (const LiveModel::Entry& entry : live.Log()) {
    withDate = withDate || LocalDate(TimeOf(entry)) != today;
    objectColumns =
        std::max(objectColumns, ColumnsOf(Base::Printable(entry.m_Row.m_Cells[4].m_Human)));
  }
  Lines lines;
  for (const LiveModel::Entry& entry : live.Log()) {
    lines.push_back(ShortenLine(EventLine(entry, objectColumns, withDate), columns, ascii));
  }
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

// An order of the cards. Cards that are equal keep the order of their severity.
struct Order {
  const char* m_Name;
  double (*m_Key)(const Object& card);  // higher values first; null: by severity
};

double FieldKey(const Object& card, const char* name) {
  const Value value = ReadField(card, name);
  const auto* number = std::get_if<double>(&value.m_Data);
  return number == nullptr ? -std::numeric_limits<double>::infinity() : *number;
}

constexpr Order kOrders[] = {
    {"worst first", nullptr},
    {"temperature", [](const Object& card) { return FieldKey(card, "temperature_celsius"); }},
    {"endurance used", [](const Object& card) { return FieldKey(card, "endurance_used_ratio"); }},
    {"reserve",
     [](const Object& card) {
       const double reserve = FieldKey(card, "reserve_space_ratio");
       return std::isinf(reserve) ? reserve : -reserve;
     }},
};

struct KeyHelp {
  const char* m_Key;
  const char* m_Effect;
};

constexpr KeyHelp kKeyHelp[] = {
    {"up, down, k, j", "select a card or drive, or scroll"},
    {"page up, page down", "move by a page"},
    {"home, end, g, G", "move to the start or the end"},
    {"Enter", "show the details of the selected object, or go back"},
    {"/", "find: show only cards with this text in a name, serial number, address or status"},
    {"s", "sort by severity, temperature, endurance used or reserve"},
    {"l", "switch the locate LED of the selected card on or off"},
    {"e", "show all events, or go back"},
    {"?", "show this help, or go back"},
    {"Esc", "go back, or end the search"},
    {"q", "quit"},
};

bool Contains(const std::string& text, const std::string& part) {
  return boost::icontains(text, part);
}

// Whether the text occurs in what identifies the card or one of its drives.
bool IsFound(const Model& model, const Object& card, const std::string& text) {
  for (const char* name : {"name", "serial_number", "pci_address"}) {
    if (Contains(FieldText(card, name), text)) return true;
  }
  if (Contains(card.m_Selector, text)) return true;
  const Health health = HealthOf(card);
  if (Contains(StatusText(health.m_Status), text) || Contains(ReasonNames(health), text))
    return true;
  const std::vector<const Object*> drives = DrivesOf(model, card);
  return std::any_of(drives.begin(), drives.end(), [&](const Object* drive) {
    return Contains(FieldText(*drive, "name"), text) || Contains(drive->m_Selector, text);
  });
}

// All times on the screen are local.
std::string DetailText(const Cell& cell) {
  return cell.m_Time != 0 ? DateTimeText(cell.m_Time, TimeZone::Local)
                          : Base::Printable(cell.m_Human);
}

}  // namespace

std::vector<Line> WatchView::Draw(const LiveModel& live, ScreenSize size, std::uint64_t nowMs) {
  constexpr std::size_t kFrame = 2;  // the title and the line with the keys
  const ScreenSize inner{size.m_Rows > kFrame ? size.m_Rows - kFrame : 0, size.m_Columns};
  m_PageRows = std::max<std::size_t>(inner.m_Rows, 1);
  Lines lines = {Title(live, size, nowMs)};
  if (m_Page == Page::Cards) Append(lines, DrawCards(live, inner, nowMs));
  if (m_Page == Page::Events) Append(lines, DrawEvents(live, inner, nowMs));
  if (m_Page == Page::Object) Append(lines, DrawObject(live, inner));
  if (m_Page == Page::Help) Append(lines, DrawHelp(inner));
  lines.resize(inner.m_Rows + 1);
  lines.push_back(Footer(size));
  return lines;
}

// The time is omitted if the counts leave no room for it.
Line WatchView::Title(const LiveModel& live, ScreenSize size, std::uint64_t nowMs) const {
  const std::string left =
      fmt::format(" {}  {}", Base::Printable(m_Host), CountsText(live.CurrentModel()));
  // Old values have the time of their report instead of the clock.
  const std::uint64_t time = live.IsCurrent() ? nowMs : live.ObservedAt();
  const std::string right = fmt::format("  {}{} {} ", live.IsCurrent() ? "" : "disconnected since ",
                                        LocalDate(time), LocalTimeOfDay(time));
  const bool hasRoom = ColumnsOf(left) + right.size() <= size.m_Columns;
  const std::size_t room = hasRoom ? size.m_Columns - right.size() : size.m_Columns;
  return {{Fit(left, room, m_Ascii) + (hasRoom ? right : ""), Severity::Neutral, true, true}};
}

Line WatchView::Footer(ScreenSize size) const {
  std::string text = " q quit  ? help  Esc back  e events  arrows scroll";
  if (m_Page == Page::Cards) {
    text = fmt::format(" q quit  ? help  e events  Enter details  / find  s sort ({})  l locate",
                       kOrders[m_Sort].m_Name);
    if (!m_Find.empty() || m_IsFinding) {
      text = fmt::format(" find: {}   {}   Esc show all",
                         Base::Printable(m_Find) + (m_IsFinding ? "_" : ""),
                         m_IsFinding ? "Enter keep" : "Enter details");
    }
  }
  if (!m_Message.empty()) text = " " + Base::Printable(m_Message);
  return {{Fit(text, size.m_Columns, m_Ascii), Severity::Neutral, false, true}};
}

std::vector<const Object*> WatchView::ShownObjects(const Model& model) const {
  std::vector<const Object*> cards = CardsWorstFirst(model);
  if (const auto key = kOrders[m_Sort].m_Key) {
    std::stable_sort(cards.begin(), cards.end(), [&](const Object* one, const Object* other) {
      return key(*one) > key(*other);
    });
  }
  std::vector<const Object*> shown;
  for (const Object* card : cards) {
    if (!m_Find.empty() && !IsFound(model, *card, m_Find)) continue;
    const std::vector<const Object*> drives = DrivesOf(model, *card);
    shown.push_back(card);
    shown.insert(shown.end(), drives.begin(), drives.end());
  }
  return shown;
}

// Draws the cards above the log. If there are many cards, the log keeps a few lines.
std::vector<Line> WatchView::DrawCards(const LiveModel& live, ScreenSize size,
                                       std::uint64_t nowMs) {
  constexpr std::size_t kMinLog = 4, kHeadings = 3;
  const std::vector<const Object*> objects = ShownObjects(live.CurrentModel());
  EnsureSelection(objects);
  const CardTable cards = DrawCardTable(live, objects, m_Selected, size.m_Columns, m_Ascii);
  const std::size_t taken = kHeadings + kMinLog;
  const std::size_t room = size.m_Rows > taken ? size.m_Rows - taken : 1;
  if (cards.m_Selected < m_Scroll) m_Scroll = cards.m_Selected;
  if (cards.m_Selected >= m_Scroll + room) m_Scroll = cards.m_Selected - room + 1;

  Lines lines = {cards.m_Headings};
  Append(lines, VisibleLines(cards.m_Lines, room));
  lines.push_back({});
  lines.push_back(Heading(fmt::format("EVENTS ({})", live.EventCount())));
  const std::size_t left = size.m_Rows > lines.size() ? size.m_Rows - lines.size() : 0;
  Append(lines, Tail(LogLines(live, nowMs, size.m_Columns, m_Ascii), left, 0));
  return lines;
}

void WatchView::EnsureSelection(const std::vector<const Object*>& objects) {
  const bool isShown = std::any_of(objects.begin(), objects.end(), [&](const Object* object) {
    return object->m_ID == m_Selected;
  });
  if (objects.empty()) return;
  if (!m_HasMoved || !isShown) m_Selected = objects.front()->m_ID;
}

std::vector<Line> WatchView::DrawEvents(const LiveModel& live, ScreenSize size,
                                        std::uint64_t nowMs) {
  const Lines log = LogLines(live, nowMs, size.m_Columns, m_Ascii);
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
    if (field.m_Name == std::string("status")) continue;  // in the first line
    const Cell cell = ObjectCell(*object, field.m_Name, m_Ascii);
    lines.push_back({{Fit(field.m_Name, kNames)}, {DetailText(cell), cell.m_Severity}});
  }
  for (Line& line : lines) line = ShortenLine(line, size.m_Columns, m_Ascii);
  Lines page = {Heading(fmt::format("{}  {}", object->m_Selector, IdText(*object)))};
  Append(page, VisibleLines(lines, size.m_Rows > 0 ? size.m_Rows - 1 : 0));
  return page;
}

std::vector<Line> WatchView::DrawHelp(ScreenSize size) {
  constexpr std::size_t kNames = 20;
  Lines lines;
  for (const KeyHelp& row : kKeyHelp) {
    lines.push_back(
        ShortenLine({{Fit(row.m_Key, kNames)}, {row.m_Effect}}, size.m_Columns, m_Ascii));
  }
  Lines page = {Heading("KEYS")};
  Append(page, VisibleLines(lines, size.m_Rows > 0 ? size.m_Rows - 1 : 0));
  return page;
}

std::vector<Line> WatchView::VisibleLines(const std::vector<Line>& lines, std::size_t rows) {
  const std::size_t maximum = lines.size() - std::min(rows, lines.size());
  m_Scroll = std::min(m_Scroll, maximum);
  const auto first = lines.begin() + static_cast<std::ptrdiff_t>(m_Scroll);
  return {first, first + static_cast<std::ptrdiff_t>(std::min(rows, lines.size()))};
}

void WatchView::Show(Page page) {
  m_Page = page == m_Page ? Page::Cards : page;
  m_Scroll = 0;
}

// Edits the text to find. Returns false if the key does not edit it.
bool WatchView::HandleText(const KeyPress& press) {
  if (!m_IsFinding) return false;
  if (press.m_Key == Key::Escape) m_Find.clear();
  if (press.m_Key == Key::Escape || press.m_Key == Key::Enter) {
    m_IsFinding = false;
  } else if (press.m_Key == Key::Erase) {
    // Removes a character with all its bytes.
    while (!m_Find.empty() && (static_cast<unsigned char>(m_Find.back()) & 0xC0) == 0x80)
      m_Find.pop_back();
    if (!m_Find.empty()) m_Find.pop_back();
  } else if (!press.m_Text.empty()) {
    m_Find += press.m_Text;
  } else {
    return false;
  }
  m_HasMoved = false;
  m_Scroll = 0;
  return true;
}

WatchAction WatchView::HandleKey(const KeyPress& press, const LiveModel& live) {
  m_Message.clear();
  if (HandleText(press)) return WatchAction::None;
  switch (press.m_Key) {
    case Key::Quit:
      return WatchAction::Quit;
    case Key::Locate:
      return WatchAction::Locate;
    case Key::Events:
      Show(Page::Events);
      break;
    case Key::Help:
      Show(Page::Help);
      break;
    case Key::Enter:
      if (m_Page == Page::Cards || m_Page == Page::Object) Show(Page::Object);
      break;
    case Key::Escape:
      if (m_Page == Page::Cards) m_Find.clear();
      [[fallthrough]];
    case Key::Back:
    case Key::Erase:
      Show(Page::Cards);
      break;
    case Key::Find:
      m_Page = Page::Cards;
      m_IsFinding = true;
      break;
    case Key::Sort:
      m_Sort = (m_Sort + 1) % std::size(kOrders);
      m_HasMoved = false;
      m_Scroll = 0;
      break;
    default:
      Move(press.m_Key, live);
  }
  return WatchAction::None;
}

// On the card page, the keys select an object. On the other pages they scroll; the event log starts
// at its end, so scrolling up shows older events.
void WatchView::Move(Key key, const LiveModel& live) {
  const std::ptrdiff_t step = StepOf(key, static_cast<std::ptrdiff_t>(m_PageRows));
  if (step == 0) return;
  if (m_Page == Page::Cards) {
    MoveSelection(step, live.CurrentModel());
    return;
  }
  const auto scroll =
      static_cast<std::ptrdiff_t>(m_Scroll) + (m_Page == Page::Events ? -step : step);
  m_Scroll = static_cast<std::size_t>(std::max<std::ptrdiff_t>(scroll, 0));
}

void WatchView::MoveSelection(std::ptrdiff_t step, const Model& model) {
  const std::vector<const Object*> objects = ShownObjects(model);
  if (objects.empty()) return;
  const auto at = std::find_if(objects.begin(), objects.end(),
                               [&](const Object* object) { return object->m_ID == m_Selected; });
  const std::ptrdiff_t from = at == objects.end() ? 0 : at - objects.begin();
  const auto last = static_cast<std::ptrdiff_t>(objects.size()) - 1;
  const std::ptrdiff_t to = std::clamp<std::ptrdiff_t>(from + step, 0, last);
  m_Selected = objects[static_cast<std::size_t>(to)]->m_ID;
  m_HasMoved = true;
}

}  // namespace Console
