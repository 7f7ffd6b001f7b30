// The database that the user has chosen with --database, if it does not exist yet.
#pragma once

#include <string>

#include "console/base/Options.h"

namespace Console {

// Throws `Failure` if --database names a file that does not exist, unless the command may create
// it: a new database has no missing cards, so a mistyped path would show a healthy machine. serve
// and the commands that change something create it in a directory that exists.
void RequireDatabase(const std::string& command, const Options& options);

}  // namespace Console
