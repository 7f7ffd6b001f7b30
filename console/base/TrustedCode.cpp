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
std::string ObjectionToOwner(const std::string& name) {
  struct stat status = {};
  if (Base::StatusOfName(name.c_str(), &status) != 0) return {};
  const std::string objection = Base::ObjectionToCode(status, geteuid());
  return objection.empty() ? objection : name + " " + objection;
}

fs::path DeepestExisting(fs::path directory) {
  std::error_code error;
  while (directory != directory.root_path() && !fs::exists(directory, error))
    directory = directory.parent_path();
  return directory;
}

}  // namespace

std::string ObjectionToCodeDirectory(const fs::path& directory) {
  const Base::TrustedPath found =
      Base::ResolveTrusted(DeepestExisting(fs::absolute(directory)).string());
  return found.m_Objection.empty() ? ObjectionToOwner(found.m_File.string()) : found.m_Objection;
}

std::string ObjectionToCode(const fs::path& file) {
  const Base::TrustedPath found = Base::ResolveTrusted(file.string());
  if (!found.m_Objection.empty()) return found.m_Objection;
  const std::string objection = ObjectionToOwner(found.m_File.string());
  return objection.empty() ? ObjectionToOwner(found.m_File.parent_path().string()) : objection;
}

std::vector<std::string> TrustAdvice(const std::filesystem::path& file) {
  const std::string directory = std::filesystem::absolute(file).parent_path().string();
  if (geteuid() != 0)
    return {"Use a file that belongs to you or to root and that no other user can write."};
  return {"Any user who can change it could run code as root.",
          "Run this as its owner, or install it: sudo cmake --install build/release",
          fmt::format("Or change its owner to root: chown -R root {}; chmod -R go-w {}", directory,
                      directory)};
}

}  // namespace Console
