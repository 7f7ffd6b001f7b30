// The description of the API, made from its table.
#pragma once

#include <nlohmann/json.hpp>

#include "service/api/ApiContext.h"

namespace Service {

// An OpenAPI 3.1 document of all rows of the table.
nlohmann::ordered_json OpenApiDocument();

Http::Reply GetOpenApi(const ApiContext& api, const Http::Request& request);

}  // namespace Service
