// The directory with a site's profile files.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "cardsim/store/Profiles.h"

namespace CardSim {

class ProfileDirectory {
 public:
  // Selects the directory that CARDSIM_PROFILES names, else ../share/corvane/profiles relative to
  // the directory of this library, both in a build tree and installed. Does not access the
  // directory.
  ProfileDirectory();

  // Returns the names of the files NAME.json, sorted. Empty if the default directory does not
  // exist. Throws `std::runtime_error` if the directory cannot be listed.
  std::vector<std::string> Names() const;

  // Returns the profile in NAME.json. Throws `std::runtime_error`, "FILE: reason", if the file is
  // missing, damaged, or another user could have created it.
  Profile Read(const std::string& name) const;

 private:
  std::filesystem::path m_Path;
  bool m_IsDefault;
};

}  // namespace CardSim
