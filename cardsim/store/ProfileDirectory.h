// The profile files of a site.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "cardsim/store/Profiles.h"

namespace CardSim {

class ProfileDirectory {
 public:
  // The directory that CARDSIM_PROFILES names, else ../share/corvane/profiles from the directory of
  // this library, both in a build tree and installed. Reads nothing.
  ProfileDirectory();

  // The names of the files NAME.json, sorted. Empty if the default directory does not exist. Throws
  // `std::runtime_error` if the directory cannot be listed.
  std::vector<std::string> Names() const;

  // The profile of NAME.json. Throws `std::runtime_error`, "FILE: why", if the file is missing,
  // damaged, or another user could have put it there.
  Profile Read(const std::string& name) const;

 private:
  std::filesystem::path m_Path;
  bool m_IsDefault;
};

}  // namespace CardSim
