#include "hostkit/Paths.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

namespace HostKit {

namespace {

using boost::filesystem::path;

// An empty variable counts as unset, and so does every variable in a program that runs with more
// privileges than its caller.
std::string Variable(const char* name) {
  const char* const value = secure_getenv(name);
  return value != nullptr ? value : "";
}

// The home directory in the user database, for a service without HOME.
path HomeOfUser() {
  std::array<char, 16384> buffer{};
  passwd entry{};
  passwd* found = nullptr;
  const int failed = getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found);
  return failed == 0 && found != nullptr ? path(found->pw_dir) : path("/");
}

path Home() {
  const std::string home = Variable("HOME");
  return home.empty() ? HomeOfUser() : path(home);
}

// By convention, relative paths in these variables are ignored.
path BaseDirectory(const char* variable, const char* pathInHome) {
  const path base = Variable(variable);
  return (base.is_absolute() ? base : Home() / pathInHome) / "corvane";
}

}  // namespace

path ConfigDirectory() {
  const std::string directory = Variable("CORVANE_CONFIG_DIR");
  return directory.empty() ? BaseDirectory("XDG_CONFIG_HOME", ".config") : path(directory);
}

path DatabaseFile() {
  const std::string file = Variable("CORVANE_DATABASE");
  return file.empty() ? BaseDirectory("XDG_STATE_HOME", ".local/state") / "corvane.db" : path(file);
}

path SysfsRoot() {
  const std::string root = Variable("CORVANE_SYSFS");
  return root.empty() ? path("/sys") : path(root);
}

}  // namespace HostKit
