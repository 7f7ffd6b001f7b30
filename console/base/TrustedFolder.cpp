#include "console/base/TrustedFolder.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "console/base/TrustedCode.h"

namespace Console {
namespace {

constexpr int kMostLinks = 40;  // as the kernel's own limit

class Walk {
 public:
  explicit Walk(const std::filesystem::path& folder) { Push(folder); }
  ~Walk() {
    if (m_At >= 0) close(m_At);
  }
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;

  TrustedFolder Run() {
    bool goesOn = EnterRoot();
    while (goesOn && !m_Rest.empty()) {
      const std::string name = m_Rest.back();
      m_Rest.pop_back();
      goesOn = Step(name);
    }
    TrustedFolder result;
    result.m_Objection = m_Objection;
    result.m_Error = goesOn ? 0 : errno;
    if (goesOn) std::swap(result.m_Descriptor, m_At);
    return result;
  }

 private:
  // The next name last.
  void Push(const std::filesystem::path& path) {
    std::vector<std::string> names;
    for (const std::filesystem::path& part : path) {
      if (!part.empty() && part != "/" && part != "//" && part != ".")
        names.push_back(part.string());
    }
    m_Rest.insert(m_Rest.end(), names.rbegin(), names.rend());
  }

  // errno says what was in the way.
  bool Enter(int folder, const std::string& name) {
    const int next = openat(folder, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (next < 0) return false;
    if (m_At >= 0) close(m_At);
    m_At = next;
    return true;
  }

  bool EnterRoot() {
    m_Shown = "/";
    return Enter(AT_FDCWD, "/");
  }

  bool Object(const std::string& objection) {
    m_Objection = objection;
    return !objection.empty();
  }

  // A folder is judged before anything is taken from it, so the last one is not.
  bool Step(const std::string& name) {
    struct stat folder = {};
    struct stat entry = {};
    if (fstat(m_At, &folder) != 0) return false;
    if (Object(ObjectionToPassing(m_Shown, folder))) return false;
    if (fstatat(m_At, name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) != 0) return false;
    if (S_ISLNK(entry.st_mode)) {
      return !Object(ObjectionToLink(m_Shown / name, folder, entry)) && Follow(name);
    }
    m_Shown = name == ".." ? m_Shown.parent_path() : m_Shown / name;
    return Enter(m_At, name);
  }

  bool Follow(const std::string& name) {
    char target[PATH_MAX];
    const ssize_t length = readlinkat(m_At, name.c_str(), target, sizeof target);
    if (length < 0) return false;
    if (++m_Links > kMostLinks) {
      errno = ELOOP;
      return false;
    }
    const std::filesystem::path path(std::string(target, static_cast<std::size_t>(length)));
    if (path.is_absolute() && !EnterRoot()) return false;
    Push(path);
    return true;
  }

  int m_At = -1;
  std::filesystem::path m_Shown;
  std::vector<std::string> m_Rest;
  std::string m_Objection;
  int m_Links = 0;
};

}  // namespace

TrustedFolder OpenTrustedFolder(const std::filesystem::path& folder) {
  return Walk(std::filesystem::absolute(folder)).Run();
}

}  // namespace Console
