#include "console/Trust.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "hostkit/TrustedPath.h"

namespace Console {
namespace {

// The kit lets ordinary users share files with their group; what they run is another matter.
std::string ObjectionToOwner(const std::string& file) {
  struct stat status = {};
  if (stat(file.c_str(), &status) != 0) return {};
  if (status.st_uid != 0 && status.st_uid != geteuid()) {
    return fmt::format("{} belongs to uid {}", file, status.st_uid);
  }
  const bool everybody = (status.st_mode & S_IWOTH) != 0 && S_ISREG(status.st_mode);
  return everybody ? file + " can be written by other users" : std::string();
}

}  // namespace

std::string ObjectionToCode(const std::filesystem::path& file) {
  const HostKit::TrustedPath found = HostKit::ResolveTrusted(file.string());
  return found.m_Objection.empty() ? ObjectionToOwner(found.m_File.string()) : found.m_Objection;
}

// Its own owner is the one objection to the folder itself.
std::string ObjectionToWayTo(const std::filesystem::path& folder) {
  const HostKit::TrustedPath found = HostKit::ResolveTrusted(folder.string());
  const bool isAboutItself = found.m_Objection.rfind(found.m_File.string() + " belongs", 0) == 0;
  struct stat status = {};
  const bool isFolder = lstat(found.m_File.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
  return isAboutItself && isFolder ? std::string() : found.m_Objection;
}

std::vector<std::string> TrustAdvice(const std::filesystem::path& file) {
  const std::string folder = std::filesystem::absolute(file).parent_path().string();
  if (geteuid() != 0) return {"Use a file of your own or of root, which nobody else can write."};
  return {"Whoever can change it could make root do anything.",
          "Run this as the user who owns it, or install it: sudo cmake --install build/release",
          fmt::format("Or give it to root: chown -R root {}; chmod -R go-w {}", folder, folder)};
}

}  // namespace Console
