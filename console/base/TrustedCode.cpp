#include "console/base/TrustedCode.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "hostkit/TrustedPath.h"

namespace Console {
namespace {

namespace fs = std::filesystem;

constexpr const char* kWritable = " can be written by other users";

std::string BelongsTo(const std::string& name, uid_t owner) {
  return fmt::format("{} belongs to uid {}", name, owner);
}

bool IsTrusted(uid_t owner) {
  return owner == 0 || owner == geteuid();
}

// An ordinary user may share a folder with a group, which is often the user's own; root may not.
bool OthersMayWrite(const struct stat& status) {
  const bool group = (status.st_mode & S_IWGRP) != 0 && status.st_gid != 0 && geteuid() == 0;
  return (status.st_mode & S_IWOTH) != 0 || group;
}

// For users other than root, the kit has no objection to what they share with others. What they
// run is another matter.
std::string ObjectionToOwner(const std::string& name) {
  struct stat status = {};
  if (stat(name.c_str(), &status) != 0) return {};
  if (!IsTrusted(status.st_uid)) return BelongsTo(name, status.st_uid);
  const bool counts = S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
  return counts && OthersMayWrite(status) ? name + kWritable : std::string();
}

fs::path DeepestExisting(fs::path folder) {
  std::error_code error;
  while (folder != folder.root_path() && !fs::exists(folder, error)) folder = folder.parent_path();
  return folder;
}

}  // namespace

std::string ObjectionToCodeFolder(const fs::path& folder) {
  const HostKit::TrustedPath found =
      HostKit::ResolveTrusted(DeepestExisting(fs::absolute(folder)).string());
  return found.m_Objection.empty() ? ObjectionToOwner(found.m_File.string()) : found.m_Objection;
}

std::string ObjectionToCode(const fs::path& file) {
  const HostKit::TrustedPath found = HostKit::ResolveTrusted(file.string());
  if (!found.m_Objection.empty()) return found.m_Objection;
  const std::string objection = ObjectionToOwner(found.m_File.string());
  return objection.empty() ? ObjectionToOwner(found.m_File.parent_path().string()) : objection;
}

std::string ObjectionToPassing(const fs::path& name, const struct stat& folder) {
  if (geteuid() != 0) return {};
  if (!IsTrusted(folder.st_uid)) return BelongsTo(name.string(), folder.st_uid);
  const bool isSticky = (folder.st_mode & S_ISVTX) != 0;
  return OthersMayWrite(folder) && !isSticky ? name.string() + kWritable : std::string();
}

std::string ObjectionToLink(const fs::path& name, const struct stat& folder,
                            const struct stat& link) {
  const bool isStrange = OthersMayWrite(folder) && !IsTrusted(link.st_uid);
  return isStrange ? BelongsTo(name.string(), link.st_uid) : std::string();
}

std::vector<std::string> TrustAdvice(const std::filesystem::path& file) {
  const std::string folder = std::filesystem::absolute(file).parent_path().string();
  if (geteuid() != 0)
    return {"Use a file that belongs to you or to root and that no other user can write."};
  return {"Any user who can change it could run code as root.",
          "Run this as its owner, or install it: sudo cmake --install build/release",
          fmt::format("Or change its owner to root: chown -R root {}; chmod -R go-w {}", folder,
                      folder)};
}

}  // namespace Console
