#include "hostkit/database/OwnTables.h"

#include "hostkit/database/HostDatabase.h"

namespace HostKit {

void WithOwnTables(const OwnTablesUse& use) {
  TheDatabase()->With(use);
}

void WithOwnTablesToRead(const OwnTablesUse& use) {
  TheDatabase()->WithToRead(use);
}

}  // namespace HostKit
