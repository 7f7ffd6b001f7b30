#include "cardsim/store/ProfileFolder.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <system_error>

#include "cardsim/store/TrustedFile.h"

namespace CardSim {
namespace {

namespace fs = std::filesystem;

// A profile has some fifty lines. More is a wrong file.
constexpr std::int64_t kLargestProfile = 1 << 20;

// Beside the folder of the file that this code was loaded from. Empty without an absolute path to
// that file: a relative one would lead somewhere else in each working directory.
fs::path DefaultFolder() {
  Dl_info info = {};
  const bool found = dladdr(reinterpret_cast<const void*>(&DefaultFolder), &info) != 0;
  const fs::path module = found && info.dli_fname != nullptr ? info.dli_fname : "";
  if (!module.is_absolute()) return {};
  return (module.parent_path() / "../share/corvane/profiles").lexically_normal();
}

}  // namespace

ProfileFolder::ProfileFolder() {
  // Unset for a program that runs with more rights than whoever started it.
  const char* named = secure_getenv("CARDSIM_PROFILES");
  m_IsDefault = named == nullptr || *named == '\0';
  m_Path = m_IsDefault ? DefaultFolder() : fs::path(named);
}

std::vector<std::string> ProfileFolder::Names() const {
  std::error_code error;
  std::vector<std::string> names;
  fs::directory_iterator entry(m_Path, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    if (entry->path().extension() == ".json") names.push_back(entry->path().stem().string());
  }
  if (error == std::errc::not_enough_memory) throw std::bad_alloc();
  const bool isMissing = error == std::errc::no_such_file_or_directory;
  if (error && !(isMissing && m_IsDefault)) {
    throw std::runtime_error(m_Path.string() + ": " + error.message());
  }
  std::sort(names.begin(), names.end());
  return names;
}

Profile ProfileFolder::Read(const std::string& name) const {
  const fs::path path = m_Path / (name + ".json");
  return ParseProfile(ReadTrustedFile(path, kLargestProfile, "is too large for a profile"),
                      path.string());
}

}  // namespace CardSim
