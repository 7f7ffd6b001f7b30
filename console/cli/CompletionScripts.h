// Completion scripts for shells.
#pragma once

#include <vector>

namespace Console {

// The completion script for one shell. The strings are literals.
struct Script {
  const char* m_Shell;  // "bash"
  const char* m_Text;   // source code for that shell
};

// Returns one script per supported shell. The list is valid until the program exits. Thread-safe.
const std::vector<Script>& CompletionScripts();

}  // namespace Console
