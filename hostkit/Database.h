// What a host may do with its database beyond handing it to plug-ins.
#pragma once

#include "host/Visibility.h"

namespace HostKit {

// Begins a new life of the host on the file that CORVANE_DATABASE names now: closes the old one,
// opens the new one, and clears the plug-ins' rows that an earlier life left in it. The pointer of
// `getDatabasePointer` stays good. A file that cannot be opened is tried again at each statement,
// and only they report it. From any thread; for a host that changes its file.
HOST_API void ReopenDatabase();

}  // namespace HostKit
