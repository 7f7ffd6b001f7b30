// Atomic replacement of files.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

#include "base/Descriptor.h"

namespace Base {

// Replaces one file of a directory: open a draft in the same directory, write, install.
//
// At any moment, also after a crash or power loss, the name refers to the complete old file or to
// the complete new one. A draft that was not installed is removed with the object. Every step
// returns 0 or an errno; after a failed step the old file is unchanged, and only destruction is
// left to do. A missing target is created. The caller has checked that the target may be replaced:
// a rename would also replace a link, pipe or device.
//
// Not synchronized: one thread at a time. Writers that must not overwrite each other's changes need
// a lock around reading and replacing.
class FileReplacement {
 public:
  // `directory` is a descriptor of the target's directory, O_PATH is enough; it stays the caller's
  // and must outlive this object. `name` is the target's name in it, without slashes.
  FileReplacement(int directory, std::string name);
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  // Opens the draft for reading and writing under a fixed name. A leftover of that name is removed
  // first: a process that died while writing may have left it. For callers that hold a lock.
  // `mode` is subject to the umask.
  int OpenDraft(const std::string& name, mode_t mode);
  // The same under an unused name: `prefix` and eight random hexadecimal digits.
  int OpenUniqueDraft(const std::string& prefix, mode_t mode);

  // The open draft, for fchmod(), fchown() or fstat(). Not open before `OpenDraft`.
  const Descriptor& Draft() const { return m_Draft; }

  // Appends `text` to the draft.
  int Write(std::string_view text);
  // Syncs the draft and renames it to the target: the last step that can fail. If the directory
  // cannot be synced, a power loss may bring the old file back.
  int Install();
  // After `Install`: the new file, still open; the caller owns it from now on.
  Descriptor TakeFile() { return std::move(m_Draft); }

 private:
  int Open(const std::string& name, mode_t mode);
  void RemoveDraft();

  const int m_Directory;
  const std::string m_Name;
  // The directory again, readable so that it can be synced. Opened early, while it may still fail.
  const Descriptor m_SyncDirectory;
  std::string m_DraftName;  // empty if no draft exists
  Descriptor m_Draft;
};

}  // namespace Base
