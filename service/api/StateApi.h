// Resources for the stored state: known cards, acknowledgments and history.
#pragma once

#include "service/api/ApiContext.h"

namespace Service {

Http::Reply GetKnownCards(const ApiContext& api, const Http::Request& request);
// Forgets a missing card.
Http::Reply DeleteCard(const ApiContext& api, const Http::Request& request);

Http::Reply GetHistory(const ApiContext& api, const Http::Request& request);

Http::Reply GetAcknowledgments(const ApiContext& api, const Http::Request& request);
Http::Reply PostAcknowledgment(const ApiContext& api, const Http::Request& request);
Http::Reply DeleteAcknowledgment(const ApiContext& api, const Http::Request& request);

}  // namespace Service
