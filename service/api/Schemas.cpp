#include "service/api/Schemas.h"

#include <fmt/format.h>

#include <map>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

#include "console/base/Number.h"
#include "service/api/SchemaTexts.h"

namespace Service {
namespace {

using Adapter = valijson::adapters::NlohmannJsonAdapter;
using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

const OrderedJson& ApiTexts() {
  static const OrderedJson texts = OrderedJson::parse(kApiSchemas);
  return texts;
}

// Parsed once, and then immutable and thread-safe.
class ParsedSchemas {
 public:
  ParsedSchemas() {
    for (const auto& [name, schema] : Schemas().items()) Add(name, Json::parse(schema.dump()));
    for (const auto& [name, parameter] : Parameters().items()) {
      Add("?" + name, Json::parse(parameter.at("schema").dump()));
    }
  }

  const valijson::Schema& At(const std::string& name) const { return m_Schemas.at(name); }

 private:
  // Skips schemas with references. Only responses have these, and responses are not checked.
  void Add(const std::string& name, const Json& schema) {
    if (schema.dump().find("$ref") != std::string::npos) return;
    valijson::SchemaParser().populateSchema(Adapter(schema), m_Schemas[name]);
  }

  std::map<std::string, valijson::Schema> m_Schemas;
};

// Converts "<root>[confirm]" to "confirm".
std::string FieldPath(const std::string& context) {
  std::string path;
  for (const char each : context.substr(context.find('>') + 1)) {
    if (each == '[' && !path.empty()) path += '.';
    if (each != '[' && each != ']') path += each;
  }
  return path;
}

}  // namespace

const OrderedJson& Schemas() {
  return ApiTexts().at("schemas");
}

const OrderedJson& Parameters() {
  return ApiTexts().at("parameters");
}

const OrderedJson& ResponseHeaders() {
  return ApiTexts().at("headers");
}

const OrderedJson& DocumentSchema() {
  static const OrderedJson schema = OrderedJson::parse(kDocumentSchema);
  return schema;
}

std::optional<std::string> ValidationError(const Json& document, const std::string& schema) {
  static const ParsedSchemas parsed;
  valijson::ValidationResults results;
  if (valijson::Validator().validate(parsed.At(schema), Adapter(document), &results)) {
    return std::nullopt;
  }
  valijson::ValidationResults::Error error;
  results.popError(error);
  const std::string path = error.context.empty() ? "" : FieldPath(error.context.back());
  return path.empty() ? error.description : fmt::format("{}: {}", path, error.description);
}

std::optional<std::string> ParameterError(const std::string& name, const std::string& text) {
  const bool isNumber = Parameters().at(name).at("schema").value("type", "") == "integer";
  Json value = text;
  // "-0" stays text, which the schema rejects, because handlers cannot parse it as an unsigned
  // number.
  const auto number = Console::ReadNumber<std::int64_t>(text);
  if (isNumber && number && (*number != 0 || text.front() != '-')) {
    value = *number;
  }
  const auto error = ValidationError(value, "?" + name);
  if (!error) return std::nullopt;
  return fmt::format("{}: {}", name, *error);
}

}  // namespace Service
