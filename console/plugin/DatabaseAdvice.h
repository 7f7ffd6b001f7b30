// Advice for failures of a database: which file it is, and how to select another one.
#pragma once

#include <string>
#include <vector>

namespace Console {

// Implemented by a source of events that is not the database of this process.
class DatabaseAdviser {
 public:
  virtual ~DatabaseAdviser() = default;
  virtual std::vector<std::string> DatabaseAdvice() const = 0;
};

// Returns the advice for the database of a service.
std::vector<std::string> ServiceDatabaseAdvice(const std::string& file);

}  // namespace Console
