#include "hostkit/records/Files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstdio>

namespace HostKit {

namespace {

using boost::filesystem::path;

constexpr std::size_t kLargestFile = 1 << 20;

int OpenFolder(const path& folder) {
  boost::system::error_code ignored;  // what matters is whether it can be opened
  boost::filesystem::create_directories(folder, ignored);
  return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
}

bool WriteAll(int file, const std::string& content) {
  std::size_t done = 0;
  while (done < content.size()) {
    const ssize_t count = write(file, content.data() + done, content.size() - done);
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) done += static_cast<std::size_t>(count);
  }
  return true;
}

// A new file beside the one that it is to replace; removed again unless it did.
class Replacement {
 public:
  explicit Replacement(const path& target)
      : m_Target(target),
        m_Exists(lstat(target.c_str(), &m_Old) == 0),
        m_Path(target.parent_path() / UniqueName()),
        m_File(open(m_Path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                    m_Exists ? S_IRUSR | S_IWUSR : 0666)),
        m_Pending(m_File.IsOpen()) {}

  ~Replacement() {
    if (m_Pending) unlink(m_Path.c_str());
  }

  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  bool Fill(const std::string& content) const {
    return m_File.IsOpen() && TakeAttributes() && WriteAll(m_File.Number(), content) &&
           fsync(m_File.Number()) == 0;
  }

  bool Move() {
    m_Pending = rename(m_Path.c_str(), m_Target.c_str()) != 0;
    return !m_Pending;
  }

 private:
  static path UniqueName() {
    boost::system::error_code ignored;  // leaves the name empty, which cannot be opened
    return boost::filesystem::unique_path(".corvane-%%%%-%%%%-%%%%-%%%%", ignored);
  }

  bool TakeAttributes() const {
    if (!m_Exists) return true;
    // Only a privileged process can give a file away; for others it becomes their own.
    if (fchown(m_File.Number(), m_Old.st_uid, m_Old.st_gid) != 0) errno = 0;
    return fchmod(m_File.Number(), m_Old.st_mode & 07777) == 0;
  }

  const path m_Target;
  struct stat m_Old {};
  const bool m_Exists;
  const path m_Path;
  const Descriptor m_File;
  bool m_Pending;
};

}  // namespace

Descriptor::~Descriptor() {
  if (IsOpen()) close(m_Number);
}

FolderLock::FolderLock(const path& folder)
    : m_Folder(OpenFolder(folder)),
      m_Held(m_Folder.IsOpen() && flock(m_Folder.Number(), LOCK_EX) == 0) {}

void FolderLock::Sync() const {
  // Some file systems cannot; they keep their names safe by other means.
  fsync(m_Folder.Number());
}

FileRead ReadFile(const TrustedPath& file, std::string& content) {
  // Not blocking, in case somebody has put a pipe there.
  const Descriptor input(open(file.m_File.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
  if (!input.IsOpen()) {
    return errno == ENOENT || errno == ENOTDIR ? FileRead::Missing : FileRead::Failed;
  }
  struct stat status {};
  if (fstat(input.Number(), &status) != 0 || !S_ISREG(status.st_mode)) return FileRead::Failed;
  if (!ObjectionToOpened(file, input.Number()).empty()) return FileRead::Failed;

  std::string text;
  std::array<char, 4096> block;
  ssize_t count = 0;
  while ((count = read(input.Number(), block.data(), block.size())) > 0) {
    text.append(block.data(), static_cast<std::size_t>(count));
    if (text.size() > kLargestFile) return FileRead::Failed;
  }
  if (count < 0) return FileRead::Failed;
  content = std::move(text);
  return FileRead::Done;
}

bool ReplaceFile(const path& file, const std::string& content, const FolderLock& folder) {
  if (content.size() > kLargestFile) return false;
  Replacement replacement(file);
  if (!replacement.Fill(content) || !replacement.Move()) return false;
  folder.Sync();
  return true;
}

}  // namespace HostKit
