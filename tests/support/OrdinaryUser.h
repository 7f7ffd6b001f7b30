// Tests as a user without root's permissions.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

// Drops root's effective user ID until destroyed, because root bypasses file permissions.
class OrdinaryUser {
 public:
  OrdinaryUser() : m_Before(geteuid()) {
    if (m_Before == 0 && seteuid(65534) != 0) std::abort();
  }
  ~OrdinaryUser() {
    if (seteuid(m_Before) != 0) std::abort();
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

 private:
  const uid_t m_Before;
};

// Makes the file readable by all users and writable by none. All users can create files in its
// directory and the directory above.
inline void MakeWorldReadable(const std::filesystem::path& file) {
  using std::filesystem::perms;
  std::filesystem::permissions(file.parent_path().parent_path(), perms::all);
  std::filesystem::permissions(file.parent_path(), perms::all);
  std::filesystem::permissions(file, perms::owner_read | perms::group_read | perms::others_read);
}
