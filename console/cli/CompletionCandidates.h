// Completion of an unfinished command line, from the tables of commands and options.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "console/base/Options.h"
#include "console/cli/CommandTable.h"
#include "console/model/Model.h"

namespace Console {

struct Candidate {
  std::string m_Word;  // the complete word that would replace the last one
  std::string m_Description;
};

// The only candidate if the shell should complete file names.
inline constexpr const char* kFilesWord = ":files";

// Reads the objects with the options of the unfinished command line; may throw.
using ObjectSource = std::function<Model(const Options&)>;

// Returns the candidates for the last of `words`, which do not include the program's name. The
// objects are read only if the candidates depend on them.
std::vector<Candidate> Complete(const std::vector<std::string>& words, const CommandTable& commands,
                                const ObjectSource& objects);

}  // namespace Console
