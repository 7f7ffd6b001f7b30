// The commands of the plug-in interface over HTTP, for the console and other hosts.
#pragma once

#include "service/api/ApiContext.h"

namespace Service {

// What a session knows about its plug-in.
Http::Reply GetSession(const ApiContext& api, const Http::Request& request);

// One command. Reads are answered from the snapshot, the others by the plug-in, which then is read
// again. Only clients with permission to make changes may set a property or execute an operation.
Http::Reply PostSession(const ApiContext& api, const Http::Request& request);

}  // namespace Service
