#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "service/http/Router.h"

namespace {

using Http::Access;
using Http::Method;
using Http::MethodOf;
using Http::Route;
using Http::Router;
using Http::SegmentsOf;
using testing::ElementsAre;

Route RouteTo(Method method, const std::string& path) {
  return {method, path, Access::Anyone, nullptr};
}

const Router& Cards() {
  static const Router router({
      RouteTo(Method::Get, "/cards"),
      RouteTo(Method::Get, "/cards/stream"),
      RouteTo(Method::Get, "/cards/{serial}"),
      RouteTo(Method::Delete, "/cards/{serial}"),
      RouteTo(Method::Post, "/cards/{serial}/operations/{name}"),
      RouteTo(Method::Get, "/"),
  });
  return router;
}

// Renders the match as "PATH serial=a", "405 GET, HEAD" or "404".
std::string MatchText(const std::string& method, const std::vector<std::string>& segments) {
  const Router::Match match = Cards().Find(MethodOf(method), segments);
  if (match.m_Allowed.empty()) return "404";
  if (match.m_Route == nullptr) return "405 " + match.m_Allowed;
  std::string text = match.m_Route->m_Path;
  for (const auto& [name, value] : match.m_Parameters) text += " " + name + "=" + value;
  return text;
}

TEST(Router, FindsTheFirstMatchingRoute) {
  struct {
    std::string m_Method;
    std::vector<std::string> m_Segments;
    std::string m_Found;
  } const cases[] = {
      {"GET", {"cards"}, "/cards"},
      {"HEAD", {"cards"}, "/cards"},
      {"GET", {""}, "/"},
      {"GET", {"cards", "A1"}, "/cards/{serial} serial=A1"},
      {"GET", {"cards", "..."}, "/cards/{serial} serial=..."},
      {"GET", {"cards", "stream"}, "/cards/stream"},
      {"DELETE", {"cards", "A1"}, "/cards/{serial} serial=A1"},
      {"DELETE", {"cards", "stream"}, "/cards/{serial} serial=stream"},
      {"POST",
       {"cards", "A1", "operations", "x"},
       "/cards/{serial}/operations/{name} name=x serial=A1"},
      {"POST", {"cards"}, "405 GET, HEAD"},
      {"PATCH", {"cards", "A1"}, "405 GET, HEAD, DELETE"},
      {"BREW", {"cards"}, "405 GET, HEAD"},
      {"get", {"cards"}, "405 GET, HEAD"},
      {"GET", {"cards", "A1", "operations", "x"}, "405 POST"},
      {"GET", {}, "404"},
      {"GET", {"Cards"}, "404"},
      {"GET", {"cards", ""}, "404"},
      {"GET", {"cards", "."}, "404"},
      {"GET", {"cards", ".."}, "404"},
      {"GET", {"cards", "a/b"}, "404"},
      {"GET", {"", "cards"}, "404"},
      {"GET", {"cards", "A1", "drives"}, "404"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(each.m_Found, MatchText(each.m_Method, each.m_Segments))
        << each.m_Method << " " << testing::PrintToString(each.m_Segments);
  }
}

TEST(Router, SplitsPathsAtSlashes) {
  EXPECT_THAT(SegmentsOf("/"), ElementsAre(""));
  EXPECT_THAT(SegmentsOf("/a/b"), ElementsAre("a", "b"));
  EXPECT_THAT(SegmentsOf("/a//b/"), ElementsAre("a", "", "b", ""));
  EXPECT_THAT(SegmentsOf("*"), ElementsAre());
  EXPECT_THAT(SegmentsOf(""), ElementsAre());
}

TEST(Router, RejectsUnreachableRoutes) {
  const auto rejects = [](const std::vector<Route>& routes) {
    try {
      const Router router(routes);
      return false;
    } catch (const std::logic_error&) {
      return true;
    }
  };
  EXPECT_TRUE(rejects({RouteTo(Method::Get, "/a"), RouteTo(Method::Get, "/a")}));
  EXPECT_TRUE(rejects({RouteTo(Method::Get, "/{a}"), RouteTo(Method::Get, "/{b}")}));
  EXPECT_TRUE(rejects({RouteTo(Method::Get, "/{a}"), RouteTo(Method::Get, "/b")}));
  EXPECT_TRUE(rejects({RouteTo(Method::Get, "a")}));
  EXPECT_TRUE(rejects({RouteTo(Method::Get, "a/b")}));
  EXPECT_TRUE(rejects({RouteTo(Method::Get, "")}));
  EXPECT_FALSE(rejects({RouteTo(Method::Get, "/a"), RouteTo(Method::Post, "/a")}));
  EXPECT_FALSE(rejects({RouteTo(Method::Get, "/a"), RouteTo(Method::Get, "/{a}")}));
}

}  // namespace
