#include "console/Terminal.h"

#include <unistd.h>

#include <boost/algorithm/string/trim.hpp>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "console/Stop.h"

namespace Console {

bool CanAsk(const Options& options) {
  return !options.m_NoInput && isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0;
}

bool CanRewriteLine() {
  const char* kind = std::getenv("TERM");
  return isatty(STDERR_FILENO) != 0 && kind != nullptr && std::strcmp(kind, "dumb") != 0;
}

// The terminal itself edits the line; it is read byte by byte so that nothing beyond it is taken.
std::string AskLine(const std::string& question) {
  constexpr std::chrono::milliseconds kOneWait = std::chrono::hours(1);
  std::fputs(question.c_str(), stderr);
  std::string line;
  while (true) {
    const bool readable = WaitReadable(STDIN_FILENO, kOneWait);
    CheckStop();
    if (!readable) continue;
    char byte = '\n';
    const ssize_t count = read(STDIN_FILENO, &byte, 1);
    if (count <= 0) std::fputs("\n", stderr);
    if (count <= 0 || byte == '\n') return boost::trim_copy(line);
    line += byte;
  }
}

}  // namespace Console
