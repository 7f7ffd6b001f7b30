#include "hostkit/records/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

#include "base/CancellationGuard.h"
#include "base/FileLock.h"
#include "base/FileReplacement.h"
#include "base/TrustRules.h"

namespace HostKit {

namespace {

using std::filesystem::path;

constexpr std::size_t kMaxFileSize = 1 << 20;

Base::Descriptor OpenDirectory(const path& directory) {
  CreateDirectories(directory);
  return Base::OpenAt(AT_FDCWD, directory, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
}

bool LockWithTimeout(const Base::Descriptor& directory) {
  constexpr std::chrono::seconds kTimeout(5);
  const Base::CancellationGuard guard;
  return directory.IsOpen() && Base::Lock(directory, kTimeout) == 0;
}

// Opens a draft with the owner and mode of the old file, if there is one. Returns 0 or an errno
// value.
int OpenDraft(Base::FileReplacement& replacement, const std::string& name, int directory) {
  struct stat old {};
  const bool exists = fstatat(directory, name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0;
  const int error = replacement.OpenUniqueDraft(
      ".corvane-", exists ? S_IRUSR | S_IWUSR : Base::NewFileMode(geteuid()));
  if (error != 0 || !exists) return error;
  const int draft = replacement.Draft().Get();
  // Only a privileged process can set another owner; otherwise the caller becomes the owner.
  if (fchown(draft, old.st_uid, old.st_gid) != 0) errno = 0;
  return fchmod(draft, old.st_mode & 07777) == 0 ? 0 : errno;
}

}  // namespace

void CreateDirectories(const path& directory) {
  std::error_code ignored;
  if (directory.empty() || std::filesystem::exists(directory, ignored)) return;
  CreateDirectories(directory.parent_path());
  mkdir(directory.c_str(), Base::NewDirectoryMode(geteuid()));
}

DirectoryLock::DirectoryLock(const path& directory)
    : m_Directory(OpenDirectory(directory)), m_Held(LockWithTimeout(m_Directory)) {}

FileRead ReadFile(const Base::TrustedPath& file, std::string& content) {
  // O_NONBLOCK in case the file is a pipe.
  const Base::Descriptor input =
      Base::OpenAt(AT_FDCWD, file.m_File, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
  if (!input.IsOpen()) {
    return errno == ENOENT || errno == ENOTDIR ? FileRead::Missing : FileRead::Failed;
  }
  struct stat status {};
  if (fstat(input.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return FileRead::Failed;
  if (!Base::TrustErrorOfOpened(file, input).empty()) return FileRead::Failed;

  std::string text;
  if (Base::ReadAll(input, kMaxFileSize, text) != 0) return FileRead::Failed;
  content = std::move(text);
  return FileRead::Done;
}

bool ReplaceFile(const std::string& name, const std::string& content,
                 const DirectoryLock& directory) {
  if (content.size() > kMaxFileSize) return false;
  Base::FileReplacement replacement(directory.Directory().Get(), name);
  return OpenDraft(replacement, name, directory.Directory().Get()) == 0 &&
         replacement.Write(content) == 0 && replacement.Install() == 0;
}

}  // namespace HostKit
