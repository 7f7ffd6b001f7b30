#include "console/render/HealthCells.h"

namespace Console {

std::string StatusText(const Value& status) {
  return status.Known() ? ValueCell(status, false).m_Human : "unknown";
}

}  // namespace Console
