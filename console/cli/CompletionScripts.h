// The completion scripts of the shells.
#pragma once

#include <vector>

namespace Console {

// The script of one shell. Its texts live as long as the program.
struct Script {
  const char* m_Shell;  // "bash"
  const char* m_Text;   // to be read by that shell, as by `source`
};

// One script per supported shell. The list is built at the first call and lives as long as the
// program. From any thread.
const std::vector<Script>& CompletionScripts();

}  // namespace Console
