// Exported symbols and dependencies of a library, read from its file. No library is loaded and none
// of its code runs.
#pragma once

#include <string>
#include <vector>

namespace Console {

// The demangled names of all symbols that the library defines for others, sorted. Throws `Failure`
// if the file cannot be read as a library.
std::vector<std::string> ExportedSymbols(const std::string& file);

// The libraries that the loader loads with a library, and where it searches for them.
struct Dependencies {
  // The libraries that it needs or is a filter for. One with a slash is a path.
  std::vector<std::string> m_Names;
  // As written in the file, where $ORIGIN is the directory of the file. An empty one is the current
  // directory.
  std::vector<std::string> m_SearchPaths;
};

// Read as the loader does, which needs no sections. Both lists are in the order of the file, and
// empty if the file cannot be read or is not a library.
Dependencies DependenciesOf(const std::string& file);

// The symbols that a host looks up in a plug-in; the first two are the entry points. The list lives
// as long as the program.
const std::vector<std::string>& ExpectedSymbols();

}  // namespace Console
