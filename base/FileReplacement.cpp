#include "base/FileReplacement.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <utility>

#include "base/CancellationGuard.h"

namespace Base {
namespace {

constexpr int kMaxAttempts = 100;

// Returns 0 or an errno. Does not allocate memory or open files.
int RandomDigits(std::array<char, 9>& digits) {
  std::uint32_t number = 0;
  if (getrandom(&number, sizeof number, 0) != sizeof number) return errno;
  std::snprintf(digits.data(), digits.size(), "%08x", static_cast<unsigned int>(number));
  return 0;
}

}  // namespace

FileReplacement::FileReplacement(int directory, std::string name)
    : m_Directory(directory),
      m_Name(std::move(name)),
      m_SyncDirectory(OpenAt(directory, ".", O_RDONLY | O_DIRECTORY)) {}

FileReplacement::~FileReplacement() {
  RemoveDraft();
}

int FileReplacement::OpenDraft(const std::string& name, mode_t mode) {
  unlinkat(m_Directory, name.c_str(), 0);
  return Open(name, mode);
}

int FileReplacement::OpenUniqueDraft(const std::string& prefix, mode_t mode) {
  int error = EEXIST;
  for (int i = 0; i < kMaxAttempts && error == EEXIST; ++i) {
    std::array<char, 9> digits{};
    error = RandomDigits(digits);
    if (error == 0) error = Open(prefix + digits.data(), mode);
  }
  return error;
}

int FileReplacement::Write(std::string_view text) {
  return WriteAll(m_Draft, text);
}

int FileReplacement::Install() {
  if (fsync(m_Draft.Get()) != 0) return errno;
  if (renameat(m_Directory, m_DraftName.c_str(), m_Directory, m_Name.c_str()) != 0) return errno;
  m_DraftName.clear();
  // Errors are ignored: the new file is already in place, and some file systems do not support
  // syncing a directory.
  if (m_SyncDirectory.IsOpen()) fsync(m_SyncDirectory.Get());
  return 0;
}

int FileReplacement::Open(const std::string& name, mode_t mode) {
  // Copies the name before creating the file. If the copy threw an exception afterwards, the file
  // would be left on disk.
  std::string draftName = name;
  m_Draft = OpenAt(m_Directory, name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
  if (!m_Draft.IsOpen()) return errno;
  m_DraftName.swap(draftName);
  return 0;
}

void FileReplacement::RemoveDraft() {
  if (m_DraftName.empty()) return;
  const CancellationGuard guard;
  unlinkat(m_Directory, m_DraftName.c_str(), 0);
}

}  // namespace Base
