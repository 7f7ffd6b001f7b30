// The card table of the live view: one line per object, with its reasons below.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "console/watch/LiveModel.h"
#include "console/watch/ScreenLines.h"

namespace Console {

struct CardTable {
  Line m_Headings;
  std::vector<Line> m_Lines;
  std::size_t m_Selected = 0;  // index of the selected object's line
};

// Draws the table of these objects, which belong to the live model, for a screen with `columns`
// columns. `selected` is the id of the object whose line is highlighted. Only names are cut.
CardTable DrawCardTable(const LiveModel& live, const std::vector<const Object*>& objects,
                        std::uint64_t selected, std::size_t columns, bool ascii);

}  // namespace Console
