// Linked into the test programs that run under the thread sanitizer. Accepted races are listed by
// function name, and the sanitizer gets the names from LLVM's symbolizer. Without the symbolizer,
// no race is accepted and tests fail for no obvious reason. The check takes some time, so CTest
// runs it once, and sets CORVANE_SYMBOLIZER for all other programs.
#include <gnu/libc-version.h>
#include <sanitizer/common_interface_defs.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// Looks up a function of the C library, whose symbols load faster than those of a test program. The
// address is past the start of the function, like a return address.
[[gnu::constructor]] void RequireSymbolizer() {
  if (std::getenv("CORVANE_SYMBOLIZER") != nullptr) return;
  const auto address = reinterpret_cast<char*>(&gnu_get_libc_version) + 1;
  char name[64] = "";
  __sanitizer_symbolize_pc(address, "%f", name, sizeof name);
  if (std::strstr(name, "gnu_get_libc_version") != nullptr) return;
  std::fputs(
      "The thread sanitizer cannot show the names of functions, so tests/tsan.supp has no "
      "effect.\nInstall llvm-symbolizer, on Debian: apt-get install llvm-14\n",
      stderr);
  _exit(1);
}

}  // namespace
