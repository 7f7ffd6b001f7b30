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

Base::TrustedFolder OpenedOrThrown(const std::filesystem::path& path, bool creates,
                                   const std::string& whenMissing) {
  Base::OpenFolderOptions options;
  options.m_CreatesFolders = creates;
  options.m_RefusesForeignLinks = true;
  Base::TrustedFolder folder = Base::OpenFolderOf(path, options);
  if (!folder.m_Objection.empty()) FailAt(path, "not trusted: " + folder.m_Objection);
  if (folder.m_Error == ENOENT) FailAt(path, whenMissing);
  if (folder.m_Error != 0) FailWith(path, folder.m_Error);
  return folder;
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

Base::TrustedFolder FolderOf(const std::filesystem::path& path, const std::string& whenMissing) {
  return OpenedOrThrown(path, false, whenMissing);
}

Base::TrustedFolder CreateFolderOf(const std::filesystem::path& path) {
  return OpenedOrThrown(path, true, std::generic_category().message(ENOENT));
}

void CheckTrusted(const std::filesystem::path& path, const Base::TrustedFolder& folder,
                  const struct stat& file) {
  const std::string objection = Base::ObjectionToFile(folder.m_IsWritableByOthers, file, geteuid());
  if (!objection.empty()) FailAt(path, "not trusted: the file " + objection);
}

Base::Descriptor OpenForReading(const std::filesystem::path& path,
                                const Base::TrustedFolder& folder, const std::string& whenMissing) {
  Base::Descriptor file =
      Base::OpenAt(folder.m_Folder.Get(), folder.m_Name, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
  if (!file.IsOpen() && errno == ENOENT) FailAt(path, whenMissing);
  if (!file.IsOpen()) FailWithErrno(path);
  return file;
}

InputFile OpenInputFile(const std::filesystem::path& path, const Base::TrustedFolder& folder,
                        const std::string& whenMissing, std::int64_t limit,
                        const std::string& whenLarge) {
  InputFile input{OpenForReading(path, folder, whenMissing), {}};
  if (fstat(input.file.Get(), &input.status) != 0) FailWithErrno(path);
  struct stat judged = {};
  if (Base::StatusOfOpened(input.file.Get(), &judged) != 0) FailWithErrno(path);
  CheckTrusted(path, folder, judged);
  if (!S_ISREG(input.status.st_mode)) FailAt(path, "is not a regular file");
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
  const Base::TrustedFolder folder = FolderOf(path, kMissing);
  const InputFile input = OpenInputFile(path, folder, kMissing, limit, whenLarge);
  return ReadAll(input.file, path);
}

mode_t ModeOfNewFile() {
  return Base::NewFileMode(geteuid());
}

mode_t ModeOfNewFolder() {
  return Base::NewFolderMode(geteuid());
}

}  // namespace CardSim
