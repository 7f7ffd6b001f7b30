#include "hostkit/records/Files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/CancellationGuard.h"
#include "base/FileReplacement.h"
#include "base/TrustRules.h"

namespace HostKit {

namespace {

using std::filesystem::path;

constexpr std::size_t kLargestFile = 1 << 20;

Base::Descriptor OpenFolder(const path& folder) {
  CreateFolders(folder);
  return Base::OpenAt(AT_FDCWD, folder, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
}

bool LockWithTimeout(const Base::Descriptor& folder) {
  constexpr int kTries = 500;
  constexpr int kPauseMs = 10;
  const Base::CancellationGuard guard;
  for (int i = 0; folder.IsOpen() && i < kTries; ++i) {
    if (flock(folder.Get(), LOCK_EX | LOCK_NB) == 0) return true;
    if (errno != EWOULDBLOCK && errno != EINTR) return false;
    poll(nullptr, 0, kPauseMs);
  }
  return false;
}

// Opens a draft with the owner and mode of the old file, if there is one. Returns 0 or the errno.
int OpenDraft(Base::FileReplacement& replacement, const std::string& name, int folder) {
  struct stat old {};
  const bool exists = fstatat(folder, name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0;
  const int error = replacement.OpenUniqueDraft(
      ".corvane-", exists ? S_IRUSR | S_IWUSR : Base::NewFileMode(geteuid()));
  if (error != 0 || !exists) return error;
  const int draft = replacement.Draft().Get();
  // Only a privileged process can give a file away; for others it becomes their own.
  if (fchown(draft, old.st_uid, old.st_gid) != 0) errno = 0;
  return fchmod(draft, old.st_mode & 07777) == 0 ? 0 : errno;
}

}  // namespace

void CreateFolders(const path& folder) {
  std::error_code ignored;
  if (folder.empty() || std::filesystem::exists(folder, ignored)) return;
  CreateFolders(folder.parent_path());
  mkdir(folder.c_str(), Base::NewFolderMode(geteuid()));
}

FolderLock::FolderLock(const path& folder)
    : m_Folder(OpenFolder(folder)), m_Held(LockWithTimeout(m_Folder)) {}

FileRead ReadFile(const Base::TrustedPath& file, std::string& content) {
  // O_NONBLOCK in case the file is a pipe.
  const Base::Descriptor input =
      Base::OpenAt(AT_FDCWD, file.m_File, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
  if (!input.IsOpen()) {
    return errno == ENOENT || errno == ENOTDIR ? FileRead::Missing : FileRead::Failed;
  }
  struct stat status {};
  if (fstat(input.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return FileRead::Failed;
  if (!Base::ObjectionToOpened(file, input).empty()) return FileRead::Failed;

  std::string text;
  if (Base::ReadAll(input, kLargestFile, text) != 0) return FileRead::Failed;
  content = std::move(text);
  return FileRead::Done;
}

bool ReplaceFile(const std::string& name, const std::string& content, const FolderLock& folder) {
  if (content.size() > kLargestFile) return false;
  Base::FileReplacement replacement(folder.Folder().Get(), name);
  return OpenDraft(replacement, name, folder.Folder().Get()) == 0 &&
         replacement.Write(content) == 0 && replacement.Install() == 0;
}

}  // namespace HostKit
