// What the kit's `PI::CConfigFile` answers, and what it does to the file.
//
// Other keys, sections and comments survive a write. A crash leaves the old file or the new one. A
// file that is damaged, and a key or value that would not read back as given, are
// `RESULT_NOT_WRITTEN`. A missing folder is made; a symbolic link stays one, and the file behind it
// is written.
#pragma once

#include <cstdint>

namespace HostKit {

enum ConfigResult : std::uint32_t {
  RESULT_OK = 0,
  RESULT_NO_KEY = 1,       // no such key, or no such file
  RESULT_UNREADABLE = 2,   // the file exists but cannot be read or is not an ini file
  RESULT_NOT_WRITTEN = 3,  // the old file is unchanged
};

}  // namespace HostKit
