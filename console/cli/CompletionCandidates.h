// What may stand at the end of an unfinished command line, from the tables of commands and options.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "console/base/Options.h"
#include "console/cli/CommandTable.h"
#include "console/model/Model.h"

namespace Console {

struct Candidate {
  std::string m_Word;  // whole, as it would stand in place of the last word
  std::string m_Meaning;
};

// Instead of candidates: the shell knows files better.
inline constexpr const char* kFilesWord = ":files";

// The objects as the options on the unfinished line want them; may throw.
using ObjectSource = std::function<Model(const Options&)>;

// Candidates for the last of `words`, of which the program's name is not one. The objects are
// asked for only when one of them may stand there.
std::vector<Candidate> Complete(const std::vector<std::string>& words, const CommandTable& commands,
                                const ObjectSource& objects);

}  // namespace Console
