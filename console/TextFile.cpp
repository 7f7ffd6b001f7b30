#include "console/TextFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "console/Failure.h"

namespace Console {
namespace {

constexpr mode_t kForEverybody = 0644;

Failure WriteFailure(const std::string& file, int error) {
  const bool denied = error == EACCES || error == EPERM || error == EROFS;
  return Failure(denied ? ExitCode::Permission : ExitCode::Failed, "TEXTFILE_FAILED",
                 fmt::format("writing {}", file), std::strerror(error));
}

// A rename would put the text in the place of a device, pipe or link.
void RequireReplaceable(const std::string& file) {
  struct stat status = {};
  if (lstat(file.c_str(), &status) != 0) return;
  if (S_ISDIR(status.st_mode)) throw WriteFailure(file, EISDIR);
  if (S_ISREG(status.st_mode)) return;
  throw Failure(ExitCode::Failed, "TEXTFILE_FAILED", fmt::format("writing {}", file),
                "it is no regular file");
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
void SyncFolder(const std::string& folder) {
  const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  fsync(fd);
  close(fd);
}

}  // namespace

void ReplaceTextFile(const std::string& file, const std::string& text) {
  RequireReplaceable(file);
  // Beside it, and with a name that no collector takes for its own.
  std::string draft = file + ".XXXXXX";
  const int fd = mkostemp(draft.data(), O_CLOEXEC);
  if (fd < 0) throw WriteFailure(file, errno);
  int error = Fill(fd, text);
  if (error == 0 && rename(draft.c_str(), file.c_str()) != 0) error = errno;
  if (error != 0) {
    unlink(draft.c_str());
    throw WriteFailure(file, error);
  }
  SyncFolder(std::filesystem::absolute(file).parent_path().string());
}

}  // namespace Console
