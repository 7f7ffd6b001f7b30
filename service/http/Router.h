// Finds the route of a request.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "service/http/Route.h"

namespace Http {

// Returns the method with this name; HEAD counts as GET. Returns std::nullopt for methods that no
// route can have.
std::optional<Method> MethodOf(std::string_view name);

// Returns the name of the method, in upper case.
std::string_view NameOf(Method method);

// Splits a path at each "/". Text before the first "/" is dropped.
std::vector<std::string_view> SegmentsOf(std::string_view path);

// Immutable and therefore thread-safe.
class Router {
 public:
  // The result of a lookup.
  struct Match {
    const Route* m_Route = nullptr;  // owned by the router; null if no route matches
    StringMap m_Parameters;          // the values of the path's parameters
    // The methods of this path, as in an Allow header. Empty for an unknown path.
    std::string m_Allowed;
  };

  // Throws `std::logic_error` if the path of a route is malformed, or if an earlier route would
  // receive all of its requests.
  explicit Router(std::vector<Route> routes);

  // Returns the first route that matches. `segments` must have been percent-decoded.
  Match Find(std::optional<Method> method, const std::vector<std::string>& segments) const;

 private:
  struct Row {
    Route m_Route;
    std::vector<std::string> m_Segments;
  };

  void Add(Route route);

  std::vector<Row> m_Rows;
};

}  // namespace Http
