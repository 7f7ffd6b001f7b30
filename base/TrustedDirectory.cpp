#include "base/TrustedDirectory.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "base/FileStatus.h"
#include "base/TrustRules.h"

namespace Base {
namespace {

using std::filesystem::path;

constexpr int kMaxLinks = 40;  // same as the kernel's limit

// Opens each directory relative to its parent's descriptor, so that no one can replace a directory
// between its check and its use. Steps that return a bool return false on failure, with the reason
// in `m_Result`.
class Resolver {
 public:
  Resolver(OpenDirectoryOptions options, bool findsFile)
      : m_Options(options), m_User(geteuid()), m_FindsFile(findsFile) {}

  TrustedDirectory Run(const path& given) {
    Push(given);
    bool succeeds = Start(given);
    if (succeeds && m_FindsFile && m_Rest.empty()) succeeds = Fail(ENOENT);
    while (succeeds && !m_Rest.empty()) succeeds = Step();
    if (!succeeds) m_Result.m_Directory.Close();
    return std::move(m_Result);
  }

 private:
  // Adds the names of `given` to `m_Rest`. Keeps "." only when resolving a file, where a final "."
  // is the file's name.
  void Push(const path& given) {
    std::vector<std::string> names;
    for (const path& part : given) {
      const bool isCurrentDirectory = part.empty() || part == ".";
      if (part == "/" || part == "//" || (isCurrentDirectory && !m_FindsFile)) continue;
      names.push_back(isCurrentDirectory ? "." : part.string());
    }
    m_Rest.insert(m_Rest.end(), names.rbegin(), names.rend());
  }

  bool Start(const path& given) {
    m_DisplayPath = given.is_absolute() ? "/" : "";
    return Open(AT_FDCWD, given.is_absolute() ? "/" : ".");
  }

  bool Fail(int error) {
    m_Result.m_Error = error;
    return false;
  }

  bool Accept(const path& name, const std::string& trustError) {
    if (!trustError.empty()) m_Result.m_TrustError = name.string() + " " + trustError;
    return trustError.empty();
  }

  bool Open(int directory, const std::string& name) {
    Descriptor next = OpenAt(directory, name, O_PATH | O_DIRECTORY | O_NOFOLLOW);
    if (!next.IsOpen()) return Fail(errno);
    m_Result.m_Directory = std::move(next);
    return true;
  }

  bool Enter(const std::string& name) {
    UpdateDisplayPath(name);
    return Open(m_Result.m_Directory.Get(), name);
  }

  // Updates `m_DisplayPath` for entering `name`. `m_DisplayPath` contains no symbolic links, so
  // ".." removes its last name.
  void UpdateDisplayPath(const std::string& name) {
    if (name == ".") return;
    const bool isKnown = m_DisplayPath.has_filename() && m_DisplayPath.filename() != "..";
    if (name == ".." && (isKnown || m_DisplayPath == "/")) {
      m_DisplayPath = m_DisplayPath.parent_path();
    } else {
      m_DisplayPath /= name;
    }
  }

  bool Step() {
    const std::string name = m_Rest.back();
    m_Rest.pop_back();
    struct stat directory {};
    if (FstatWithAcl(m_Result.m_Directory.Get(), &directory) != 0) return Fail(errno);
    const path shown = m_DisplayPath.empty() ? "." : m_DisplayPath;
    if (!Accept(shown, TrustErrorOfDirectory(directory, m_User))) return false;
    const bool isShared = IsWritableByOthers(directory, m_User);
    struct stat entry {};
    if (fstatat(m_Result.m_Directory.Get(), name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) != 0) {
      return Missing(name, isShared, errno);
    }
    if (!S_ISLNK(entry.st_mode)) return IsFile() ? Finish(name, isShared) : Enter(name);
    const bool isStrict = m_Options.m_RejectsUntrustedLinks && m_User == 0;
    return Accept(m_DisplayPath / name,
                  TrustErrorOfComponent(isShared || isStrict, entry, m_User)) &&
           Follow(name);
  }

  // Whether the name just removed from `m_Rest` is the file's.
  bool IsFile() const { return m_FindsFile && m_Rest.empty(); }

  // Records the file. Returns true; `Run` then stops because no names are left.
  bool Finish(const std::string& name, bool isShared) {
    m_Result.m_Name = name;
    m_Result.m_IsWritableByOthers = isShared;
    return true;
  }

  bool Missing(const std::string& name, bool isShared, int error) {
    if (error == ENOENT && IsFile()) return Finish(name, isShared);
    if (error != ENOENT || !m_Options.m_CreatesDirectories) return Fail(error);
    const bool created =
        mkdirat(m_Result.m_Directory.Get(), name.c_str(), NewDirectoryMode(m_User)) == 0;
    // EEXIST: another process created the directory at the same time.
    return created || errno == EEXIST ? Enter(name) : Fail(errno);
  }

  bool Follow(const std::string& name) {
    char target[PATH_MAX];
    const ssize_t length =
        readlinkat(m_Result.m_Directory.Get(), name.c_str(), target, sizeof target);
    if (length < 0) return Fail(errno);
    if (++m_Links > kMaxLinks) return Fail(ELOOP);
    const path followed(std::string(target, static_cast<std::size_t>(length)));
    if (followed.is_absolute() && !Start(followed)) return false;
    Push(followed);
    if (m_FindsFile && m_Rest.empty()) m_Rest.emplace_back(".");
    return true;
  }

  const OpenDirectoryOptions m_Options;
  const uid_t m_User;
  const bool m_FindsFile;
  TrustedDirectory m_Result;
  path m_DisplayPath;               // path of `m_Result.m_Directory`, for the reason for rejection
  std::vector<std::string> m_Rest;  // names left to resolve, the next one last
  int m_Links = 0;
};

}  // namespace

TrustedDirectory OpenTrustedDirectory(const path& directory) {
  return Resolver({}, false).Run(directory);
}

TrustedDirectory OpenDirectoryOf(const path& file, OpenDirectoryOptions options) {
  return Resolver(options, true).Run(file);
}

}  // namespace Base
