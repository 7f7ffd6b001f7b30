#include "console/plugin/DatabaseLock.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <vector>

#include "base/FileLock.h"
#include "base/TrustRules.h"
#include "base/TrustedDirectory.h"
#include "console/base/Failure.h"
#include "console/base/Number.h"
#include "hostkit/Paths.h"

namespace Console {
namespace {

constexpr const char* kSuffix = "-service";

// Commands briefly take the lock to test it, so a service retries for this long.
constexpr std::chrono::milliseconds kLockTimeout(1000);

// The file is open, was rejected for the reason in `m_TrustError`, or could not be opened because
// of `m_Error`.
struct LockFile {
  std::string m_Name;  // for messages
  Base::Descriptor m_File;
  std::string m_TrustError;
  int m_Error = 0;  // an errno value
};

// Returns why the open file must not be used, or empty if it may be.
std::string TrustErrorOf(const Base::TrustedDirectory& directory, const Base::Descriptor& file) {
  struct stat status = {};
  if (fstat(file.Get(), &status) != 0) return std::strerror(errno);
  if (!S_ISREG(status.st_mode)) return "is not a regular file";
  return Base::TrustErrorOfFile(directory.m_IsWritableByOthers, status, geteuid());
}

// Opens the lock file of a database, which is the same for all paths that lead to the database.
// Other users must not be able to open the file, because they could then hold the lock.
LockFile OpenLock(const std::string& database, int flags) {
  Base::OpenDirectoryOptions options;
  options.m_CreatesDirectories = (flags & O_CREAT) != 0;
  const Base::TrustedDirectory directory = Base::OpenDirectoryOf(database, options);
  LockFile lock = {database + kSuffix, Base::Descriptor(), directory.m_TrustError,
                   directory.m_Error};
  if (!directory.m_Directory.IsOpen()) return lock;
  lock.m_File = Base::OpenAt(directory.m_Directory.Get(), directory.m_Name + kSuffix,
                             flags | O_NOFOLLOW | O_NONBLOCK, S_IRUSR | S_IWUSR);
  if (!lock.m_File.IsOpen()) lock.m_Error = errno;
  if (lock.m_File.IsOpen()) lock.m_TrustError = TrustErrorOf(directory, lock.m_File);
  if (!lock.m_TrustError.empty()) lock.m_File.Close();
  return lock;
}

LockHolder ReadHolder(const LockFile& lock) {
  constexpr std::size_t kLimit = 8192;
  std::string text;
  Base::ReadAll(lock.m_File, kLimit, text);
  return ParseLockFile(text);
}

std::string NameOf(const LockHolder& holder) {
  if (holder.m_Process < 0) return "a service";
  return fmt::format("the service with process id {}", holder.m_Process);
}

Failure BusyFailure(const std::string& what, const std::string& database, const LockHolder& holder,
                    std::vector<std::string> advice) {
  return Failure(ExitCode::Refused, "DATABASE_HELD", what,
                 fmt::format("{} is in use by {}", database, NameOf(holder)), std::move(advice));
}

std::vector<std::string> AdviceForDirect(const LockHolder& holder) {
  std::vector<std::string> advice;
  if (!holder.m_Socket.empty()) {
    advice.push_back(fmt::format("Use the service: --socket {}", holder.m_Socket));
  }
  advice.emplace_back("Or stop the service, or pass another database with --database.");
  return advice;
}

Failure UnusableFailure(const LockFile& lock) {
  const bool denied = !lock.m_TrustError.empty() || lock.m_Error == EACCES || lock.m_Error == EPERM;
  return Failure(denied ? ExitCode::Permission : ExitCode::Failed, "LOCK_UNUSABLE",
                 fmt::format("cannot lock {}", lock.m_Name),
                 lock.m_TrustError.empty() ? std::strerror(lock.m_Error) : lock.m_TrustError,
                 {"Pass another database with --database."});
}

}  // namespace

LockHolder ParseLockFile(const std::string& text) {
  LockHolder holder;
  const auto line = text.find('\n');
  const auto end = line == text.npos ? line : text.find('\n', line + 1);
  if (end == text.npos) return holder;
  const auto process = ReadNumber<pid_t>(text.substr(0, line));
  if (process && *process > 0) holder.m_Process = *process;
  holder.m_Socket = text.substr(line + 1, end - line - 1);
  return holder;
}

DatabaseLock::DatabaseLock(const std::filesystem::path& socket) {
  const std::string database = HostKit::DatabaseFile().string();
  if (HostKit::IsInMemory(database)) return;
  LockFile lock = OpenLock(database, O_RDWR | O_CREAT);
  if (!lock.m_File.IsOpen()) throw UnusableFailure(lock);
  lock.m_Error = Base::Lock(lock.m_File, kLockTimeout);
  if (lock.m_Error == EWOULDBLOCK) {
    throw BusyFailure("cannot serve", database, ReadHolder(lock),
                      {"Stop that service first, or pass another database with --database."});
  }
  if (lock.m_Error != 0) throw UnusableFailure(lock);
  const std::string holder = fmt::format("{}\n{}\n", getpid(), socket.string());
  if (ftruncate(lock.m_File.Get(), 0) != 0) lock.m_Error = errno;
  if (lock.m_Error == 0) lock.m_Error = Base::WriteAll(lock.m_File, holder);
  if (lock.m_Error != 0) throw UnusableFailure(lock);
  m_File = std::move(lock.m_File);
}

std::optional<LockHolder> FindLockHolder() {
  const std::string database = HostKit::DatabaseFile().string();
  if (HostKit::IsInMemory(database)) return std::nullopt;
  const LockFile lock = OpenLock(database, O_RDONLY);
  // If the lock file does not exist, no service is running; problems with the directory are
  // reported when the database is opened.
  if (!lock.m_File.IsOpen()) return std::nullopt;
  if (flock(lock.m_File.Get(), LOCK_SH | LOCK_NB) == 0 || errno != EWOULDBLOCK) return std::nullopt;
  return ReadHolder(lock);
}

void RequireNoService() {
  const auto holder = FindLockHolder();
  if (!holder) return;
  throw BusyFailure("cannot load the plug-in", HostKit::DatabaseFile().string(), *holder,
                    AdviceForDirect(*holder));
}

}  // namespace Console
