// Names of users.
#pragma once

#include <sys/types.h>

#include <string>

namespace Service {

// Returns the user's name, or the user ID of a user without a name. Thread-safe.
std::string UserName(uid_t user);

}  // namespace Service
