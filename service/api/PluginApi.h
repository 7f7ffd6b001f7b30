// Resources for the plug-in object.
#pragma once

#include "service/api/ApiContext.h"

namespace Service {

Http::Reply GetPlugin(const ApiContext& api, const Http::Request& request);
// Sets properties one after another, and stops at the first failure.
Http::Reply PatchPlugin(const ApiContext& api, const Http::Request& request);

}  // namespace Service
