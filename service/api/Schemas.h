// The JSON schemas of the API.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace Service {

// By name: schemas of bodies and responses, with descriptions.
const nlohmann::ordered_json& Schemas();

// By name: the parameters of paths and queries, each with "schema" and "description".
const nlohmann::ordered_json& Parameters();

// The schema of the console's JSON documents.
const nlohmann::ordered_json& DocumentSchema();

// What is wrong with a document: "confirm: ...". Empty if it has the schema of that name.
std::optional<std::string> ObjectionTo(const nlohmann::json& document, const std::string& schema);

// The same for the text of a query parameter.
std::optional<std::string> ObjectionToParameter(const std::string& name, const std::string& text);

}  // namespace Service
