// Reading small files and replacing them atomically. The functions throw only std::bad_alloc.
#pragma once

#include <filesystem>
#include <string>

#include "base/Descriptor.h"
#include "base/TrustedPath.h"

namespace HostKit {

// Creates a directory and its missing parents. Directories that root creates are not writable by
// others, regardless of the umask; otherwise root would not trust them later. Does not report
// errors: open the directory to check the result.
void CreateDirectories(const std::filesystem::path& directory);

// Locks a directory against other writers, in this and in other processes, for the lifetime of the
// object.
class DirectoryLock {
 public:
  // Waits about 5 seconds for the lock: any process that may read the directory could hold it
  // forever. Creates the directory and its parents if they are missing.
  explicit DirectoryLock(const std::filesystem::path& directory);

  // False if the directory cannot be created, opened or locked.
  bool IsHeld() const { return m_Held; }
  const Base::Descriptor& Directory() const { return m_Directory; }

 private:
  const Base::Descriptor m_Directory;
  const bool m_Held;
};

enum class FileRead { Done, Missing, Failed };

// Reads a regular file of up to 1 MiB. Fails for a link, and for a file that another user could
// have created. Sets `content` only if the result is `Done`.
FileRead ReadFile(const Base::TrustedPath& file, std::string& content);

// Atomically replaces the file `name` in the locked `directory`, or creates it. An existing file
// keeps its mode and, where possible, its owner. Returns false and changes nothing on failure, and
// if `content` is too large for `ReadFile`.
bool ReplaceFile(const std::string& name, const std::string& content,
                 const DirectoryLock& directory);

}  // namespace HostKit
