#include "console/plugin/DatabaseAdvice.h"

#include <fmt/format.h>

namespace Console {

std::vector<std::string> ServiceDatabaseAdvice(const std::string& file) {
  return {fmt::format("Database file of the service: {}", file),
          "To use another one, restart the service with --database."};
}

}  // namespace Console
