#include "service/http/Router.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace Http {
namespace {

using Segments = std::vector<std::string>;

struct MethodName {
  std::string_view m_Name;
  Method m_Method;
};

// In the order in which an Allow header lists them. `NameOf` returns the first name of a method.
constexpr MethodName kMethods[] = {
    {"GET", Method::Get}, {"HEAD", Method::Get},    {"POST", Method::Post},
    {"PUT", Method::Put}, {"PATCH", Method::Patch}, {"DELETE", Method::Delete},
};

bool IsParameter(std::string_view segment) {
  return segment.size() > 2 && segment.front() == '{' && segment.back() == '}';
}

// Rejects values that a handler could take for a path.
bool IsParameterValue(std::string_view value) {
  return !value.empty() && value != "." && value != ".." && value.find('/') == value.npos;
}

bool SegmentMatches(const std::string& pattern, const std::string& segment) {
  return IsParameter(pattern) ? IsParameterValue(segment) : pattern == segment;
}

bool PathMatches(const Segments& pattern, const Segments& segments) {
  return std::equal(pattern.begin(), pattern.end(), segments.begin(), segments.end(),
                    SegmentMatches);
}

StringMap ParametersOf(const Segments& pattern, const Segments& segments) {
  StringMap parameters;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (!IsParameter(pattern[i])) continue;
    parameters[pattern[i].substr(1, pattern[i].size() - 2)] = segments[i];
  }
  return parameters;
}

std::string AllowHeader(const std::vector<Method>& methods) {
  std::string text;
  for (const MethodName& row : kMethods) {
    if (std::find(methods.begin(), methods.end(), row.m_Method) == methods.end()) continue;
    text.append(text.empty() ? "" : ", ").append(row.m_Name);
  }
  return text;
}

}  // namespace

std::optional<Method> MethodOf(std::string_view name) {
  for (const MethodName& row : kMethods) {
    if (row.m_Name == name) return row.m_Method;
  }
  return std::nullopt;
}

std::string_view NameOf(Method method) {
  const auto* const row =
      std::find_if(std::begin(kMethods), std::end(kMethods),
                   [method](const MethodName& each) { return each.m_Method == method; });
  return row == std::end(kMethods) ? std::string_view() : row->m_Name;
}

std::vector<std::string_view> SegmentsOf(std::string_view path) {
  std::vector<std::string_view> segments;
  for (auto slash = path.find('/'); slash != path.npos;) {
    path.remove_prefix(slash + 1);
    slash = path.find('/');
    segments.push_back(path.substr(0, slash));
  }
  return segments;
}

Router::Router(std::vector<Route> routes) {
  for (Route& route : routes) Add(std::move(route));
}

// A path template such as "/{name}" matches itself as a path. An earlier route that also matches it
// would receive all requests of the new route.
void Router::Add(Route route) {
  Segments segments;
  for (const std::string_view segment : SegmentsOf(route.m_Path)) segments.emplace_back(segment);
  if (segments.empty() || route.m_Path.front() != '/') {
    throw std::logic_error("path does not start with a slash: " + route.m_Path);
  }
  if (Find(route.m_Method, segments).m_Route != nullptr) {
    throw std::logic_error("path is already matched by an earlier route: " + route.m_Path);
  }
  m_Rows.push_back({std::move(route), std::move(segments)});
}

Router::Match Router::Find(std::optional<Method> method, const Segments& segments) const {
  Match match;
  std::vector<Method> allowed;
  for (const Row& row : m_Rows) {
    if (!PathMatches(row.m_Segments, segments)) continue;
    allowed.push_back(row.m_Route.m_Method);
    if (match.m_Route != nullptr || method != row.m_Route.m_Method) continue;
    match.m_Route = &row.m_Route;
    match.m_Parameters = ParametersOf(row.m_Segments, segments);
  }
  match.m_Allowed = AllowHeader(allowed);
  return match;
}

}  // namespace Http
