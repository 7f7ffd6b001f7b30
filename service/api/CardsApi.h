// Handlers for cards, events, metrics and the state of the service. They read the snapshot and the
// event log.
#pragma once

#include "service/api/ApiContext.h"

namespace Service {

// With "fresh" in the query string, the replies of these three handlers wait for a new snapshot.
Http::Reply GetCards(const ApiContext& api, const Http::Request& request);
Http::Reply GetCard(const ApiContext& api, const Http::Request& request);
Http::Reply GetDrive(const ApiContext& api, const Http::Request& request);

Http::Reply GetStatus(const ApiContext& api, const Http::Request& request);
Http::Reply GetEvents(const ApiContext& api, const Http::Request& request);
Http::Reply GetMetrics(const ApiContext& api, const Http::Request& request);

// Succeeds whenever the service responds.
Http::Reply GetHealth(const ApiContext& api, const Http::Request& request);
// Succeeds while the plug-in is running and has reported its cards.
Http::Reply GetReadiness(const ApiContext& api, const Http::Request& request);

}  // namespace Service
