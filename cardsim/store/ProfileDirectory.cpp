#include "cardsim/store/ProfileDirectory.h"

#include <dirent.h>
#include <dlfcn.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>

#include "base/CancellationGuard.h"
#include "cardsim/store/TrustedFile.h"

namespace CardSim {
namespace {

namespace fs = std::filesystem;

// A profile has about fifty lines; a file above this size is not a profile.
constexpr std::int64_t kMaxProfileSize = 1 << 20;

// Returns the default directory, found from the path of the file that this code was loaded from.
// Returns an empty path if that path is relative: the result would depend on the working directory.
fs::path DefaultDirectory() {
  Dl_info info = {};
  const bool found = dladdr(reinterpret_cast<const void*>(&DefaultDirectory), &info) != 0;
  const fs::path module = found && info.dli_fname != nullptr ? info.dli_fname : "";
  if (!module.is_absolute()) return {};
  return (module.parent_path() / CARDSIM_PROFILES_FROM_LIBRARY).lexically_normal();
}

constexpr std::string_view kExtension = ".json";

bool IsProfile(std::string_view file) {
  return file.size() > kExtension.size() &&
         file.substr(file.size() - kExtension.size()) == kExtension;
}

}  // namespace

ProfileDirectory::ProfileDirectory() {
  // Ignored in secure-execution mode, for example in a setuid program.
  const char* named = secure_getenv("CARDSIM_PROFILES");
  m_IsDefault = named == nullptr || *named == '\0';
  m_Path = m_IsDefault ? DefaultDirectory() : fs::path(named);
}

std::vector<std::string> ProfileDirectory::Names() const {
  // Not std::filesystem, whose iterator terminates the process if memory runs out between two
  // names.
  const Base::CancellationGuard guard;
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(m_Path.c_str()), closedir);
  if (directory == nullptr && errno == ENOENT && m_IsDefault) return {};
  if (directory == nullptr && errno == ENOMEM) throw std::bad_alloc();
  if (directory == nullptr) FailWithErrno(m_Path);
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* entry = readdir(directory.get())) {
    const std::string_view file = entry->d_name;
    if (IsProfile(file)) names.emplace_back(file.substr(0, file.size() - kExtension.size()));
    errno = 0;
  }
  if (errno != 0) FailWithErrno(m_Path);
  std::sort(names.begin(), names.end());
  return names;
}

Profile ProfileDirectory::Read(const std::string& name) const {
  const fs::path path = m_Path / (name + std::string(kExtension));
  return ParseProfile(ReadTrustedFile(path, kMaxProfileSize, "is too large for a profile"),
                      path.string());
}

}  // namespace CardSim
