// Opening and reading files that no other user could have put there.
//
// All functions may be called by any thread. They throw `std::runtime_error` with "PATH: why";
// for a file or a directory of its path that is not trusted, that is "PATH: not trusted: ...".
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "base/Descriptor.h"
#include "base/TrustedDirectory.h"

namespace CardSim {

// The directory of the file at `path`, open; the file itself may be missing. A missing directory
// has the message `whenMissing`.
Base::TrustedDirectory DirectoryOf(const std::filesystem::path& path,
                                   const std::string& whenMissing);

// The same, but creates missing directories.
Base::TrustedDirectory CreateDirectoryOf(const std::filesystem::path& path);

// Throws unless the file in that directory is trusted; `file` is its status by
// Base::StatusOfOpened() or Base::StatusOfName().
void CheckTrusted(const std::filesystem::path& path, const Base::TrustedDirectory& directory,
                  const struct stat& file);

// Opens the file of `directory` for reading, unchecked; `path` is its name for messages. Does not
// wait for the other end of a pipe. A missing file has the message `whenMissing`.
Base::Descriptor OpenForReading(const std::filesystem::path& path,
                                const Base::TrustedDirectory& directory,
                                const std::string& whenMissing);

// An open file that passed the checks: trusted, regular, not larger than a limit.
struct InputFile {
  Base::Descriptor file;
  struct stat status;
};

// Opens and checks it. A file of more than `limit` bytes has the message `whenLarge`.
InputFile OpenInputFile(const std::filesystem::path& path, const Base::TrustedDirectory& directory,
                        const std::string& whenMissing, std::int64_t limit,
                        const std::string& whenLarge);

// Everything from the current position to the end.
std::string ReadAll(const Base::Descriptor& file, const std::filesystem::path& path);

// All of it at once: the text of the file at `path`.
std::string ReadTrustedFile(const std::filesystem::path& path, std::int64_t limit,
                            const std::string& whenLarge);

// The permissions of a file and a directory that this user creates.
mode_t ModeOfNewFile();
mode_t ModeOfNewDirectory();

// Throws "PATH: why".
[[noreturn]] void FailAt(const std::filesystem::path& path, const std::string& why);
// The same with the text of `error`, an errno.
[[noreturn]] void FailWith(const std::filesystem::path& path, int error);
// The same with errno.
[[noreturn]] void FailWithErrno(const std::filesystem::path& path);

}  // namespace CardSim
