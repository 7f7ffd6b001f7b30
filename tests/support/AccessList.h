// POSIX ACLs that let another user write to a file.
#pragma once

#include <sys/xattr.h>

#include <cstdint>
#include <filesystem>

// Grants `user` write access through a POSIX ACL. The ACL has the kernel's format: the
// version, then the tag, permissions and user of each entry. Returns false if the file system does
// not support ACLs.
// clang-format off
inline bool GrantWriteByAcl(const std::filesystem::path& file, std::uint32_t user = 65534) {
  constexpr std::uint32_t kNone = 0xFFFFFFFF;
  const std::uint32_t list[] = {
      2,             // version
      1 | 7 << 16,  kNone,  // owner
      2 | 7 << 16,  user,
      4 | 5 << 16,  kNone,  // owning group
      16 | 7 << 16, kNone,  // mask
      32 | 5 << 16, kNone,  // others
  };
  return setxattr(file.c_str(), "system.posix_acl_access", list, sizeof list, 0) == 0;
}
// clang-format on
