// Prints the journal catalog when the project is built.
#include <iostream>

#include "service/MessageCatalog.h"

int main() {
  std::cout << Service::CatalogText();
  return std::cout.flush() ? 0 : 1;
}
