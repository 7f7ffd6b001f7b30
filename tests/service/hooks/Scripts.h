// Shell scripts for tests.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "tests/support/Temporary.h"

namespace HooksTest {

// Writes a shell script with this mode, regardless of the umask.
inline std::filesystem::path WriteScript(const std::filesystem::path& file, const std::string& body,
                                         mode_t mode = 0755) {
  WriteText(file, "#!/bin/sh\n" + body + "\n");
  chmod(file.c_str(), mode);
  return file;
}

}  // namespace HooksTest
