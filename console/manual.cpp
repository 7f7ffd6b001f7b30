// Reads the manual page from standard input, inserts the command and option tables, and writes the
// result to standard output.
#include <iostream>
#include <iterator>

#include "console/cli/ManualPage.h"
#include "console/commands/All.h"

int main() {
  const std::string page(std::istreambuf_iterator<char>(std::cin), {});
  std::cout << Console::FillManualPage(page, Console::AllCommands());
  return std::cout.flush() ? 0 : 1;
}
