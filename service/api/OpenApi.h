// The OpenAPI description, generated from the table of the API.
#pragma once

#include <nlohmann/json.hpp>

#include "service/api/ApiContext.h"

namespace Service {

// Returns an OpenAPI 3.1 document with all rows of the table.
nlohmann::ordered_json OpenApiDocument();

Http::Reply GetOpenApi(const ApiContext& api, const Http::Request& request);

}  // namespace Service
