#include "base/TrustedPath.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

#include "base/FileStatus.h"
#include "base/TrustRules.h"

namespace Base {
namespace {

using std::filesystem::path;
using Objection = std::string;

constexpr int kMaxLinks = 40;  // same as the kernel's limit

bool IsRoot() {
  return geteuid() == 0;
}

Objection Against(const path& name, const std::string& reason) {
  return reason.empty() ? reason : name.string() + " " + reason;
}

Objection CannotBeAccessed(const path& name, int error) {
  return name.string() + " cannot be accessed: " + std::generic_category().message(error);
}

// Resolves names one by one, as the kernel does, and checks each with the rules in TrustRules.h.
class Resolver {
 public:
  explicit Resolver(const path& file) { Push(file); }

  TrustedPath Run() {
    while (!m_Rest.empty() && !m_Ended && !IsOwnDescriptor()) {
      const path name = m_Rest.back();
      m_Rest.pop_back();
      if (name == "..") {
        if (m_At != "/") m_At = m_At.parent_path();
      } else {
        Enter(name);
      }
    }
    path resolved = m_At;
    for (auto name = m_Rest.rbegin(); name != m_Rest.rend(); ++name) resolved /= *name;
    return {resolved, m_Objection, m_IsSharedDirectory};
  }

 private:
  // /dev/stdout leads to /proc/self/fd/1, which refers to the open file itself, not to the path in
  // the link.
  bool IsOwnDescriptor() const {
    return m_At == "/proc" && m_Rest.size() == 3 && m_Rest[2] == "self" && m_Rest[1] == "fd";
  }

  static bool IsHere(const std::string& name) { return name.empty() || name == "."; }

  // The kernel treats a leading // as /; std::filesystem may not.
  void Push(const path& names) {
    std::vector<std::string> parts;
    boost::split(parts, names.native(), [](char character) { return character == '/'; });
    parts.erase(std::remove_if(parts.begin(), parts.end(), IsHere), parts.end());
    m_Rest.insert(m_Rest.end(), parts.rbegin(), parts.rend());
  }

  void Enter(const path& name) {
    struct stat directory {};
    if (StatusOfName(m_At.c_str(), &directory) != 0) {
      if (!IsMissing(errno)) return EndAt(name, ForRoot(CannotBeAccessed(m_At, errno)));
      // A missing directory will not be a symbolic link when it is created, so ".." leads back to
      // its parent.
      m_At /= name;
      return;
    }
    Objection objection = Against(m_At, ObjectionToDirectory(directory, geteuid()));
    if (!objection.empty()) return EndAt(name, std::move(objection));
    m_IsSharedDirectory = IsOpenTo(directory, geteuid());
    Judge(m_At / name);
  }

  void Judge(const path& current) {
    struct stat entry {};
    if (StatusOfName(current.c_str(), &entry) != 0) {
      const int error = errno;
      m_At = current;
      if (!IsMissing(error)) End(ForRoot(CannotBeAccessed(current, error)));
      return;
    }
    const bool isLast = m_Rest.empty() && !S_ISLNK(entry.st_mode);
    const auto judge = isLast ? ObjectionToFile : ObjectionToComponent;
    m_Objection = Against(current, judge(m_IsSharedDirectory, entry, geteuid()));
    if (S_ISLNK(entry.st_mode) && m_Objection.empty()) return Follow(current);
    m_At = current;
    m_Ended = !m_Objection.empty();
  }

  void Follow(const path& link) {
    std::error_code error;
    const path target = std::filesystem::read_symlink(link, error);
    if (!error && ++m_Links > kMaxLinks) error.assign(ELOOP, std::generic_category());
    if (error) {
      m_At = link;
      return End(ForRoot(CannotBeAccessed(link, error.value())));
    }
    if (target.is_absolute()) m_At = "/";
    Push(target);
  }

  // ENOTDIR: a component is a file, so nothing exists below it.
  static bool IsMissing(int error) { return error == ENOENT || error == ENOTDIR; }

  // Root does not use a path that it cannot check: whoever prevents root from reading a directory
  // may be able to replace files in it later.
  static Objection ForRoot(Objection objection) { return IsRoot() ? objection : Objection(); }

  void End(Objection objection) {
    m_Objection = std::move(objection);
    m_Ended = true;
  }

  // Stops before entering `name`, which remains part of the returned path.
  void EndAt(const path& name, Objection objection) {
    m_Rest.push_back(name);
    End(std::move(objection));
  }

  path m_At = "/";
  std::vector<path> m_Rest;  // names left to resolve, the next one last
  int m_Links = 0;
  bool m_IsSharedDirectory = false;
  bool m_Ended = false;
  Objection m_Objection;
};

}  // namespace

TrustedPath ResolveTrusted(const path& file) {
  std::error_code error;
  const path directory = file.is_absolute() ? path() : std::filesystem::current_path(error);
  if (!error) return Resolver(directory / file).Run();
  return {file, IsRoot() ? CannotBeAccessed(file, error.value()) : Objection()};
}

std::string ObjectionToOpened(const TrustedPath& file, const Descriptor& opened) {
  struct stat status {};
  if (!file.m_Objection.empty() || !opened.IsOpen()) return file.m_Objection;
  if (StatusOfOpened(opened.Get(), &status) != 0) return CannotBeAccessed(file.m_File, errno);
  return Against(file.m_File, ObjectionToFile(file.m_IsInSharedDirectory, status, geteuid()));
}

}  // namespace Base
