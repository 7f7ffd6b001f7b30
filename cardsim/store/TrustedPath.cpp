#include "cardsim/store/TrustedPath.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace CardSim {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kRoot = 0;
constexpr int kMaxLinks = 40;  // as the kernel's own limit

[[noreturn]] void Fail(const fs::path& path, const std::string& why) {
  throw std::runtime_error(path.string() + ": " + why);
}

[[noreturn]] void FailWithErrno(const fs::path& path) {
  if (errno == ENOENT) Fail(path, "no such file; `cardsim new` creates one");
  Fail(path, std::generic_category().message(errno));
}

bool IsTrusted(uid_t owner, uid_t user) {
  return owner == kRoot || owner == user;
}

std::string BelongsTo(uid_t owner) {
  return "belongs to uid " + std::to_string(owner);
}

class Walk {
 public:
  Walk(const fs::path& path, bool makesFolders) : m_Path(path), m_MakesFolders(makesFolders) {
    Push(path);
  }

  Place Run() {
    m_Folder = Open(AT_FDCWD, ".");
    if (m_Path.is_absolute()) EnterRoot();
    if (m_Rest.empty()) Fail(m_Path, "no such file; `cardsim new` creates one");
    for (;;) {
      const std::string name = m_Rest.back();
      m_Rest.pop_back();
      const struct stat folder = LookAtFolder();
      struct stat entry = {};
      const bool exists = fstatat(m_Folder.Get(), name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) == 0;
      if (!exists && errno == ENOENT && !m_Rest.empty() && m_MakesFolders) {
        Make(name);
        Enter(name);
        continue;
      }
      if (!exists && (errno != ENOENT || !m_Rest.empty())) FailWithErrno(m_Path);
      if (exists && S_ISLNK(entry.st_mode)) {
        Follow(name, folder, entry);
      } else if (m_Rest.empty()) {
        return {std::move(m_Folder), name, IsOpenTo(folder, geteuid())};
      } else {
        Enter(name);
      }
    }
  }

 private:
  FileHandle Open(int folder, const std::string& name) {
    FileHandle file = OpenAt(folder, name, O_PATH | O_DIRECTORY | O_NOFOLLOW);
    if (!file.IsOpen()) FailWithErrno(m_Path);
    return file;
  }

  void EnterRoot() {
    m_Folder = Open(AT_FDCWD, "/");
    m_Shown = "/";
  }

  void Enter(const std::string& name) {
    m_Folder = Open(m_Folder.Get(), name);
    m_Shown /= name;
  }

  // Another process may make it at the same time.
  void Make(const std::string& name) {
    const bool made = mkdirat(m_Folder.Get(), name.c_str(), ModeOfNewFolder()) == 0;
    if (!made && errno != EEXIST) FailWithErrno(m_Path);
  }

  // The next name last. A path that ends in a slash names the folder itself.
  void Push(const fs::path& path) {
    std::vector<std::string> names;
    for (const fs::path& part : path) {
      if (part != "/") names.push_back(part.empty() ? "." : part.string());
    }
    m_Rest.insert(m_Rest.end(), names.rbegin(), names.rend());
  }

  struct stat LookAtFolder() {
    struct stat folder = {};
    if (fstat(m_Folder.Get(), &folder) != 0) FailWithErrno(m_Path);
    Object(m_Shown.empty() ? "." : m_Shown, ObjectionToFolder(folder, geteuid()));
    return folder;
  }

  void Follow(const std::string& name, const struct stat& folder, const struct stat& link) {
    Object(m_Shown / name, ObjectionToLink(folder, link, geteuid()));
    char target[PATH_MAX];
    const ssize_t length = readlinkat(m_Folder.Get(), name.c_str(), target, sizeof target);
    if (length < 0) FailWithErrno(m_Path);
    if (++m_Links > kMaxLinks) Fail(m_Path, std::generic_category().message(ELOOP));
    const fs::path path(std::string(target, static_cast<std::size_t>(length)));
    if (path.is_absolute()) EnterRoot();
    Push(path);
    if (m_Rest.empty()) m_Rest.emplace_back(".");
  }

  void Object(const fs::path& thing, const std::string& objection) const {
    if (!objection.empty()) Fail(m_Path, "not trusted: " + thing.string() + " " + objection);
  }

  const fs::path m_Path;
  const bool m_MakesFolders;
  FileHandle m_Folder;
  fs::path m_Shown;                 // of the folder, for messages
  std::vector<std::string> m_Rest;  // the next name last
  int m_Links = 0;
};

}  // namespace

bool IsOpenTo(const struct stat& folder, uid_t user) {
  // An ordinary user may share a folder with a group, which is often the user's own.
  const bool group = (folder.st_mode & S_IWGRP) != 0 && folder.st_gid != 0 && user == kRoot;
  return (folder.st_mode & S_IWOTH) != 0 || group;
}

std::string ObjectionToFolder(const struct stat& folder, uid_t user) {
  if (user != kRoot) return {};
  if (!IsTrusted(folder.st_uid, user)) return BelongsTo(folder.st_uid);
  const bool isSticky = (folder.st_mode & S_ISVTX) != 0;
  return IsOpenTo(folder, user) && !isSticky ? "can be written by other users" : "";
}

std::string ObjectionToLink(const struct stat& folder, const struct stat& link, uid_t user) {
  const bool matters = user == kRoot || IsOpenTo(folder, user);
  return matters && !IsTrusted(link.st_uid, user) ? BelongsTo(link.st_uid) : "";
}

std::string ObjectionToFile(bool isOpenFolder, const struct stat& file, uid_t user) {
  if (user != kRoot && !isOpenFolder) return {};
  if (!IsTrusted(file.st_uid, user)) return BelongsTo(file.st_uid);
  // Whoever may write a folder can give the file of another user a second name in it.
  if (isOpenFolder && S_ISREG(file.st_mode) && file.st_nlink > 1) return "has a second name";
  return user == kRoot && IsOpenTo(file, user) ? "can be written by other users" : "";
}

Place Locate(const fs::path& path) {
  return Walk(path, false).Run();
}

Place LocateInNewFolders(const fs::path& path) {
  return Walk(path, true).Run();
}

mode_t ModeOfNewFile() {
  return geteuid() == kRoot ? 0644 : 0666;
}

mode_t ModeOfNewFolder() {
  return geteuid() == kRoot ? 0755 : 0777;
}

void CheckTrusted(const fs::path& path, const Place& place, const struct stat& file) {
  const std::string objection = ObjectionToFile(place.isOpenFolder, file, geteuid());
  if (!objection.empty()) Fail(path, "not trusted: the file " + objection);
}

}  // namespace CardSim
