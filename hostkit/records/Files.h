// Reading and replacing files as a whole. Nothing here throws, except std::bad_alloc.
#pragma once

#include <filesystem>
#include <string>

#include "base/Descriptor.h"
#include "base/TrustedPath.h"

namespace HostKit {

// Creates what is missing of a directory and of those above it. Root's are closed to other writers,
// whatever its umask: root would not trust them afterwards. Check the result by opening it.
void CreateDirectories(const std::filesystem::path& directory);

// Keeps other writers of a directory out, in this and in other processes, as long as it lives.
class DirectoryLock {
 public:
  // Waits for the lock, but only for seconds: whoever may read the directory can hold it. Creates
  // the directory, and those above it, if missing.
  explicit DirectoryLock(const std::filesystem::path& directory);

  // False: the directory does not exist and cannot be created, or it cannot be locked.
  bool IsHeld() const { return m_Held; }
  const Base::Descriptor& Directory() const { return m_Directory; }

 private:
  const Base::Descriptor m_Directory;
  const bool m_Held;
};

enum class FileRead { Done, Missing, Failed };

// Reads a regular file of up to a mebibyte, not a link, unless another user could have put there
// what was opened. `content` is written only when the result is `Done`.
FileRead ReadFile(const Base::TrustedPath& file, std::string& content);

// Atomically replaces the file `name` in the locked `directory`, or creates it. An existing file
// keeps its mode and, where possible, its owner. False: the old file is unchanged, or there is
// still none; also for a content that `ReadFile` would reject as too large.
bool ReplaceFile(const std::string& name, const std::string& content,
                 const DirectoryLock& directory);

}  // namespace HostKit
