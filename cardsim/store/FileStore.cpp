#include "cardsim/store/FileStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "cardsim/store/CancellationShield.h"
#include "cardsim/store/InputFile.h"
#include "cardsim/store/RunningJobs.h"
#include "cardsim/store/StateText.h"
#include "cardsim/store/TrustedPath.h"

namespace CardSim {
namespace {

namespace fs = std::filesystem;

// About ten thousand cards. Anything larger is a wrong file.
constexpr std::int64_t kLargestFile = 64 << 20;

constexpr const char* kMissing = "no such file; `cardsim new` creates one";

void WriteAll(const FileHandle& file, const fs::path& path, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = write(file.Get(), text.data() + written, text.size() - written);
    if (count < 0 && errno != EINTR) FailWithErrno(path);
    if (count > 0) written += static_cast<std::size_t>(count);
  }
}

// One version of the file, read and checked. The caller may edit the state.
struct Reading {
  std::shared_ptr<State> state;
  FileHandle file;
  struct stat status;
};

Reading Read(const fs::path& path, const Place& place) {
  InputFile input = OpenInputFile(path, place, kMissing, kLargestFile,
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

void Keep(FileVersion& loaded, FileHandle file, const struct stat& status) noexcept {
  loaded.file = std::move(file);
  loaded.inode = status.st_ino;
  loaded.size = status.st_size;
  loaded.mtimeSeconds = status.st_mtim.tv_sec;
  loaded.mtimeNanoseconds = status.st_mtim.tv_nsec;
}

// Whether any job was dropped.
bool DropDeadJobs(State& state) {
  bool dropped = false;
  for (Card& card : state.cards) {
    if (!card.job || IsRunning(*card.job)) continue;
    At(card.values, Attribute::iom_state) = std::uint64_t{card.job->previousState};
    card.job.reset();
    dropped = true;
  }
  return dropped;
}

// The lock is a separate file, because the state file is replaced. Others may write it: its content
// does not matter.
FileHandle Lock(const fs::path& path, const Place& state) {
  const fs::path name = path.string() + ".lock";
  const int folder = state.folder.Get();
  const std::string lock = state.name + ".lock";
  FileHandle file = OpenAt(folder, lock, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, 0666);
  // A lock file of another user may be read-only for us, which is enough to lock it.
  if (!file.IsOpen()) file = OpenAt(folder, lock, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (!file.IsOpen() && errno == ELOOP) FailAt(name, "not trusted: the file is a symbolic link");
  if (!file.IsOpen()) FailWithErrno(name);
  struct stat status = {};
  if (fstat(file.Get(), &status) != 0) FailWithErrno(name);
  status.st_mode &= ~static_cast<mode_t>(S_IWGRP | S_IWOTH);
  CheckTrusted(name, state, status);
  while (flock(file.Get(), LOCK_EX) != 0) {
    if (errno != EINTR) FailWithErrno(name);
  }
  return file;
}

// The next version of the file, complete and on the disk, but not yet at its name. Removed again
// unless it gets there.
class NextVersion {
 public:
  NextVersion(const fs::path& path, const Place& place, mode_t mode)
      : m_Path(path.string() + ".new"),
        m_Place(place),
        m_Name(place.name + ".new"),
        // Opened now, when it may still fail.
        m_Folder(OpenAt(place.folder.Get(), ".", O_RDONLY | O_DIRECTORY)) {
    // A leftover of a process that died while writing may belong to someone else.
    Remove();
    m_File = OpenAt(place.folder.Get(), m_Name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
    if (!m_File.IsOpen()) FailWithErrno(m_Path);
    m_IsThere = true;
  }
  ~NextVersion() {
    if (m_IsThere) Remove();
  }
  NextVersion(const NextVersion&) = delete;
  NextVersion& operator=(const NextVersion&) = delete;

  struct stat Write(const std::string& text) {
    WriteAll(m_File, m_Path, text);
    struct stat status = {};
    if (fsync(m_File.Get()) != 0 || fstat(m_File.Get(), &status) != 0) FailWithErrno(m_Path);
    return status;
  }

  // The last thing that can fail. Gives the file, still open.
  FileHandle Install() {
    const int folder = m_Place.folder.Get();
    if (renameat(folder, m_Name.c_str(), folder, m_Place.name.c_str()) != 0) {
      FailWithErrno(m_Path);
    }
    m_IsThere = false;
    // A folder that cannot be synced costs durability after a power loss, not consistency.
    if (m_Folder.IsOpen()) fsync(m_Folder.Get());
    return std::move(m_File);
  }

 private:
  void Remove() { unlinkat(m_Place.folder.Get(), m_Name.c_str(), 0); }

  const fs::path m_Path;
  const Place& m_Place;
  const std::string m_Name;
  const FileHandle m_Folder;
  FileHandle m_File;
  bool m_IsThere = false;
};

}  // namespace

void FileStore::Create(bool overwrite) const {
  const CancellationShield shield;
  const Place place = LocateInNewFolders(m_Path);
  const FileHandle lock = Lock(m_Path, place);
  struct stat status = {};
  if (fstatat(place.folder.Get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
    if (!overwrite) FailAt(m_Path, "already exists; `cardsim new --force` replaces it");
    if (!S_ISREG(status.st_mode)) FailAt(m_Path, "is not a regular file");
  }
  const std::string text = FormatState(State());
  NextVersion next(m_Path, place, ModeOfNewFile());
  next.Write(text);
  next.Install();
}

FileVersionPtr FileStore::Load() const {
  const CancellationShield shield;
  Reading reading = Read(m_Path, Locate(m_Path));
  DropDeadJobs(*reading.state);
  auto loaded = std::make_shared<FileVersion>();
  loaded->state = std::move(reading.state);
  Keep(*loaded, std::move(reading.file), reading.status);
  return loaded;
}

bool FileStore::IsCurrent(const FileVersion& loaded) const {
  const CancellationShield shield;
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
  const CancellationShield shield;
  const Place place = Locate(m_Path);
  // Before the lock: no lock file is created for a missing state file.
  OpenForReading(m_Path, place, kMissing);
  const FileHandle lock = Lock(m_Path, place);
  Reading reading = Read(m_Path, place);
  const bool dropped = DropDeadJobs(*reading.state);
  const bool changed = change(*reading.state);
  auto loaded = std::make_shared<FileVersion>();
  loaded->state = reading.state;
  if (!changed && !dropped) {
    Keep(*loaded, std::move(reading.file), reading.status);
    return loaded;
  }
  CheckState(*reading.state);
  const std::string text = FormatState(*reading.state);
  NextVersion next(m_Path, place, reading.status.st_mode & 0777);
  const struct stat status = next.Write(text);
  Keep(*loaded, next.Install(), status);
  return loaded;
}

}  // namespace CardSim
