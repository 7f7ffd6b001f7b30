// Reading and replacing files as a whole. Nothing here throws, except std::bad_alloc.
#pragma once

#include <filesystem>
#include <string>

#include "base/Descriptor.h"
#include "base/TrustedPath.h"

namespace HostKit {

// Creates what is missing of a folder and of those above it. Root's are closed to other writers,
// whatever its umask: root would not trust them afterwards. Check the result by opening it.
void CreateFolders(const std::filesystem::path& folder);

// Keeps other writers of a folder out, in this and in other processes, as long as it lives.
class FolderLock {
 public:
  // Waits for the lock, but only for seconds: whoever may read the folder can hold it. Creates the
  // folder, and those above it, if missing.
  explicit FolderLock(const std::filesystem::path& folder);

  // False: the folder does not exist and cannot be created, or it cannot be locked.
  bool IsHeld() const { return m_Held; }
  const Base::Descriptor& Folder() const { return m_Folder; }

 private:
  const Base::Descriptor m_Folder;
  const bool m_Held;
};

enum class FileRead { Done, Missing, Failed };

// Reads a regular file of up to a mebibyte, not a link, unless another user could have put there
// what was opened. `content` is written only when the result is `Done`.
FileRead ReadFile(const Base::TrustedPath& file, std::string& content);

// Atomically replaces the file `name` in the locked `folder`, or creates it. An existing file keeps
// its mode and, where possible, its owner. False: the old file is unchanged, or there is still
// none; also for a content that `ReadFile` would reject as too large.
bool ReplaceFile(const std::string& name, const std::string& content, const FolderLock& folder);

}  // namespace HostKit
