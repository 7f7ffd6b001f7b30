// Files that are read and replaced whole. Nothing here throws but for want of memory.
#pragma once

#include <boost/filesystem/path.hpp>
#include <string>

#include "hostkit/TrustedPath.h"

namespace HostKit {

// An open file; closed when destroyed.
class Descriptor {
 public:
  explicit Descriptor(int number) : m_Number(number) {}
  ~Descriptor();
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool IsOpen() const { return m_Number >= 0; }
  int Number() const { return m_Number; }

 private:
  const int m_Number;
};

// Keeps other writers of a folder out, other processes among them, as long as it lives.
class FolderLock {
 public:
  // Makes the folder, and those above it, if missing.
  explicit FolderLock(const boost::filesystem::path& folder);

  // False: there is no such folder and none can be made, or it cannot be locked.
  bool IsHeld() const { return m_Held; }
  // Brings the names in the folder to the disk.
  void Sync() const;

 private:
  Descriptor m_Folder;
  bool m_Held;
};

enum class FileRead { Done, Missing, Failed };

// Reads a regular file of up to a mebibyte, not a link, unless another user could have put there
// what was opened. `content` is written only when the result is `Done`.
FileRead ReadFile(const TrustedPath& file, std::string& content);

// Puts `content` in the place of `file`, which keeps its mode and, where possible, its owner. At
// any moment, also after a crash, the file is whole: the old one or the new one. False: the old
// one stands, or there is still none; so too for a content that `ReadFile` would not take.
// `folder` is the file's own.
bool ReplaceFile(const boost::filesystem::path& file, const std::string& content,
                 const FolderLock& folder);

}  // namespace HostKit
