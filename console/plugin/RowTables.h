// The tables of the host's database, by their names on the command line.
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

// Returns the names in `kRowSources`, in that order.
std::vector<std::string> RowTableNames();

}  // namespace Console
