// Where trace lines go and which are written.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "host/Visibility.h"

namespace HostKit {

// One line as a module sent it.
struct HOST_API TraceLine {
  unsigned int level;
  std::string module;
  std::string file;  // the source's stem
  std::string function;
  int line;
  std::string text;
};

// Sets the mask of every module, of those loaded now and those loaded later.
HOST_API void SetTraceMask(std::uint32_t mask);

// A number, a list of levels as in "2,4,16", "all" or "off"; nothing for any other text.
HOST_API std::optional<std::uint32_t> ParseTraceLevels(const std::string& text);

// Sends lines to `sink` instead of the log, one at a time; an empty function brings the log back.
// The sink may be called with locks of the module held; it must not call into it, nor wait.
HOST_API void SetTraceSink(std::function<void(const TraceLine&)> sink);

// Sends the log to a file, made if missing and rotated as it grows, or to standard error when
// `path` is empty. False when the file cannot be opened; the log then stays where it was.
HOST_API bool SetTraceFile(const std::string& path);

}  // namespace HostKit
