// The commands of the plug-in interface over HTTP, for the console and other hosts.
#pragma once

#include "service/api/ApiContext.h"

namespace Service {

// What a session knows about its plug-in; while it is starting, when it has started.
Http::Reply GetSession(const ApiContext& api, const Http::Request& request);

// One command. Reads are answered from the snapshot, with `fresh` from one that is read now; the
// others by the plug-in. A change is answered when the snapshot has it. Only clients with
// permission to make changes may set a property or execute an operation.
Http::Reply PostSession(const ApiContext& api, const Http::Request& request);

// Entries of the event log as records: those after a number, or the newest.
Http::Reply GetSessionEvents(const ApiContext& api, const Http::Request& request);

// Server-sent events: those after Last-Event-ID, or those to come.
Http::Reply GetEventStream(const ApiContext& api, const Http::Request& request);

// How many events were ever logged, by number and severity.
Http::Reply GetSessionEventCounts(const ApiContext& api, const Http::Request& request);

}  // namespace Service
