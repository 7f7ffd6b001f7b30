#include "service/api/Schemas.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <map>
#include <string>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>
#include <vector>

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

// Returns a range such as " from 1 to 100" for the limits with these names in a schema.
std::string RangeText(const OrderedJson& schema, const char* least, const char* most) {
  const bool hasLeast = schema.contains(least);
  if (!schema.contains(most)) return hasLeast ? " of at least " + schema.at(least).dump() : "";
  const std::string highest = schema.at(most).dump();
  return hasLeast ? fmt::format(" from {} to {}", schema.at(least).dump(), highest)
                  : " of at most " + highest;
}

std::string ChoicesText(const OrderedJson& choices) {
  std::vector<std::string> names;
  for (const OrderedJson& each : choices) names.push_back(each.get<std::string>());
  return names.size() == 1 ? names.front() : fmt::format("one of {}", fmt::join(names, ", "));
}

// Describes the values that a schema accepts, such as "an integer from 1 to 100". Returns empty for
// a schema that is more complex.
std::string Expectation(const OrderedJson& schema) {
  if (schema.contains("enum")) return ChoicesText(schema.at("enum"));
  if (!schema.contains("type") || !schema.at("type").is_string()) return {};
  const auto type = schema.at("type").get<std::string>();
  if (type == "boolean") return "true or false";
  if (type == "integer") return "an integer" + RangeText(schema, "minimum", "maximum");
  if (type == "object") return "a JSON object";
  if (type != "string") return {};
  const std::string length = RangeText(schema, "minLength", "maxLength");
  return length.empty() ? "a string" : fmt::format("a string with a length{}", length);
}

std::string MemberNames(const OrderedJson& properties) {
  std::vector<std::string> names;
  for (const auto& [name, schema] : properties.items()) names.push_back(name);
  return fmt::format("{}", fmt::join(names, ", "));
}

// Returns what is wrong with the names of an object's members, or empty.
std::string MemberError(const Json& document, const OrderedJson& schema) {
  if (!document.is_object() || !schema.contains("properties")) return {};
  const OrderedJson& properties = schema.at("properties");
  for (const auto& [name, value] : document.items()) {
    if (properties.contains(name)) continue;
    return fmt::format("unknown member '{}'; valid: {}", name, MemberNames(properties));
  }
  for (const OrderedJson& name : schema.value("required", OrderedJson::array())) {
    if (!document.contains(name.get<std::string>())) return name.get<std::string>() + ": required";
  }
  return {};
}

// Describes an error of the validator in terms of the schema. `path` is that of the wrong value;
// empty for the document itself.
std::string ErrorText(const Json& document, const OrderedJson& schema, const std::string& path,
                      const std::string& description) {
  if (path.empty()) {
    if (std::string text = MemberError(document, schema); !text.empty()) return text;
  }
  const OrderedJson* wrong = path.empty() ? &schema : nullptr;
  if (wrong == nullptr && schema.contains("properties") && schema.at("properties").contains(path)) {
    wrong = &schema.at("properties").at(path);
  }
  const std::string expected = wrong == nullptr ? std::string() : Expectation(*wrong);
  const std::string text = expected.empty() ? description : "must be " + expected;
  return path.empty() ? text : fmt::format("{}: {}", path, text);
}

const OrderedJson& SchemaOf(const std::string& name) {
  const bool isParameter = name.front() == '?';
  return isParameter ? Parameters().at(name.substr(1)).at("schema") : Schemas().at(name);
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
  return ErrorText(document, SchemaOf(schema), path, error.description);
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
