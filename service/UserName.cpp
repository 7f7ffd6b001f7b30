#include "service/UserName.h"

#include <pwd.h>

namespace Service {

std::string UserName(uid_t user) {
  char buffer[16384];
  passwd entry = {};
  passwd* found = nullptr;
  const bool isKnown =
      getpwuid_r(user, &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr;
  return isKnown ? found->pw_name : std::to_string(user);
}

}  // namespace Service
