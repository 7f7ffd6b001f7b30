#include "console/commands/NewDatabase.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "console/base/Failure.h"
#include "console/commands/All.h"

namespace Console {
namespace {

constexpr const char* kInMemory = ":memory:";

bool MayCreate(const std::string& command) {
  return command == "serve" || AllCommands().Require(command).m_Group == Group::Change;
}

// A path that cannot be examined is left to the database, which reports why.
bool IsAbsent(const std::filesystem::path& path) {
  std::error_code error;
  return std::filesystem::status(path, error).type() == std::filesystem::file_type::not_found;
}

Failure NoDatabaseFailure(const std::string& file, const std::vector<std::string>& advice) {
  return Failure(ExitCode::Failed, "NO_DATABASE", fmt::format("cannot open the database {}", file),
                 std::strerror(ENOENT), advice);
}

}  // namespace

void RequireDatabase(const std::string& command, const Options& options) {
  const std::string& file = options.m_Database;
  if (file.empty() || file == kInMemory || !IsAbsent(file)) return;
  if (!MayCreate(command)) {
    throw NoDatabaseFailure(file, {"Check the path passed with --database.",
                                   "To create a database: corvane-host serve --database FILE"});
  }
  const auto directory = std::filesystem::absolute(file).parent_path();
  if (!IsAbsent(directory)) return;
  throw NoDatabaseFailure(file,
                          {fmt::format("Create its directory: mkdir -p {}", directory.string())});
}

}  // namespace Console
