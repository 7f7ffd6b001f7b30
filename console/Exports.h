// What a library shows to those who load it, read from its file.
#pragma once

#include <string>
#include <vector>

namespace Console {

// The demangled names of all symbols that the library defines for others, sorted. Throws `Failure`
// when the file cannot be read as a library.
std::vector<std::string> ExportedSymbols(const std::string& file);

// The libraries that it is linked with, by their file names; none when it is no library.
std::vector<std::string> NeededLibraries(const std::string& file);

// The names that a plug-in shows to its host; the first two are the entry points.
const std::vector<std::string>& ExpectedSymbols();

}  // namespace Console
