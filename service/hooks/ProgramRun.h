// One run of a program.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace Hooks {

struct ProgramRun {
  std::filesystem::path m_File;
  std::string m_Input;                     // its standard input
  std::vector<std::string> m_Environment;  // complete, as "NAME=value"
  std::chrono::milliseconds m_Timeout{30000};
  int m_Stop = -1;  // a descriptor; the run ends early when it is readable
};

struct ProgramResult {
  // Empty, or the failure, such as "exit code 1", "killed by signal 9", "killed after 30 s",
  // "cannot be killed".
  std::string m_Failure;
  std::string m_Output;  // standard output and standard error, the first 16 KiB
};

// Runs the program in a separate process group and waits for it. All processes of the group are
// killed when the program exits, when the timeout expires, or when `m_Stop` is readable. A program
// that has not exited three seconds later is left running. Thread-safe. Needs no handlers for
// SIGPIPE and SIGCHLD.
ProgramResult Run(const ProgramRun& run);

}  // namespace Hooks
