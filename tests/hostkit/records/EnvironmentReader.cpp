// Prints whether it runs with more privileges than its caller, and the paths of its files.
#include <sys/auxv.h>

#include <iostream>

#include "hostkit/Paths.h"

int main() {
  std::cout << getauxval(AT_SECURE) << '\n'
            << HostKit::ConfigDirectory().string() << '\n'
            << HostKit::DatabaseFile().string() << '\n'
            << HostKit::SysfsRoot().string() << '\n';
}
