// Linked into the test programs that run under the thread sanitizer. The races that are accepted go
// by function name, and the sanitizer has the names from a program of LLVM's: without it nothing is
// accepted, and tests fail for a reason that no report shows. The question takes some time, so that
// CTest has it asked once, and sets CORVANE_SYMBOLIZER for all other programs.
#include <gnu/libc-version.h>
#include <sanitizer/common_interface_defs.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// A function of the C library is looked for, which is quicker to read than a test program. The
// address is one as a stack has it: that of the instruction after a call.
[[gnu::constructor]] void RequireSymbolizer() {
  if (std::getenv("CORVANE_SYMBOLIZER") != nullptr) return;
  const auto address = reinterpret_cast<char*>(&gnu_get_libc_version) + 1;
  char name[64] = "";
  __sanitizer_symbolize_pc(address, "%f", name, sizeof name);
  if (std::strstr(name, "gnu_get_libc_version") != nullptr) return;
  std::fputs(
      "The thread sanitizer cannot show the names of functions, so that tests/tsan.supp has no "
      "effect.\nInstall llvm-symbolizer, on Debian: apt-get install llvm-14\n",
      stderr);
  _exit(1);
}

}  // namespace
