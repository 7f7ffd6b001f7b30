// Selection and destination of trace lines. All functions are thread-safe.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "host/Visibility.h"

namespace HostKit {

// One line as a module sent it. The strings may contain arbitrary bytes.
struct HOST_API TraceLine {
  unsigned int level;  // one bit of the trace mask
  std::string module;  // the module's name
  std::string file;    // without directory and extension
  std::string function;
  int line;
  std::string text;
  std::string thread;  // name of the thread that traced
};

// Sets the trace mask (one bit per level) of all modules, including those loaded later. The initial
// mask is taken from CORVANE_TRACE.
HOST_API void SetTraceMask(std::uint32_t mask);

// Returns the mask for a number, a list of levels such as "2,4,16", "all" or "off"; std::nullopt
// for any other string.
HOST_API std::optional<std::uint32_t> ParseTraceLevels(const std::string& text);

// Sends lines to `sink` instead of the log, one at a time; an empty function restores the log. The
// sink is called on the thread that traces, possibly with locks of the module held: it must neither
// call the module nor wait.
HOST_API void SetTraceSink(std::function<void(const TraceLine&)> sink);

// Sends the log to a file, which is created if missing and rotated as it grows, or to standard
// error if `path` is empty. Returns false, with the reason in errno, and changes nothing if the
// file cannot be opened or another user could have created it. At startup the log goes to
// CORVANE_TRACE_FILE, or to standard error if that is unset.
HOST_API bool SetTraceFile(const std::string& path);

}  // namespace HostKit
