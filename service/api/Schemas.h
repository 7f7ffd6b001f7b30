// The JSON schemas of the API.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace Service {

// Returns the schemas of bodies and responses by name, with descriptions.
const nlohmann::ordered_json& Schemas();

// Returns the parameters of paths, queries and headers by name, each with "schema" and
// "description".
const nlohmann::ordered_json& Parameters();

// Returns the headers of responses by name, each with "schema" and "description".
const nlohmann::ordered_json& ResponseHeaders();

// Returns the schema of the console's JSON documents.
const nlohmann::ordered_json& DocumentSchema();

// Returns why the document does not match the schema, such as "confirm: ...", or empty if it
// matches.
std::optional<std::string> ValidationError(const nlohmann::json& document,
                                           const std::string& schema);

// Like `ValidationError`, for the value of a parameter.
std::optional<std::string> ParameterError(const std::string& name, const std::string& text);

}  // namespace Service
