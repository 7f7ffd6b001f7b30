#include "console/base/TrustedCode.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/FileStatus.h"
#include "base/TrustRules.h"
#include "base/TrustedPath.h"

namespace Console {
namespace {

namespace fs = std::filesystem;

// `ResolveTrusted` lets users other than root share files; code must meet stricter rules. `name`
// contains no symbolic links.
std::string TrustErrorOfEntry(const std::string& name) {
  struct stat status = {};
  if (Base::LstatWithAcl(name.c_str(), &status) != 0) return {};
  const std::string trustError = Base::TrustErrorOfCode(status, geteuid());
  return trustError.empty() ? trustError : name + " " + trustError;
}

fs::path DeepestExisting(fs::path directory) {
  std::error_code error;
  while (directory != directory.root_path() && !fs::exists(directory, error))
    directory = directory.parent_path();
  return directory;
}

}  // namespace

std::string TrustErrorOfCodeDirectory(const fs::path& directory) {
  const Base::TrustedPath found =
      Base::ResolveTrusted(DeepestExisting(fs::absolute(directory)).string());
  return found.m_TrustError.empty() ? TrustErrorOfEntry(found.m_File.string()) : found.m_TrustError;
}

std::string TrustErrorOfCode(const fs::path& file) {
  const Base::TrustedPath found = Base::ResolveTrusted(file.string());
  if (!found.m_TrustError.empty()) return found.m_TrustError;
  const std::string trustError = TrustErrorOfEntry(found.m_File.string());
  return trustError.empty() ? TrustErrorOfEntry(found.m_File.parent_path().string()) : trustError;
}

std::vector<std::string> TrustAdvice(const std::filesystem::path& file) {
  const std::string directory = std::filesystem::absolute(file).parent_path().string();
  if (geteuid() != 0)
    return {"Use a file that belongs to you or to root and that no other user can write to."};
  return {
      "Any user who can change the file could run code as root.",
      "Run the command as the owner of the file, or install it: sudo cmake --install build/release",
      fmt::format("Or change its owner to root: chown -R root {}; chmod -R go-w {}", directory,
                  directory)};
}

}  // namespace Console
