#pragma once

#include <boost/filesystem/path.hpp>
#include <string>

#include "sdk/own/export.h"

namespace PI {

class OWN_EXPORT CConfigFile {
 public:
  void SetFileName(boost::filesystem::path);
  int ReadKeyValue(const std::string&, std::string&, int = -1, int = -1);
  unsigned int WriteKeyValue(const std::string&, const std::string&, int = -1, int = -1);

 private:
  boost::filesystem::path m_OwnName;
};

}  // namespace PI
