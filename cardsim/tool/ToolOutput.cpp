#include "cardsim/tool/ToolOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <system_error>

#include "base/Printable.h"

namespace CardSim {

void ReserveStandardStreams() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(fd, F_GETFD) != -1) continue;
    // open() returns the lowest free descriptor, which is this one. The access mode is the opposite
    // of the stream's, so reads and writes still fail.
    open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

namespace {

// The errno of the first failed write to standard output. Later writes may leave errno unset.
int g_Reason = 0;

template <typename Write>
void NoteFailure(Write write) {
  errno = 0;
  write();
  if (!std::cout && g_Reason == 0) g_Reason = errno == 0 ? EIO : errno;
}

}  // namespace

void PrintLine(const std::string& line) {
  const std::string printable = Base::Printable(line);
  NoteFailure([&] { std::cout << printable << '\n'; });
}

void FlushOutput() {
  NoteFailure([] { std::cout.flush(); });
  if (g_Reason == 0) return;
  throw OutputError("cannot write standard output: " + std::generic_category().message(g_Reason));
}

void PrintError(const std::string& text) {
  std::cerr << "cardsim: " << Base::Printable(text) << '\n';
}

}  // namespace CardSim
