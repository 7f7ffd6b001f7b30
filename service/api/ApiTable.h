// The table of all resources of the service. Request dispatch, request checks and the OpenAPI
// document are based on it.
#pragma once

#include <vector>

#include "service/api/ApiContext.h"
#include "service/http/Route.h"

namespace Service {

// Handles a request. Must not block.
using ApiFunction = Http::Reply (*)(const ApiContext& api, const Http::Request& request);

// A response of a resource, other than a problem.
struct ResponseRow {
  unsigned m_Status;
  const char* m_Meaning;
  const char* m_MediaType;  // null: no content
  const char* m_Schema;     // name of a schema; null: none
  // Names of its headers, except those that every response has.
  std::vector<const char*> m_Headers = {};
};

// A problem that a resource can return.
struct ProblemRow {
  unsigned m_Status;
  const char* m_Id;
  const char* m_Meaning;
};

struct ApiRow {
  Http::Method m_Method;
  const char* m_Path;
  Http::Access m_Access;
  const char* m_Id;  // of the operation, for generated clients
  const char* m_Summary;
  ApiFunction m_Function;
  std::vector<ResponseRow> m_Responses;
  std::vector<ProblemRow> m_Problems = {};  // except those of its path and headers
  std::vector<const char*> m_Query = {};    // names of parameters
  const char* m_Body = nullptr;             // name of a schema; null: no body
  std::vector<const char*> m_Headers = {};  // names of parameters that only this row honors
};

// Returns the names of the request headers that the row honors. Every change honors
// Idempotency-Key, and every response that may be a 304 honors If-None-Match.
std::vector<const char*> HeadersOf(const ApiRow& row);

// Returns all problems of the row, including those of its path and headers.
std::vector<ProblemRow> ProblemsOf(const ApiRow& row);

const std::vector<ApiRow>& ApiRows();

// Problems that the server itself can return for a request to any resource.
const std::vector<ProblemRow>& CommonProblems();

// Returns the rows as routes, which check query and body before they call the function. The context
// must outlive the routes.
std::vector<Http::Route> ApiRoutes(const ApiContext& api);

}  // namespace Service
