// Exported symbols and dependencies of a library, read from its file. The library is not loaded,
// and none of its code runs.
#pragma once

#include <string>
#include <vector>

namespace Console {

// Returns the demangled names of all symbols that the library exports, sorted. Throws `Failure` if
// the file cannot be read or is not a library.
std::vector<std::string> ExportedSymbols(const std::string& file);

// Whether the library exports a symbol with that demangled name. Returns false if the file cannot
// be read or is not a library.
bool ExportsSymbol(const std::string& file, const std::string& name);

// The libraries that the loader loads together with a library, and the directories in which it
// searches for them.
struct Dependencies {
  // The libraries that the library needs or for which it is a filter. A name with a slash is a
  // path.
  std::vector<std::string> m_Names;
  // The paths as written in the file. $ORIGIN stands for the directory of the file, and an empty
  // path for the current directory.
  std::vector<std::string> m_SearchPaths;
};

// Reads the dependencies from the segments, as the loader does; the file need not have sections.
// Both lists are in the order of the file, and empty if the file cannot be read or is not a
// library.
Dependencies DependenciesOf(const std::string& file);

// Whether the file is shorter than its segments, as after an interrupted copy. Loading it would end
// the program with a bus error. Returns false if the file cannot be read or is not a library.
bool IsTruncated(const std::string& file);

// Returns the symbols that a host looks up in a plug-in; the first two are the entry points. The
// list is valid until the program exits.
const std::vector<std::string>& ExpectedSymbols();

}  // namespace Console
