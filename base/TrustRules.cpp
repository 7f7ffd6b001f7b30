#include "base/TrustRules.h"

namespace Base {
namespace {

constexpr uid_t kRoot = 0;
constexpr const char* kWritable = "can be written by other users";

std::string OwnedBy(uid_t owner) {
  return "is owned by uid " + std::to_string(owner);
}

// Write access to a device's directory does not affect which device the file refers to.
bool IsDevice(const struct stat& status) {
  return S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode);
}

}  // namespace

bool IsTrustedOwner(uid_t owner, uid_t user) {
  return owner == kRoot || owner == user;
}

bool IsWritableByOthers(const struct stat& status, uid_t user) {
  const bool isWritableByGroup = (status.st_mode & S_IWGRP) != 0 && status.st_gid != 0;
  return (status.st_mode & S_IWOTH) != 0 || (user == kRoot && isWritableByGroup);
}

std::string TrustErrorOfDirectory(const struct stat& directory, uid_t user) {
  if (user != kRoot) return {};
  if (!IsTrustedOwner(directory.st_uid, user)) return OwnedBy(directory.st_uid);
  const bool isSticky = (directory.st_mode & S_ISVTX) != 0;
  return IsWritableByOthers(directory, user) && !isSticky ? kWritable : std::string();
}

std::string TrustErrorOfComponent(bool isInSharedDirectory, const struct stat& entry, uid_t user) {
  const bool isUntrusted = isInSharedDirectory && !IsTrustedOwner(entry.st_uid, user);
  return isUntrusted ? OwnedBy(entry.st_uid) : std::string();
}

std::string TrustErrorOfFile(bool isInSharedDirectory, const struct stat& file, uid_t user) {
  if (IsDevice(file) || !(user == kRoot || isInSharedDirectory)) return {};
  if (!IsTrustedOwner(file.st_uid, user)) return OwnedBy(file.st_uid);
  if (S_ISDIR(file.st_mode)) return {};
  if (isInSharedDirectory && file.st_nlink > 1) return "has a second hard link";
  return user == kRoot && IsWritableByOthers(file, user) ? kWritable : std::string();
}

std::string TrustErrorOfCode(const struct stat& status, uid_t user) {
  if (!IsTrustedOwner(status.st_uid, user)) return OwnedBy(status.st_uid);
  const bool isFileOrDirectory = S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
  return isFileOrDirectory && IsWritableByOthers(status, user) ? kWritable : std::string();
}

mode_t NewFileMode(uid_t user) {
  return user == kRoot ? 0644 : 0666;
}

mode_t NewDirectoryMode(uid_t user) {
  return user == kRoot ? 0755 : 0777;
}

}  // namespace Base
