#include "service/hooks/ProgramDirectory.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <system_error>

#include "console/base/TrustedCode.h"

namespace Hooks {
namespace {

namespace fs = std::filesystem;

// Parts of the names of copies that package managers leave behind.
constexpr const char* kCopies[] = {".dpkg-", ".rpmsave", ".rpmnew", ".rpmorig"};

bool IsLeftover(const std::string& name) {
  const auto isIn = [&name](const char* copy) { return name.find(copy) != name.npos; };
  return name.front() == '.' || name.back() == '~' ||
         std::any_of(std::begin(kCopies), std::end(kCopies), isIn);
}

bool IsExecutable(const fs::path& file) {
  std::error_code error;
  return fs::is_regular_file(file, error) && access(file.c_str(), X_OK) == 0;
}

}  // namespace

std::vector<fs::path> FindPrograms(const fs::path& directory,
                                   const std::function<void(const std::string&)>& report) {
  std::vector<fs::path> programs;
  std::error_code error;
  fs::directory_iterator entries(directory, error);
  if (error && error != std::errc::no_such_file_or_directory) {
    report("cannot read " + directory.string() + ": " + error.message());
  }
  for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
    const fs::path& file = entries->path();
    if (IsLeftover(file.filename().string()) || !IsExecutable(file)) continue;
    const std::string trustError = Console::TrustErrorOfCode(file);
    if (trustError.empty()) {
      programs.push_back(file);
    } else {
      report("skipped " + file.string() + ": " + trustError);
    }
  }
  std::sort(programs.begin(), programs.end());
  return programs;
}

}  // namespace Hooks
