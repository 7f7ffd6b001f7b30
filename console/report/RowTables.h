// The tables of the host's database, as people call them.
#pragma once

#include <string>
#include <vector>

#include "hostkit/Database.h"

namespace Console {

// A table and its name on the command line.
struct RowSource {
  const char* m_Name;
  HostKit::RowKind m_Kind;
};

constexpr RowSource kRowSources[] = {{"adapter", HostKit::RowKind::Adapter},
                                     {"drive", HostKit::RowKind::Drive},
                                     {"plugin", HostKit::RowKind::Plugin}};

// The names in `kRowSources`, in that order.
std::vector<std::string> RowTableNames();

}  // namespace Console
