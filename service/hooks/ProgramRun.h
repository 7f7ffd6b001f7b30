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
  std::vector<std::string> m_Environment;  // all of it: "NAME=value"
  std::chrono::milliseconds m_Timeout{30000};
  int m_Stop = -1;  // a descriptor that ends the run early when it is readable
};

struct ProgramResult {
  // Empty, or what went wrong: "exit code 1", "killed by signal 9", "killed after 30 s".
  std::string m_Failure;
  std::string m_Output;  // of both streams, the first 16 KiB
};

// Runs the program in a process group of its own and waits for it. When it ends, at the timeout, or
// when it has to stop, all processes of the group are killed. Any thread may call it; SIGPIPE and
// SIGCHLD do not matter.
ProgramResult Run(const ProgramRun& run);

}  // namespace Hooks
