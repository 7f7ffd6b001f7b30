#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "service/http/Escapes.h"
#include "service/http/Message.h"

namespace {

using Http::DecodeEscapes;
using Http::MakeProblem;
using Http::MatchesEntityTag;
using nlohmann::json;

TEST(Problem, HasTheFieldsOfAProblemDocument) {
  const Http::Response response = MakeProblem(404, "NOT_FOUND", "unknown path");
  EXPECT_EQ(404U, response.m_Status);
  EXPECT_EQ("application/problem+json", response.m_ContentType);
  EXPECT_EQ(json::parse(R"({"type": "about:blank", "title": "Not Found", "status": 404,
                            "detail": "unknown path", "id": "NOT_FOUND"})"),
            json::parse(*response.m_Body));
}

TEST(Problem, MayHaveAHint) {
  const json document = json::parse(*MakeProblem(403, "A", "b", "Do this.").m_Body);
  EXPECT_EQ("Do this.", document.at("hint"));
}

TEST(Problem, ReplacesBytesThatAreNotUtf8) {
  const json document = json::parse(*MakeProblem(400, "A", "x\xff").m_Body);
  EXPECT_EQ("x\xef\xbf\xbd", document.at("detail"));
}

TEST(EntityTag, IsComparedWithEachTagInTheHeader) {
  struct {
    const char* m_Header;
    bool m_Matches;
  } const cases[] = {
      {"\"v7\"", true},         {"W/\"v7\"", true}, {"*", true},     {"\"v6\", \"v7\"", true},
      {" \"v7\" ,\"x\"", true}, {"\"v6\"", false},  {"v7", false},   {"", false},
      {"\"v77\"", false},       {"\"v7", false},    {"W/v7", false}, {",", false},
      {"\"V7\"", false},        {"\"\"", false},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(each.m_Matches, MatchesEntityTag(each.m_Header, "v7")) << each.m_Header;
  }
}

TEST(Escapes, AreDecodedOrRejected) {
  const std::string refused = "refused";
  struct {
    const char* m_Escaped;
    std::string m_Decoded;
  } const cases[] = {
      {"", ""},
      {"FA01", "FA01"},
      {"a%20b", "a b"},
      {"%2e%2E%2f", "../"},
      {"%C3%A4", "\u00e4"},
      {"a+b", "a+b"},
      {"%", refused},
      {"%2", refused},
      {"%zz", refused},
      {"%2g", refused},
      {"%-1", refused},
      {"% 1", refused},
      {"%00", refused},
      {"a%00b", refused},
      {"%ff", refused},
      {"\xff", refused},
      {"%c3", refused},
      {"%C0%80", refused},
      {"%ED%A0%80", refused},
      {"%%41", refused},
      {"%u0041", refused},
      {"%0x41", refused},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(each.m_Decoded, DecodeEscapes(each.m_Escaped).value_or(refused)) << each.m_Escaped;
  }
}

}  // namespace
