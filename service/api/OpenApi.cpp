#include "service/api/OpenApi.h"

#include <fmt/format.h>

#include <cctype>
#include <string>
#include <utility>
#include <vector>

#include "base/Lookup.h"
#include "service/api/ApiTable.h"
#include "service/api/Documents.h"
#include "service/api/Schemas.h"
#include "service/http/Router.h"
#include "service/http/Sending.h"

namespace Service {
namespace {

using Json = nlohmann::ordered_json;

// Returns the method's key in the document.
std::string KeyOf(Http::Method method) {
  std::string key(Http::NameOf(method));
  for (char& each : key) each = static_cast<char>(std::tolower(each));
  return key;
}

constexpr std::pair<Http::Access, const char*> kAccessTexts[] = {
    {Http::Access::Anyone, "No permission required."},
    {Http::Access::Read, "Requires read permission; also available over TCP."},
    {Http::Access::Change, "Requires permission to make changes; Unix socket only."}};

Json RefTo(const char* kind, const std::string& name) {
  return {{"$ref", fmt::format("#/components/{}/{}", kind, name)}};
}

// Returns the names in braces in a path.
std::vector<std::string> PathParameters(const std::string& path) {
  std::vector<std::string> names;
  for (auto open = path.find('{'); open != path.npos; open = path.find('{', open + 1)) {
    names.push_back(path.substr(open + 1, path.find('}', open) - open - 1));
  }
  return names;
}

Json ParametersOf(const ApiRow& row) {
  Json list = Json::array();
  for (const std::string& name : PathParameters(row.m_Path)) {
    list.push_back(RefTo("parameters", name));
  }
  for (const char* const name : row.m_Query) list.push_back(RefTo("parameters", name));
  for (const char* const name : HeadersOf(row)) list.push_back(RefTo("parameters", name));
  return list;
}

Json ContentOf(const char* mediaType, const char* schema) {
  const Json described = schema == nullptr ? Json::object() : RefTo("schemas", schema);
  return {{mediaType, {{"schema", described}}}};
}

Json ProblemsJson(const std::vector<ProblemRow>& problems) {
  Json list = Json::array();
  for (const ProblemRow& row : problems) {
    list.push_back({{"status", row.m_Status}, {"id", row.m_Id}, {"meaning", row.m_Meaning}});
  }
  return list;
}

// Returns the description of the headers that every response has, and of the given ones.
Json HeadersJson(const std::vector<const char*>& headers) {
  Json json = Json::object();
  for (const char* const name : headers) json[name] = RefTo("headers", name);
  for (const char* const name : Http::CommonHeaderNames()) json[name] = RefTo("headers", name);
  return json;
}

// Adds one response per status, which lists all problems with that status.
void AddProblems(Json& responses, const std::vector<ProblemRow>& problems) {
  for (const ProblemRow& row : problems) {
    Json& response = responses[std::to_string(row.m_Status)];
    const std::string line = fmt::format("`{}`: {}", row.m_Id, row.m_Meaning);
    if (response.is_null()) {
      response = {{"description", line},
                  {"headers", HeadersJson({})},
                  {"content", ContentOf("application/problem+json", "Problem")}};
    } else {
      response["description"] = response["description"].get<std::string>() + "\n\n" + line;
    }
  }
}

Json ResponsesOf(const ApiRow& row) {
  Json responses = Json::object();
  for (const ResponseRow& each : row.m_Responses) {
    Json& response = responses[std::to_string(each.m_Status)];
    response["description"] = each.m_Meaning;
    response["headers"] = HeadersJson(each.m_Headers);
    if (each.m_MediaType == nullptr) continue;
    response["content"] = ContentOf(each.m_MediaType, each.m_Schema);
  }
  AddProblems(responses, ProblemsOf(row));
  responses["default"] = RefTo("responses", "Common");
  return responses;
}

Json OperationJson(const ApiRow& row) {
  Json operation = {{"operationId", row.m_Id},
                    {"summary", row.m_Summary},
                    {"description", Base::Lookup(kAccessTexts, row.m_Access, "")},
                    {"parameters", ParametersOf(row)}};
  if (row.m_Body != nullptr) {
    operation["requestBody"] = {{"required", true}, {"content", ContentOf(kJsonType, row.m_Body)}};
  }
  operation["responses"] = ResponsesOf(row);
  operation["x-problems"] = ProblemsJson(ProblemsOf(row));
  return operation;
}

Json PathsJson() {
  Json paths = Json::object();
  for (const ApiRow& row : ApiRows()) paths[row.m_Path][KeyOf(row.m_Method)] = OperationJson(row);
  return paths;
}

Json ComponentParameters() {
  Json parameters = Json::object();
  for (const auto& [name, parameter] : Parameters().items()) {
    parameters[name] = {{"name", name}, {"in", parameter.at("in")}};
    if (parameter.at("in") == "path" || parameter.value("required", false)) {
      parameters[name]["required"] = true;
    }
    for (const char* const key : {"description", "schema", "example"}) {
      if (parameter.contains(key)) parameters[name][key] = parameter.at(key);
    }
  }
  return parameters;
}

// References in the console's schema are relative to its root, which becomes a component here.
void RebaseRefs(Json& json) {
  for (auto& [name, value] : json.items()) {
    if (value.is_structured()) RebaseRefs(value);
    if (name != "$ref" || !value.is_string()) continue;
    value = "#/components/schemas/Document" + value.get<std::string>().substr(1);
  }
}

Json ComponentSchemas() {
  Json schemas = Schemas();
  schemas["Document"] = DocumentSchema();
  schemas["Document"].erase("$schema");
  RebaseRefs(schemas["Document"]);
  return schemas;
}

Json CommonResponse() {
  std::string description = "Errors that any request can return.";
  for (const ProblemRow& row : CommonProblems()) {
    description += fmt::format("\n\n{} `{}`: {}", row.m_Status, row.m_Id, row.m_Meaning);
  }
  return {{"description", description},
          {"headers", HeadersJson({"Allow"})},
          {"content", ContentOf("application/problem+json", "Problem")},
          {"x-problems", ProblemsJson(CommonProblems())}};
}

}  // namespace

Json OpenApiDocument() {
  return {
      {"openapi", "3.1.0"},
      {"info",
       {{"title", "Corvane"}, {"summary", "PCIe flash cards of one machine."}, {"version", "1"}}},
      {"paths", PathsJson()},
      {"components",
       {{"parameters", ComponentParameters()},
        {"headers", ResponseHeaders()},
        {"responses", {{"Common", CommonResponse()}}},
        {"schemas", ComponentSchemas()}}}};
}

Http::Reply GetOpenApi(const ApiContext&, const Http::Request&) {
  static const std::string text = JsonText(OpenApiDocument());
  return Http::MakeResponse(200, kJsonType, text);
}

}  // namespace Service
