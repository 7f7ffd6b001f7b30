// Atomic replacement of files.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

#include "base/Descriptor.h"

namespace Base {

// Replaces one file: open a draft in the same directory, write it, and install it under the name of
// the target.
//
// At all times, even after a crash or power loss, the name refers to either the complete old file
// or the complete new one. The destructor removes a draft that was not installed. Every step
// returns 0 or an errno; after a failed step the old file is unchanged and the object can only be
// destroyed. If the target does not exist, it is created. The caller must check beforehand that the
// target may be replaced, because the rename would also replace a link, pipe or device.
//
// Not thread-safe. Processes that read, change and replace the same file must hold a lock from the
// read to the replacement.
class FileReplacement {
 public:
  // `directory` is a descriptor of the target's directory (O_PATH suffices). The caller keeps
  // ownership and must keep it open while this object exists. `name` is the target's name in that
  // directory, without slashes.
  FileReplacement(int directory, std::string name);
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  // Creates the draft under a fixed name and opens it for reading and writing. Removes an existing
  // file of that name first, because a process that crashed while writing may have left one. Only
  // for callers that hold a lock. `mode` is subject to the umask.
  int OpenDraft(const std::string& name, mode_t mode);
  // Like `OpenDraft`, but under an unused name: `prefix` followed by eight random hexadecimal
  // digits. Does not require a lock.
  int OpenUniqueDraft(const std::string& prefix, mode_t mode);

  // Returns the draft, for fchmod(), fchown() or fstat(). Not open until one of the functions above
  // has succeeded.
  const Descriptor& Draft() const { return m_Draft; }

  // Appends `text` to the draft.
  int Write(std::string_view text);
  // Syncs the draft, renames it to the target, and syncs the directory. If the directory cannot be
  // synced, `Install` still succeeds, but the old file may reappear after a power loss.
  int Install();
  // Transfers ownership of the new file, still open, to the caller. Call after `Install`.
  Descriptor TakeFile() { return std::move(m_Draft); }

 private:
  int Open(const std::string& name, mode_t mode);
  void RemoveDraft();

  const int m_Directory;
  const std::string m_Name;
  // A second, readable descriptor of the directory, because fsync() does not accept O_PATH.
  const Descriptor m_SyncDirectory;
  std::string m_DraftName;  // empty if no draft exists
  Descriptor m_Draft;
};

}  // namespace Base
