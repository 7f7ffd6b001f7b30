#include "cardsim/store/FileStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "base/CancellationGuard.h"
#include "base/FileReplacement.h"
#include "cardsim/store/RunningJobs.h"
#include "cardsim/store/StateText.h"
#include "cardsim/store/TrustedFile.h"

namespace CardSim {
namespace {

namespace fs = std::filesystem;

// Enough for about ten thousand cards; a larger file is not a state file.
constexpr std::int64_t kMaxFileSize = 64 << 20;

constexpr const char* kMissing = "no such file; `cardsim new` creates one";

// One version of the file, read and checked. The caller may edit the state.
struct Reading {
  std::shared_ptr<State> state;
  Base::Descriptor file;
  struct stat status;
};

Reading Read(const fs::path& path, const Base::TrustedDirectory& parent) {
  InputFile input = OpenInputFile(path, parent, kMissing, kMaxFileSize,
                                  "is too large for a file of simulated cards");
  Reading reading{nullptr, std::move(input.file), input.status};
  const std::string text = ReadAll(reading.file, path);
  try {
    reading.state = std::make_shared<State>(ParseState(text));
  } catch (const std::runtime_error& error) {
    FailAt(path, error.what());
  }
  return reading;
}

void SetFile(FileVersion& loaded, Base::Descriptor file, const struct stat& status) noexcept {
  loaded.file = std::move(file);
  loaded.inode = status.st_ino;
  loaded.size = status.st_size;
  loaded.mtimeSeconds = status.st_mtim.tv_sec;
  loaded.mtimeNanoseconds = status.st_mtim.tv_nsec;
}

// Restores the previous state of the cards of jobs whose process has exited. Returns whether it
// restored any.
bool RestoreOrphanedCards(State& state) {
  bool restored = false;
  for (Card& card : state.cards) {
    if (!card.job || IsRunning(*card.job)) continue;
    At(card.values, Attribute::iom_state) = std::uint64_t{card.job->previousState};
    card.job.reset();
    restored = true;
  }
  return restored;
}

// Locks a separate file, because the state file is replaced. Other users may write to the lock
// file: its content does not matter.
Base::Descriptor Lock(const fs::path& path, const Base::TrustedDirectory& parent) {
  const fs::path name = path.string() + ".lock";
  const int directory = parent.m_Directory.Get();
  const std::string lock = parent.m_Name + ".lock";
  Base::Descriptor file =
      Base::OpenAt(directory, lock, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, 0666);
  // Another user's lock file may only be readable, which is enough to lock it.
  if (!file.IsOpen()) file = Base::OpenAt(directory, lock, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (!file.IsOpen() && errno == ELOOP) FailAt(name, "not trusted: the file is a symbolic link");
  if (!file.IsOpen()) FailWithErrno(name);
  struct stat status = {};
  if (fstat(file.Get(), &status) != 0) FailWithErrno(name);
  status.st_mode &= ~static_cast<mode_t>(S_IWGRP | S_IWOTH);
  CheckTrusted(name, parent, status);
  while (flock(file.Get(), LOCK_EX) != 0) {
    if (errno != EINTR) FailWithErrno(name);
  }
  return file;
}

// A new version of the state file: written to a draft, which `Install` renames to the state file.
struct Draft {
  Draft(const fs::path& path, const Base::TrustedDirectory& directory, mode_t mode)
      : m_Path(path.string() + ".new"), m_File(directory.m_Directory.Get(), directory.m_Name) {
    // A fixed name is safe because the lock is held. Replaces a draft that a killed process left.
    Check(m_File.OpenDraft(directory.m_Name + ".new", mode));
  }

  struct stat Write(const std::string& text) {
    Check(m_File.Write(text));
    struct stat status = {};
    if (fstat(m_File.Draft().Get(), &status) != 0) FailWithErrno(m_Path);
    return status;
  }

  // The last step that can fail. Returns the file, still open.
  Base::Descriptor Install() {
    Check(m_File.Install());
    return m_File.TakeFile();
  }

 private:
  void Check(int error) const {
    if (error != 0) FailWith(m_Path, error);
  }

  const fs::path m_Path;  // for messages
  Base::FileReplacement m_File;
};

}  // namespace

void FileStore::Create(bool overwrite) const {
  const Base::CancellationGuard guard;
  const Base::TrustedDirectory parent = CreateParentDirectory(m_Path);
  const Base::Descriptor lock = Lock(m_Path, parent);
  struct stat status = {};
  if (fstatat(parent.m_Directory.Get(), parent.m_Name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
    if (!overwrite) FailAt(m_Path, "already exists; `cardsim new --force` replaces it");
    if (!S_ISREG(status.st_mode)) FailAt(m_Path, "not a regular file");
  }
  const std::string text = FormatState(State());
  Draft draft(m_Path, parent, ModeOfNewFile());
  draft.Write(text);
  draft.Install();
}

FileVersionPtr FileStore::Load() const {
  const Base::CancellationGuard guard;
  Reading reading = Read(m_Path, OpenParentDirectory(m_Path, kMissing));
  RestoreOrphanedCards(*reading.state);
  auto loaded = std::make_shared<FileVersion>();
  loaded->state = std::move(reading.state);
  SetFile(*loaded, std::move(reading.file), reading.status);
  return loaded;
}

bool FileStore::IsCurrent(const FileVersion& loaded) const {
  const Base::CancellationGuard guard;
  struct stat status = {};
  if (stat(m_Path.c_str(), &status) != 0) return false;
  const bool same = status.st_ino == loaded.inode && status.st_size == loaded.size &&
                    status.st_mtim.tv_sec == loaded.mtimeSeconds &&
                    status.st_mtim.tv_nsec == loaded.mtimeNanoseconds;
  if (!same) return false;
  for (const Card& card : loaded.state->cards) {
    if (card.job && !IsRunning(*card.job)) return false;
  }
  return true;
}

FileVersionPtr FileStore::Edit(const std::function<bool(State&)>& change) const {
  const Base::CancellationGuard guard;
  const Base::TrustedDirectory parent = OpenParentDirectory(m_Path, kMissing);
  // Opened before locking, so that no lock file is created if the state file is missing.
  OpenForReading(m_Path, parent, kMissing);
  const Base::Descriptor lock = Lock(m_Path, parent);
  Reading reading = Read(m_Path, parent);
  const bool restored = RestoreOrphanedCards(*reading.state);
  const bool changed = change(*reading.state);
  auto loaded = std::make_shared<FileVersion>();
  loaded->state = reading.state;
  if (!changed && !restored) {
    SetFile(*loaded, std::move(reading.file), reading.status);
    return loaded;
  }
  CheckState(*reading.state);
  const std::string text = FormatState(*reading.state);
  Draft draft(m_Path, parent, reading.status.st_mode & 0777);
  const struct stat status = draft.Write(text);
  SetFile(*loaded, draft.Install(), status);
  return loaded;
}

}  // namespace CardSim
