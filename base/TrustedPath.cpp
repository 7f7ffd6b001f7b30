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
using TrustError = std::string;

constexpr int kMaxLinks = 40;  // same as the kernel's limit

bool IsRoot() {
  return geteuid() == 0;
}

TrustError WithPath(const path& name, const std::string& reason) {
  return reason.empty() ? reason : name.string() + " " + reason;
}

TrustError AccessError(const path& name, int error) {
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
        if (m_Current != "/") m_Current = m_Current.parent_path();
      } else {
        EnterComponent(name);
      }
    }
    path resolved = m_Current;
    for (auto name = m_Rest.rbegin(); name != m_Rest.rend(); ++name) resolved /= *name;
    return {resolved, m_TrustError, m_IsSharedDirectory};
  }

 private:
  // /dev/stdout leads to /proc/self/fd/1, which refers to the open file itself, not to the path in
  // the link.
  bool IsOwnDescriptor() const {
    return m_Current == "/proc" && m_Rest.size() == 3 && m_Rest[2] == "self" && m_Rest[1] == "fd";
  }

  static bool IsCurrentDirectory(const std::string& name) { return name.empty() || name == "."; }

  // The kernel treats a leading // as /; std::filesystem may not.
  void Push(const path& names) {
    std::vector<std::string> parts;
    boost::split(parts, names.native(), [](char character) { return character == '/'; });
    parts.erase(std::remove_if(parts.begin(), parts.end(), IsCurrentDirectory), parts.end());
    m_Rest.insert(m_Rest.end(), parts.rbegin(), parts.rend());
  }

  void EnterComponent(const path& name) {
    struct stat directory {};
    if (LstatWithAcl(m_Current.c_str(), &directory) != 0) {
      if (!IsMissing(errno)) return StopBefore(name, OnlyForRoot(AccessError(m_Current, errno)));
      // A missing component is created later as a directory, never as a symbolic link, so ".."
      // after it leads back here.
      m_Current /= name;
      return;
    }
    TrustError trustError = WithPath(m_Current, TrustErrorOfDirectory(directory, geteuid()));
    if (!trustError.empty()) return StopBefore(name, std::move(trustError));
    m_IsSharedDirectory = IsWritableByOthers(directory, geteuid());
    CheckEntry(m_Current / name);
  }

  void CheckEntry(const path& current) {
    struct stat entry {};
    if (LstatWithAcl(current.c_str(), &entry) != 0) {
      const int error = errno;
      m_Current = current;
      if (!IsMissing(error)) Stop(OnlyForRoot(AccessError(current, error)));
      return;
    }
    const bool isLast = m_Rest.empty() && !S_ISLNK(entry.st_mode);
    const auto check = isLast ? TrustErrorOfFile : TrustErrorOfComponent;
    m_TrustError = WithPath(current, check(m_IsSharedDirectory, entry, geteuid()));
    if (S_ISLNK(entry.st_mode) && m_TrustError.empty()) return Follow(current);
    m_Current = current;
    m_Ended = !m_TrustError.empty();
  }

  void Follow(const path& link) {
    std::error_code error;
    const path target = std::filesystem::read_symlink(link, error);
    if (!error && ++m_Links > kMaxLinks) error.assign(ELOOP, std::generic_category());
    if (error) {
      m_Current = link;
      return Stop(OnlyForRoot(AccessError(link, error.value())));
    }
    if (target.is_absolute()) m_Current = "/";
    Push(target);
  }

  // ENOTDIR: a component is a file, so nothing exists below it.
  static bool IsMissing(int error) { return error == ENOENT || error == ENOTDIR; }

  // Root does not use a path that it cannot check: a user who can prevent root from reading a
  // directory may be able to replace files in it later.
  static TrustError OnlyForRoot(TrustError trustError) {
    return IsRoot() ? trustError : TrustError();
  }

  void Stop(TrustError trustError) {
    m_TrustError = std::move(trustError);
    m_Ended = true;
  }

  // Stops before entering `name`, which remains part of the returned path.
  void StopBefore(const path& name, TrustError trustError) {
    m_Rest.push_back(name);
    Stop(std::move(trustError));
  }

  path m_Current = "/";
  std::vector<path> m_Rest;  // names left to resolve, the next one last
  int m_Links = 0;
  bool m_IsSharedDirectory = false;
  bool m_Ended = false;
  TrustError m_TrustError;
};

}  // namespace

TrustedPath ResolveTrusted(const path& file) {
  std::error_code error;
  const path directory = file.is_absolute() ? path() : std::filesystem::current_path(error);
  if (!error) return Resolver(directory / file).Run();
  return {file, IsRoot() ? AccessError(file, error.value()) : TrustError()};
}

std::string TrustErrorOfOpened(const TrustedPath& file, const Descriptor& opened) {
  struct stat status {};
  if (!file.m_TrustError.empty() || !opened.IsOpen()) return file.m_TrustError;
  if (FstatWithAcl(opened.Get(), &status) != 0) return AccessError(file.m_File, errno);
  return WithPath(file.m_File, TrustErrorOfFile(file.m_IsInSharedDirectory, status, geteuid()));
}

}  // namespace Base
