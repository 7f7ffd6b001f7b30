#include "cardsim/store/TrustedFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "base/CancellationGuard.h"
#include "base/FileStatus.h"
#include "base/TrustRules.h"

namespace CardSim {
namespace {

Base::TrustedDirectory OpenDirectoryOrThrow(const std::filesystem::path& path, bool creates,
                                            const std::string& whenMissing) {
  Base::OpenDirectoryOptions options;
  options.m_CreatesDirectories = creates;
  options.m_RejectsUntrustedLinks = true;
  Base::TrustedDirectory directory = Base::OpenDirectoryOf(path, options);
  if (!directory.m_TrustError.empty()) FailAt(path, "not trusted: " + directory.m_TrustError);
  if (directory.m_Error == ENOENT) FailAt(path, whenMissing);
  if (directory.m_Error != 0) FailWith(path, directory.m_Error);
  return directory;
}

}  // namespace

void FailAt(const std::filesystem::path& path, const std::string& why) {
  throw std::runtime_error(path.string() + ": " + why);
}

void FailWith(const std::filesystem::path& path, int error) {
  FailAt(path, std::generic_category().message(error));
}

void FailWithErrno(const std::filesystem::path& path) {
  FailWith(path, errno);
}

Base::TrustedDirectory OpenParentDirectory(const std::filesystem::path& path,
                                           const std::string& whenMissing) {
  return OpenDirectoryOrThrow(path, false, whenMissing);
}

Base::TrustedDirectory CreateParentDirectory(const std::filesystem::path& path) {
  return OpenDirectoryOrThrow(path, true, std::generic_category().message(ENOENT));
}

void CheckTrusted(const std::filesystem::path& path, const Base::TrustedDirectory& directory,
                  const struct stat& file) {
  const std::string trustError =
      Base::TrustErrorOfFile(directory.m_IsWritableByOthers, file, geteuid());
  if (!trustError.empty()) FailAt(path, "not trusted: the file " + trustError);
}

Base::Descriptor OpenForReading(const std::filesystem::path& path,
                                const Base::TrustedDirectory& directory,
                                const std::string& whenMissing) {
  Base::Descriptor file = Base::OpenAt(directory.m_Directory.Get(), directory.m_Name,
                                       O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
  if (!file.IsOpen() && errno == ENOENT) FailAt(path, whenMissing);
  if (!file.IsOpen()) FailWithErrno(path);
  return file;
}

InputFile OpenInputFile(const std::filesystem::path& path, const Base::TrustedDirectory& directory,
                        const std::string& whenMissing, std::int64_t limit,
                        const std::string& whenLarge) {
  InputFile input{OpenForReading(path, directory, whenMissing), {}};
  if (fstat(input.file.Get(), &input.status) != 0) FailWithErrno(path);
  struct stat checked = {};
  if (Base::FstatWithAcl(input.file.Get(), &checked) != 0) FailWithErrno(path);
  CheckTrusted(path, directory, checked);
  if (!S_ISREG(input.status.st_mode)) FailAt(path, "not a regular file");
  if (input.status.st_size > limit) FailAt(path, whenLarge);
  return input;
}

std::string ReadAll(const Base::Descriptor& file, const std::filesystem::path& path) {
  std::string text;
  const int error = Base::ReadAll(file, text.max_size(), text);
  if (error != 0) FailWith(path, error);
  return text;
}

std::string ReadTrustedFile(const std::filesystem::path& path, std::int64_t limit,
                            const std::string& whenLarge) {
  constexpr const char* kMissing = "no such file";
  const Base::CancellationGuard guard;
  const Base::TrustedDirectory directory = OpenParentDirectory(path, kMissing);
  const InputFile input = OpenInputFile(path, directory, kMissing, limit, whenLarge);
  return ReadAll(input.file, path);
}

mode_t ModeOfNewFile() {
  return Base::NewFileMode(geteuid());
}

mode_t ModeOfNewDirectory() {
  return Base::NewDirectoryMode(geteuid());
}

}  // namespace CardSim
