// The commands of the plug-in interface over HTTP, for the console and other hosts.
#pragma once

#include "service/api/ApiContext.h"

namespace Service {

// Returns the state of the plug-in. The reply waits until the plug-in's first start has succeeded
// or failed.
Http::Reply GetSession(const ApiContext& api, const Http::Request& request);

// Executes one command. Reads are answered from the snapshot, or with `fresh` from a new snapshot;
// other commands are sent to the plug-in. The reply to a change is sent once the snapshot contains
// it. Only clients with permission to make changes may set a property or execute an operation.
Http::Reply PostSession(const ApiContext& api, const Http::Request& request);

// Returns entries of the event log as records: those after a number, or the newest.
Http::Reply GetSessionEvents(const ApiContext& api, const Http::Request& request);

// Returns a table that the plug-in has written, as records.
Http::Reply GetSessionRows(const ApiContext& api, const Http::Request& request);

// Streams server-sent events: those after Last-Event-ID, or only new ones.
Http::Reply GetEventStream(const ApiContext& api, const Http::Request& request);

// Returns how many events were ever logged, by event id and severity.
Http::Reply GetSessionEventCounts(const ApiContext& api, const Http::Request& request);

}  // namespace Service
