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

// Parsed once; read by any thread.
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
  // Only responses refer to other schemas, and nothing checks those here.
  void Add(const std::string& name, const Json& schema) {
    if (schema.dump().find("$ref") != std::string::npos) return;
    valijson::SchemaParser().populateSchema(Adapter(schema), m_Schemas[name]);
  }

  std::map<std::string, valijson::Schema> m_Schemas;
};

// "<root>[confirm]" as "confirm".
std::string Place(const std::string& context) {
  std::string place;
  for (const char each : context.substr(context.find('>') + 1)) {
    if (each == '[' && !place.empty()) place += '.';
    if (each != '[' && each != ']') place += each;
  }
  return place;
}

std::optional<std::string> Objection(const Json& document, const std::string& schema) {
  static const ParsedSchemas parsed;
  valijson::ValidationResults results;
  if (valijson::Validator().validate(parsed.At(schema), Adapter(document), &results)) {
    return std::nullopt;
  }
  valijson::ValidationResults::Error error;
  results.popError(error);
  const std::string place = error.context.empty() ? "" : Place(error.context.back());
  return place.empty() ? error.description : fmt::format("{}: {}", place, error.description);
}

}  // namespace

const OrderedJson& Schemas() {
  return ApiTexts().at("schemas");
}

const OrderedJson& Parameters() {
  return ApiTexts().at("parameters");
}

const OrderedJson& DocumentSchema() {
  static const OrderedJson schema = OrderedJson::parse(kDocumentSchema);
  return schema;
}

std::optional<std::string> ObjectionTo(const Json& document, const std::string& schema) {
  return Objection(document, schema);
}

std::optional<std::string> ObjectionToParameter(const std::string& name, const std::string& text) {
  const bool isNumber = Parameters().at(name).at("schema").value("type", "") == "integer";
  Json value = text;
  if (const auto number = Console::ReadNumber<std::int64_t>(text); isNumber && number) {
    value = *number;
  }
  const auto objection = Objection(value, "?" + name);
  if (!objection) return std::nullopt;
  return fmt::format("{}: {}", name, *objection);
}

}  // namespace Service
