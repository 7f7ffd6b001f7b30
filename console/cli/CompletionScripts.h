// The completion scripts of the shells.
#pragma once

#include <vector>

namespace Console {

struct Script {
  const char* m_Shell;
  const char* m_Text;
};

const std::vector<Script>& CompletionScripts();

}  // namespace Console
