// Result codes of `PI::CConfigFile`, and how it writes ini files.
//
// Writes are atomic and preserve other keys, sections and comments. Concurrent writers, including
// those in other processes, wait for each other. A missing directory is created. If the path is a
// symbolic link, the target of the link is replaced. A write fails if the file is damaged or if the
// key or value would not read back unchanged.
#pragma once

#include <cstdint>

namespace HostKit {

// Returned by `ReadKeyValue` and `WriteKeyValue`.
enum ConfigResult : std::uint32_t {
  RESULT_OK = 0,
  RESULT_NO_KEY = 1,       // no such key, or no such file
  RESULT_UNREADABLE = 2,   // the file exists but cannot be read or is not an ini file
  RESULT_NOT_WRITTEN = 3,  // the old file is unchanged
};

}  // namespace HostKit
