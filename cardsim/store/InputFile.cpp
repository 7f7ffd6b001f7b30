#include "cardsim/store/InputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "cardsim/store/CancellationShield.h"

namespace CardSim {

void FailAt(const std::filesystem::path& path, const std::string& why) {
  throw std::runtime_error(path.string() + ": " + why);
}

void FailWithErrno(const std::filesystem::path& path) {
  FailAt(path, std::generic_category().message(errno));
}

FileHandle OpenForReading(const std::filesystem::path& path, const Place& place,
                          const std::string& whenMissing) {
  FileHandle file = OpenAt(place.folder.Get(), place.name, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
  if (!file.IsOpen() && errno == ENOENT) FailAt(path, whenMissing);
  if (!file.IsOpen()) FailWithErrno(path);
  return file;
}

InputFile OpenInputFile(const std::filesystem::path& path, const Place& place,
                        const std::string& whenMissing, std::int64_t limit,
                        const std::string& whenLarge) {
  InputFile input{OpenForReading(path, place, whenMissing), {}};
  if (fstat(input.file.Get(), &input.status) != 0) FailWithErrno(path);
  CheckTrusted(path, place, input.status);
  if (!S_ISREG(input.status.st_mode)) FailAt(path, "is not a regular file");
  if (input.status.st_size > limit) FailAt(path, whenLarge);
  return input;
}

std::string ReadAll(const FileHandle& file, const std::filesystem::path& path) {
  std::string text;
  char buffer[16384];
  for (;;) {
    const ssize_t count = read(file.Get(), buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) FailWithErrno(path);
    if (count == 0) return text;
    text.append(buffer, static_cast<std::size_t>(count));
  }
}

std::string ReadTrustedFile(const std::filesystem::path& path, std::int64_t limit,
                            const std::string& whenLarge) {
  const CancellationShield shield;
  const Place place = Locate(path);
  const InputFile input = OpenInputFile(path, place, "no such file", limit, whenLarge);
  return ReadAll(input.file, path);
}

}  // namespace CardSim
