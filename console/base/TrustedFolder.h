// Folders that are reached without anything on the way that another user could have changed.
#pragma once

#include <filesystem>
#include <string>

namespace Console {

// A folder, held by its descriptor.
struct TrustedFolder {
  // -1 when the folder cannot be opened, with the reason, or must not be used.
  int m_Descriptor = -1;
  int m_Error = 0;
  // Which folder or link on the way is another user's. The folder itself may be anybody's.
  std::string m_Objection;
};

// Goes to the folder step by step, each from the one before, so that nobody can exchange a step
// between the look at it and its use. The descriptor is the caller's to close.
TrustedFolder OpenTrustedFolder(const std::filesystem::path& folder);

}  // namespace Console
