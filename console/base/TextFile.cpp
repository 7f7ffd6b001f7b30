#include "console/base/TextFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "base/Descriptor.h"
#include "base/FileReplacement.h"
#include "base/TrustedDirectory.h"
#include "console/base/Failure.h"

namespace Console {
namespace {

constexpr mode_t kReadableByAll = 0644;

Failure WriteFailure(const std::string& file, int error) {
  const bool denied = error == EACCES || error == EPERM || error == EROFS;
  return Failure(denied ? ExitCode::Permission : ExitCode::Failed, "TEXTFILE_FAILED",
                 fmt::format("cannot write {}", file), std::strerror(error));
}

Failure TrustFailure(const std::string& file, const std::string& trustError) {
  return Failure(ExitCode::Permission, "TEXTFILE_FAILED", fmt::format("cannot write {}", file),
                 trustError,
                 {"Its owner could redirect the file.",
                  "Use a directory whose parent directories belong to you or to root."});
}

// Opens the directory of `file`. All later steps use the descriptor, so that replacing the
// directory cannot redirect the file.
Base::Descriptor OpenDirectory(const std::filesystem::path& directory, const std::string& file) {
  Base::TrustedDirectory opened = Base::OpenTrustedDirectory(directory);
  if (!opened.m_TrustError.empty()) throw TrustFailure(file, opened.m_TrustError);
  if (!opened.m_Directory.IsOpen()) throw WriteFailure(file, opened.m_Error);
  return std::move(opened.m_Directory);
}

// Rejects a device, pipe or symbolic link, because the rename would replace it with a regular file.
void RequireReplaceable(const Base::Descriptor& directory, const std::string& name,
                        const std::string& file) {
  struct stat status = {};
  if (fstatat(directory.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return;
  if (S_ISDIR(status.st_mode)) throw WriteFailure(file, EISDIR);
  if (S_ISREG(status.st_mode)) return;
  throw Failure(ExitCode::Failed, "TEXTFILE_FAILED", fmt::format("cannot write {}", file),
                "not a regular file");
}

void Require(int error, const std::string& file) {
  if (error != 0) throw WriteFailure(file, error);
}

}  // namespace

void ReplaceTextFile(const std::string& file, const std::string& text) {
  const std::filesystem::path path = std::filesystem::absolute(file);
  const std::string name = path.filename().string();
  const Base::Descriptor directory = OpenDirectory(path.parent_path(), file);
  RequireReplaceable(directory, name, file);
  Base::FileReplacement replacement(directory.Get(), name);
  // The name of the draft does not end in .prom, so a metrics collector does not read the draft.
  Require(replacement.OpenUniqueDraft(name + ".", S_IRUSR | S_IWUSR), file);
  Require(replacement.Write(text), file);
  Require(fchmod(replacement.Draft().Get(), kReadableByAll) == 0 ? 0 : errno, file);
  Require(replacement.Install(), file);
}

}  // namespace Console
