#include "hostkit/database/OwnTables.h"

#include "hostkit/database/HostDatabase.h"

namespace HostKit {

void WithOwnTables(const OwnTablesUse& use) {
  TheDatabase()->With(use);
}

void ReadOwnTables(const OwnTablesUse& use) {
  TheDatabase()->WithReadAccess(use);
}

}  // namespace HostKit
