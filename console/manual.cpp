// Fills the manual page on standard input from the tables of commands and options.
#include <iostream>
#include <iterator>

#include "console/cli/ManualPage.h"
#include "console/commands/All.h"

int main() {
  const std::string page(std::istreambuf_iterator<char>(std::cin), {});
  std::cout << Console::FillManualPage(page, Console::AllCommands());
  return std::cout.flush() ? 0 : 1;
}
