#include "hostkit/TrustedPath.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>
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

Objection CannotBeLookedAt(const path& name, int error) {
  return name.string() + " cannot be looked at: " + std::generic_category().message(error);
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

// Of a link or folder on the way, by what it lies in.
Objection ObjectionToWay(const path& name, const struct stat& status, bool isOpenFolder) {
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

  TrustedPath Run() {
    while (!m_Rest.empty() && !m_Ended) {
      const path name = m_Rest.back();
      m_Rest.pop_back();
      if (name == "..") {
        if (m_At != "/") m_At = m_At.parent_path();
      } else {
        Enter(name);
      }
      // What stands below is the kernel's, and its links are none.
      if (m_At == "/proc") break;
    }
    path whole = m_At;
    for (auto name = m_Rest.rbegin(); name != m_Rest.rend(); ++name) whole /= *name;
    return {whole, m_Objection, m_IsOpenFolder};
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

  void Enter(const path& name) {
    struct stat folder {};
    if (lstat(m_At.c_str(), &folder) != 0)
      return EndAt(name, OfRoot(CannotBeLookedAt(m_At, errno)));
    Objection objection = ObjectionToFolder(m_At, folder);
    if (!objection.empty()) return EndAt(name, std::move(objection));
    m_IsOpenFolder = OthersMayWrite(folder);
    Judge(m_At / name);
  }

  void Judge(const path& whole) {
    struct stat entry {};
    if (lstat(whole.c_str(), &entry) != 0) {
      m_At = whole;
      return End(IsMissing(errno) ? Objection() : OfRoot(CannotBeLookedAt(whole, errno)));
    }
    const bool isLast = m_Rest.empty() && !S_ISLNK(entry.st_mode);
    const auto judge = isLast ? ObjectionToFile : ObjectionToWay;
    m_Objection = judge(whole, entry, m_IsOpenFolder);
    if (S_ISLNK(entry.st_mode) && m_Objection.empty()) return Follow(whole);
    m_At = whole;
    m_Ended = !m_Objection.empty();
  }

  void Follow(const path& link) {
    boost::system::error_code error;
    const path target = boost::filesystem::read_symlink(link, error);
    if (!error && ++m_Links > kLongestChain) error.assign(ELOOP, boost::system::system_category());
    if (error) {
      m_At = link;
      return End(OfRoot(CannotBeLookedAt(link, error.value())));
    }
    if (target.is_absolute()) m_At = "/";
    Push(target);
  }

  // Below a file, which has been judged as a folder is, there is nothing either.
  static bool IsMissing(int error) { return error == ENOENT || error == ENOTDIR; }

  // Whoever can keep root from looking could show it something else later.
  static Objection OfRoot(Objection objection) { return IsRoot() ? objection : Objection(); }

  void End(Objection objection) {
    m_Objection = std::move(objection);
    m_Ended = true;
  }

  // Before the name was entered, which belongs to the path all the same.
  void EndAt(const path& name, Objection objection) {
    m_Rest.push_back(name);
    End(std::move(objection));
  }

  path m_At = "/";
  std::vector<path> m_Rest;  // the next name last
  int m_Links = 0;
  bool m_IsOpenFolder = false;
  bool m_Ended = false;
  Objection m_Objection;
};

}  // namespace

TrustedPath ResolveTrusted(const path& file) {
  boost::system::error_code error;
  const path folder = file.is_absolute() ? path() : boost::filesystem::current_path(error);
  if (!error) return Walk(folder / file).Run();
  return {file, IsRoot() ? CannotBeLookedAt(file, error.value()) : Objection()};
}

std::string ObjectionToOpened(const TrustedPath& file, int descriptor) {
  struct stat status {};
  if (!file.m_Objection.empty() || descriptor < 0) return file.m_Objection;
  if (fstat(descriptor, &status) != 0) return CannotBeLookedAt(file.m_File, errno);
  return ObjectionToFile(file.m_File, status, file.m_IsInOpenFolder);
}

}  // namespace HostKit
