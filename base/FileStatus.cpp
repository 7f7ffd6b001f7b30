#include "base/FileStatus.h"

#include <sys/xattr.h>

#include <string>

namespace Base {
namespace {

constexpr const char* kAccessList = "system.posix_acl_access";

bool IsGroupWritable(const struct stat& status) {
  return !S_ISLNK(status.st_mode) && (status.st_mode & S_IWGRP) != 0;
}

// fgetxattr() rejects a descriptor opened with O_PATH; for it, getxattr() reads the /proc link.
bool HasAccessList(int file) {
  const std::string name = "/proc/self/fd/" + std::to_string(file);
  return fgetxattr(file, kAccessList, nullptr, 0) > 0 ||
         getxattr(name.c_str(), kAccessList, nullptr, 0) > 0;
}

}  // namespace

int FstatWithAcl(int file, struct stat* status) {
  const int result = fstat(file, status);
  if (result == 0 && IsGroupWritable(*status) && HasAccessList(file)) status->st_mode |= S_IWOTH;
  return result;
}

int LstatWithAcl(const char* name, struct stat* status) {
  const int result = lstat(name, status);
  if (result == 0 && IsGroupWritable(*status) && lgetxattr(name, kAccessList, nullptr, 0) > 0)
    status->st_mode |= S_IWOTH;
  return result;
}

}  // namespace Base
