// Operations on cards, which run as jobs.
#pragma once

#include "service/api/ApiContext.h"

namespace Service {

Http::Reply PostCardOperation(const ApiContext& api, const Http::Request& request);
Http::Reply PostDriveOperation(const ApiContext& api, const Http::Request& request);
Http::Reply PostFormat(const ApiContext& api, const Http::Request& request);

Http::Reply GetJobs(const ApiContext& api, const Http::Request& request);
Http::Reply GetJob(const ApiContext& api, const Http::Request& request);

}  // namespace Service
