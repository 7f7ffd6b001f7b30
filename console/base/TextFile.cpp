#include "console/base/TextFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>

#include "console/base/Failure.h"
#include "console/base/TrustedFolder.h"

namespace Console {
namespace {

constexpr mode_t kForEverybody = 0644;

Failure WriteFailure(const std::string& file, int error) {
  const bool denied = error == EACCES || error == EPERM || error == EROFS;
  return Failure(denied ? ExitCode::Permission : ExitCode::Failed, "TEXTFILE_FAILED",
                 fmt::format("cannot write {}", file), std::strerror(error));
}

Failure StrangeWayFailure(const std::string& file, const std::string& objection) {
  return Failure(ExitCode::Permission, "TEXTFILE_FAILED", fmt::format("cannot write {}", file),
                 objection,
                 {"Its owner could redirect the file.",
                  "Use a folder whose parent folders belong to you or to root."});
}

// The folder of the file. Everything goes by its descriptor, so that whoever it belongs to cannot
// lead the file elsewhere.
class Folder {
 public:
  Folder(const std::filesystem::path& path, const std::string& file)
      : Folder(OpenTrustedFolder(path), file) {}
  ~Folder() { close(m_Descriptor); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const int m_Descriptor;

 private:
  Folder(const TrustedFolder& opened, const std::string& file) : m_Descriptor(opened.m_Descriptor) {
    if (!opened.m_Objection.empty()) throw StrangeWayFailure(file, opened.m_Objection);
    if (m_Descriptor < 0) throw WriteFailure(file, opened.m_Error);
  }
};

// A rename would put the text in the place of a device, pipe or link.
void RequireReplaceable(const Folder& folder, const std::string& name, const std::string& file) {
  struct stat status = {};
  if (fstatat(folder.m_Descriptor, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return;
  if (S_ISDIR(status.st_mode)) throw WriteFailure(file, EISDIR);
  if (S_ISREG(status.st_mode)) return;
  throw Failure(ExitCode::Failed, "TEXTFILE_FAILED", fmt::format("cannot write {}", file),
                "not a regular file");
}

// A new file beside it, with a name that no collector takes for its own. -1: it cannot be made.
int OpenDraft(const Folder& folder, const std::string& name, std::string& draft) {
  constexpr int kAttempts = 100;
  std::random_device random;
  int descriptor = -1;
  for (int i = 0; i < kAttempts && descriptor < 0; ++i) {
    draft = fmt::format("{}.{:08x}", name, random());
    descriptor = openat(folder.m_Descriptor, draft.c_str(),
                        O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor < 0 && errno != EEXIST) break;
  }
  return descriptor;
}

bool WriteAll(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = write(fd, text.data() + done, text.size() - done);
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) done += static_cast<std::size_t>(count);
  }
  return true;
}

// 0 or the error.
int Fill(int fd, const std::string& text) {
  const bool filled = WriteAll(fd, text) && fchmod(fd, kForEverybody) == 0 && fsync(fd) == 0;
  const int error = filled ? 0 : errno;
  return close(fd) == 0 || error != 0 ? error : errno;
}

// Some file systems cannot; they keep their names safe by other means.
void Sync(const Folder& folder) {
  const int fd = openat(folder.m_Descriptor, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  fsync(fd);
  close(fd);
}

}  // namespace

void ReplaceTextFile(const std::string& file, const std::string& text) {
  const std::filesystem::path path = std::filesystem::absolute(file);
  const std::string name = path.filename().string();
  const Folder folder(path.parent_path(), file);
  RequireReplaceable(folder, name, file);
  std::string draft;
  const int fd = OpenDraft(folder, name, draft);
  if (fd < 0) throw WriteFailure(file, errno);
  int error = Fill(fd, text);
  const int in = folder.m_Descriptor;
  if (error == 0 && renameat(in, draft.c_str(), in, name.c_str()) != 0) error = errno;
  if (error != 0) {
    unlinkat(in, draft.c_str(), 0);
    throw WriteFailure(file, error);
  }
  Sync(folder);
}

}  // namespace Console
