#include "cardsim/FileStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "cardsim/CancellationShield.h"
#include "cardsim/StateText.h"

namespace CardSim {
namespace {

namespace fs = std::filesystem;

// Some ten thousand cards. More is a wrong file.
constexpr std::int64_t kLargestFile = 64 << 20;

[[noreturn]] void Fail(const fs::path& path, const std::string& why) {
  throw std::runtime_error(path.string() + ": " + why);
}

[[noreturn]] void FailWithErrno(const fs::path& path, const std::string& what) {
  Fail(path, what + std::generic_category().message(errno));
}

// A file that is replaced through a link is the link's target, not the link.
fs::path Target(const fs::path& path) {
  std::error_code error;
  const fs::path target = fs::canonical(path, error);
  return error ? path : target;
}

FileHandle OpenForReading(const fs::path& path) {
  // Not blocking, since the name might be a pipe's.
  FileHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file.IsOpen() && errno == ENOENT) Fail(path, "no such file; `cardsim new` makes one");
  if (!file.IsOpen()) FailWithErrno(path, "");
  return file;
}

std::string ReadAll(const FileHandle& file, const fs::path& path) {
  std::string text;
  char buffer[16384];
  for (;;) {
    const ssize_t count = read(file.Get(), buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) FailWithErrno(path, "");
    if (count == 0) return text;
    text.append(buffer, static_cast<std::size_t>(count));
  }
}

void WriteAll(const FileHandle& file, const fs::path& path, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = write(file.Get(), text.data() + written, text.size() - written);
    if (count < 0 && errno != EINTR) FailWithErrno(path, "");
    if (count > 0) written += static_cast<std::size_t>(count);
  }
}

struct stat StatOf(const FileHandle& file, const fs::path& path) {
  struct stat status = {};
  if (fstat(file.Get(), &status) != 0) FailWithErrno(path, "");
  if (!S_ISREG(status.st_mode)) Fail(path, "is no regular file");
  if (status.st_size > kLargestFile) Fail(path, "is too large for a file of simulated cards");
  return status;
}

LoadedPtr MakeLoaded(State state, FileHandle file, const struct stat& status) {
  auto loaded = std::make_shared<Loaded>();
  loaded->state = std::make_shared<const State>(std::move(state));
  loaded->file = std::move(file);
  loaded->inode = status.st_ino;
  loaded->size = status.st_size;
  loaded->mtimeSeconds = status.st_mtim.tv_sec;
  loaded->mtimeNanoseconds = status.st_mtim.tv_nsec;
  return loaded;
}

void DropDeadJobs(State& state) {
  for (Card& card : state.cards) {
    if (!card.job || IsAlive(card.job->owner)) continue;
    At(card.values, Attribute::iom_state) = std::uint64_t{card.job->previousState};
    card.job.reset();
  }
}

// The lock is a file of its own beside the state, because the state's file is replaced.
FileHandle Lock(const fs::path& path) {
  const fs::path lock = path.string() + ".lock";
  FileHandle file(open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
  // A lock made by another user may be read only to us; that is enough to lock it.
  if (!file.IsOpen()) file = FileHandle(open(lock.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.IsOpen()) FailWithErrno(lock, "");
  while (flock(file.Get(), LOCK_EX) != 0) {
    if (errno != EINTR) FailWithErrno(lock, "");
  }
  return file;
}

void SyncFolder(const fs::path& path) {
  const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
  const FileHandle file(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // A folder that cannot be synced costs durability after a power loss, not consistency.
  if (file.IsOpen()) fsync(file.Get());
}

// Removes the unfinished file unless it became the real one.
class Unfinished {
 public:
  explicit Unfinished(fs::path path) : m_Path(std::move(path)) {}
  ~Unfinished() {
    if (!m_Kept) unlink(m_Path.c_str());
  }
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;
  void Keep() { m_Kept = true; }

 private:
  fs::path m_Path;
  bool m_Kept = false;
};

// Gives the file's new version, still open. The caller holds the lock.
FileHandle Replace(const fs::path& path, const std::string& text, mode_t mode) {
  const fs::path fresh = path.string() + ".new";
  // A leftover of a process that died while writing may belong to someone else.
  unlink(fresh.c_str());
  FileHandle file(open(fresh.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  if (!file.IsOpen()) FailWithErrno(fresh, "");
  Unfinished unfinished(fresh);
  WriteAll(file, fresh, text);
  if (fsync(file.Get()) != 0) FailWithErrno(fresh, "");
  if (rename(fresh.c_str(), path.c_str()) != 0) FailWithErrno(path, "");
  unfinished.Keep();
  SyncFolder(path);
  return file;
}

State Parse(const std::string& text, const fs::path& path) {
  try {
    return ParseState(text);
  } catch (const std::runtime_error& error) {
    Fail(path, error.what());
  }
}

}  // namespace

FileHandle::~FileHandle() {
  if (m_Fd < 0) return;
  // A version of the file is let go by whichever call replaces it.
  const CancellationShield shield;
  close(m_Fd);
}

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
  std::swap(m_Fd, other.m_Fd);
  return *this;
}

void FileStore::Create(bool overwrite) const {
  const CancellationShield shield;
  const fs::path path = Target(m_Path);
  std::error_code error;
  if (path.has_parent_path()) fs::create_directories(path.parent_path(), error);
  if (error) Fail(path.parent_path(), error.message());
  const FileHandle lock = Lock(path);
  struct stat status = {};
  if (lstat(path.c_str(), &status) == 0) {
    if (!overwrite) Fail(path, "exists already");
    if (!S_ISREG(status.st_mode)) Fail(path, "is no regular file");
  }
  Replace(path, FormatState(State()), 0666);
}

LoadedPtr FileStore::Load() const {
  const CancellationShield shield;
  FileHandle file = OpenForReading(m_Path);
  const struct stat status = StatOf(file, m_Path);
  State state = Parse(ReadAll(file, m_Path), m_Path);
  DropDeadJobs(state);
  return MakeLoaded(std::move(state), std::move(file), status);
}

bool FileStore::IsCurrent(const Loaded& loaded) const {
  const CancellationShield shield;
  struct stat status = {};
  if (stat(m_Path.c_str(), &status) != 0) return false;
  const bool same = status.st_ino == loaded.inode && status.st_size == loaded.size &&
                    status.st_mtim.tv_sec == loaded.mtimeSeconds &&
                    status.st_mtim.tv_nsec == loaded.mtimeNanoseconds;
  if (!same) return false;
  for (const Card& card : loaded.state->cards) {
    if (card.job && !IsAlive(card.job->owner)) return false;
  }
  return true;
}

LoadedPtr FileStore::Edit(const std::function<bool(State&)>& change) const {
  const CancellationShield shield;
  const fs::path path = Target(m_Path);
  // Before the lock is made: a missing state gets no lock file beside it.
  OpenForReading(path);
  const FileHandle lock = Lock(path);
  FileHandle file = OpenForReading(path);
  struct stat status = StatOf(file, path);
  State state = Parse(ReadAll(file, path), path);
  DropDeadJobs(state);
  if (change(state)) {
    CheckState(state);
    file = Replace(path, FormatState(state), status.st_mode & 0777);
    status = StatOf(file, path);
  }
  return MakeLoaded(std::move(state), std::move(file), status);
}

}  // namespace CardSim
