// Checks of requests against the API's schemas.

#include <gtest/gtest.h>

#include <string>

#include "service/api/Schemas.h"

namespace {

using nlohmann::json;
using Service::ParameterError;
using Service::ValidationError;

struct BodyRow {
  const char* m_Schema;
  const char* m_Body;
  const char* m_Prefix;  // of the error; null if accepted
};

const BodyRow kBodies[] = {
    {"OperationRequest", "{}", nullptr},
    {"OperationRequest", R"({"dry_run": true, "confirm": true, "force": false})", nullptr},
    {"OperationRequest", R"({"confirm": 1})", "confirm: "},
    {"OperationRequest", R"({"confirm": null})", "confirm: "},
    {"OperationRequest", R"({"other": true})", ""},
    {"OperationRequest", "[]", ""},
    {"OperationRequest", "null", ""},
    {"FormatRequest", R"({"sector_size": 1})", nullptr},
    {"FormatRequest", R"({"sector_size": 0})", "sector_size: "},
    {"FormatRequest", R"({"sector_size": 4294967295})", nullptr},
    {"FormatRequest", R"({"sector_size": 4294967296})", "sector_size: "},
    {"FormatRequest", R"({"sector_size": 512.5})", "sector_size: "},
    {"FormatRequest", R"({"sector_size": "512"})", "sector_size: "},
    {"FormatRequest", R"({"capacity": "12345678901234567890123456789012"})", nullptr},
    {"FormatRequest", R"({"capacity": "123456789012345678901234567890123"})", "capacity: "},
    {"PluginChange", R"({"poll_interval": -2147483648})", nullptr},
    {"PluginChange", R"({"poll_interval": -2147483649})", "poll_interval: "},
    {"PluginChange", R"({"poll_interval": 2147483647})", nullptr},
    {"PluginChange", R"({"poll_interval": 2147483648})", "poll_interval: "},
    {"PluginChange", "{}", ""},
    {"SessionCommand", R"({"command": "X", "object": 18446744073709551615})", nullptr},
    {"SessionCommand", R"({"command": "X", "object": 1.5})", "object: "},
    {"SessionCommand", R"({"object": 1})", ""},
    {"SessionCommand", R"({"command": "X", "payload": [{}]})", nullptr},
};

TEST(Schemas, ValidateBodies) {
  for (const BodyRow& row : kBodies) {
    const auto error = ValidationError(json::parse(row.m_Body), row.m_Schema);
    EXPECT_EQ(row.m_Prefix != nullptr, error.has_value()) << row.m_Schema << row.m_Body;
    if (row.m_Prefix == nullptr || !error) continue;
    EXPECT_EQ(row.m_Prefix, error->substr(0, std::string(row.m_Prefix).size())) << row.m_Body;
    EXPECT_GT(error->size(), std::string(row.m_Prefix).size()) << row.m_Body;
  }
}

TEST(Schemas, NameTheMemberAndItsValidValues) {
  const struct {
    const char* m_Schema;
    const char* m_Body;
    const char* m_Error;
  } rows[] = {
      {"OperationRequest", R"({"confirm": "yes"})", "confirm: must be true or false"},
      {"OperationRequest", R"({"foo": 1})", "unknown member 'foo'; valid: dry_run, confirm, force"},
      {"OperationRequest", "[]", "must be a JSON object"},
      {"FormatRequest", R"({"sector_size": 0})",
       "sector_size: must be an integer from 1 to 4294967295"},
      {"SessionCommand", R"({"object": 1})", "command: required"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.m_Error, ValidationError(json::parse(row.m_Body), row.m_Schema)) << row.m_Body;
  }
  EXPECT_EQ("severity: must be one of information, warning, error",
            ParameterError("severity", "bad"));
  EXPECT_EQ("limit: must be an integer from 0 to 1000000000", ParameterError("limit", "-1"));
  EXPECT_EQ("fresh: must be 1", ParameterError("fresh", "2"));
}

struct ParameterRow {
  const char* m_Name;
  std::string m_Text;
  bool m_IsValid;
};

const ParameterRow kParameters[] = {
    {"limit", "0", true},           {"limit", "1000000000", true},
    {"limit", "1000000001", false}, {"limit", "-1", false},
    {"limit", "-0", false},         {"limit", "1.5", false},
    {"limit", "", false},           {"limit", "many", false},
    {"limit", " 1", false},         {"fresh", "1", true},
    {"fresh", "0", false},          {"fresh", "", false},
    {"since", "1h", true},          {"since", std::string(64, 'x'), true},
    {"since", "", false},           {"since", std::string(65, 'x'), false},
};

TEST(Schemas, ValidateParameters) {
  for (const ParameterRow& row : kParameters) {
    const auto error = ParameterError(row.m_Name, row.m_Text);
    EXPECT_EQ(!row.m_IsValid, error.has_value()) << row.m_Name << "=" << row.m_Text;
    if (row.m_IsValid || !error) continue;
    EXPECT_EQ(0U, error->find(std::string(row.m_Name) + ": ")) << *error;
  }
}

}  // namespace
