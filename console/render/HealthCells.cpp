#include "console/render/HealthCells.h"

namespace Console {

std::string StatusText(const Value& status) {
  return status.Known() ? ValueCell(status, false).m_Human : "unknown";
}

Cell StatusCell(const Health& health) {
  Cell cell = ValueCell(health.m_Shown, false);
  cell.m_Bare = BareText(health.m_Status);
  return cell;
}

}  // namespace Console
