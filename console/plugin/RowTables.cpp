#include "console/plugin/RowTables.h"

namespace Console {

std::vector<std::string> RowTableNames() {
  std::vector<std::string> names;
  for (const RowSource& source : kRowSources) names.emplace_back(source.m_Name);
  return names;
}

}  // namespace Console
