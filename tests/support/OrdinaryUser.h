// Drops root's effective user ID until destroyed, because root bypasses file permissions.
#pragma once

#include <unistd.h>

#include <cstdlib>

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
