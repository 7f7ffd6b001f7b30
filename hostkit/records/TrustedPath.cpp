#include "hostkit/TrustedPath.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <optional>
#include <vector>

namespace HostKit {

namespace {

using boost::filesystem::path;
using Objection = std::string;

constexpr int kLongestChain = 40;  // as the kernel's own limit

bool IsRoot() {
  return geteuid() == 0;
}

bool IsTrusted(uid_t owner) {
  return owner == 0 || owner == geteuid();
}

// An ordinary user may share a folder with a group, which is often the user's own; root may not.
bool OthersMayWrite(const struct stat& status) {
  const bool group = (status.st_mode & S_IWGRP) != 0 && status.st_gid != 0;
  return (status.st_mode & S_IWOTH) != 0 || (IsRoot() && group);
}

Objection BelongsTo(const path& name, uid_t owner) {
  return name.string() + " belongs to uid " + std::to_string(owner);
}

Objection CanBeWritten(const path& name) {
  return name.string() + " can be written by other users";
}

// Only root is kept from a folder as such.
Objection ObjectionToFolder(const path& name, const struct stat& status) {
  if (!IsRoot()) return {};
  if (!IsTrusted(status.st_uid)) return BelongsTo(name, status.st_uid);
  if (OthersMayWrite(status) && (status.st_mode & S_ISVTX) == 0) return CanBeWritten(name);
  return {};
}

// Nobody but root makes devices, and what they lead to is not a matter of trust in a folder.
bool IsDevice(const struct stat& status) {
  return S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode);
}

// Of a link on the way. A folder is judged when it is entered.
Objection ObjectionToLink(const path& name, const struct stat& status, bool isOpenFolder) {
  return isOpenFolder && !IsTrusted(status.st_uid) ? BelongsTo(name, status.st_uid) : Objection();
}

Objection ObjectionToFile(const path& name, const struct stat& status, bool isOpenFolder) {
  if (IsDevice(status) || !(IsRoot() || isOpenFolder)) return {};
  if (!IsTrusted(status.st_uid)) return BelongsTo(name, status.st_uid);
  if (S_ISDIR(status.st_mode)) return {};
  // Whoever may write a folder can give the file of another user a second name in it.
  if (isOpenFolder && status.st_nlink > 1) return name.string() + " has a second name";
  if (IsRoot() && OthersMayWrite(status)) return CanBeWritten(name);
  return {};
}

// Goes through a path as the kernel does, with an eye on who could have changed its way.
class Walk {
 public:
  explicit Walk(const path& file) { Push(file); }

  // Nothing when the way cannot be gone to its end.
  std::optional<TrustedPath> Run() {
    while (!m_Rest.empty()) {
      const path name = m_Rest.back();
      m_Rest.pop_back();
      if (name == "..") {
        if (m_At != "/") m_At = m_At.parent_path();
        continue;
      }
      if (!Enter(name)) return std::nullopt;
      // What stands below is the kernel's, and its links are none.
      if (m_At == "/proc" || !m_Objection.empty() || m_Missing) return Ended();
    }
    return Ended();
  }

 private:
  static bool IsHere(const std::string& name) { return name.empty() || name == "."; }

  // By the kernel's rules, in which two slashes at the beginning are one.
  void Push(const path& names) {
    std::vector<std::string> parts;
    boost::split(parts, names.native(), [](char letter) { return letter == '/'; });
    parts.erase(std::remove_if(parts.begin(), parts.end(), IsHere), parts.end());
    m_Rest.insert(m_Rest.end(), parts.rbegin(), parts.rend());
  }

  TrustedPath Ended() {
    path whole = m_At;
    for (auto name = m_Rest.rbegin(); name != m_Rest.rend(); ++name) whole /= *name;
    return {whole, m_Objection};
  }

  bool Enter(const path& name) {
    struct stat folder {};
    struct stat entry {};
    if (lstat(m_At.c_str(), &folder) != 0) return false;
    m_Objection = ObjectionToFolder(m_At, folder);
    if (!m_Objection.empty()) return true;
    const path whole = m_At / name;
    if (lstat(whole.c_str(), &entry) != 0) {
      m_Missing = errno == ENOENT;
      m_At = whole;
      return m_Missing;
    }
    if (S_ISLNK(entry.st_mode)) return Follow(whole, entry, OthersMayWrite(folder));
    m_At = whole;
    if (m_Rest.empty()) m_Objection = ObjectionToFile(whole, entry, OthersMayWrite(folder));
    return true;
  }

  bool Follow(const path& link, const struct stat& status, bool isOpenFolder) {
    m_Objection = ObjectionToLink(link, status, isOpenFolder);
    boost::system::error_code error;
    const path target = boost::filesystem::read_symlink(link, error);
    if (error || ++m_Links > kLongestChain) return false;
    if (target.is_absolute()) m_At = "/";
    Push(target);
    return true;
  }

  path m_At = "/";
  std::vector<path> m_Rest;  // the next name last
  int m_Links = 0;
  bool m_Missing = false;
  Objection m_Objection;
};

}  // namespace

TrustedPath ResolveTrusted(const path& file) {
  boost::system::error_code error;
  const path folder = file.is_absolute() ? path() : boost::filesystem::current_path(error);
  if (error) return {file, {}};
  auto walked = Walk(folder / file).Run();
  return walked ? *walked : TrustedPath{file, {}};
}

}  // namespace HostKit
