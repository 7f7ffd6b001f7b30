// The results of the kit's `PI::CConfigFile`, and what it does to the file.
//
// A write keeps other keys, sections and comments. It is atomic: a crash leaves the old file or the
// new one. Concurrent writers, also in other processes, wait for each other. A missing directory is
// created. A symbolic link is kept, and its target written. A damaged file, and a key or value that
// would not read back as given, are not written.
#pragma once

#include <cstdint>

namespace HostKit {

// What `ReadKeyValue` and `WriteKeyValue` return.
enum ConfigResult : std::uint32_t {
  RESULT_OK = 0,
  RESULT_NO_KEY = 1,       // no such key, or no such file
  RESULT_UNREADABLE = 2,   // the file exists but cannot be read or is not an ini file
  RESULT_NOT_WRITTEN = 3,  // the old file is unchanged
};

}  // namespace HostKit
