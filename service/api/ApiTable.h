// All resources of the service: one row each, from which dispatch, checks of requests and the
// OpenAPI document are made.
#pragma once

#include <vector>

#include "service/api/ApiContext.h"
#include "service/http/Route.h"

namespace Service {

// Must not wait.
using ApiFunction = Http::Reply (*)(const ApiContext& api, const Http::Request& request);

// A response other than those that any request can get.
struct ResponseRow {
  unsigned m_Status;
  const char* m_Meaning;
  const char* m_MediaType;  // null: no content
  const char* m_Schema;     // the name of a schema; null for text
};

// A problem that the resource can answer with.
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
  std::vector<ProblemRow> m_Problems = {};
  std::vector<const char*> m_Query = {};  // names of parameters
  const char* m_Body = nullptr;           // the name of a schema; null: no body
};

const std::vector<ApiRow>& ApiRows();

// Problems that a request can get from any resource that requires permissions, has a query or a
// body: those of the server.
const std::vector<ProblemRow>& CommonProblems();

// The rows as routes, with checks of query and body in front of each function. The context must
// outlive them.
std::vector<Http::Route> ApiRoutes(const ApiContext& api);

}  // namespace Service
