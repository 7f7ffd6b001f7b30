// Prints the journal catalog. The build runs this program.
#include <iostream>

#include "service/MessageCatalog.h"

int main() {
  std::cout << Service::CatalogText();
  return std::cout.flush() ? 0 : 1;
}
