// Opening and reading files that no other user could have created.
//
// All functions are thread-safe. They throw `std::runtime_error` with "PATH: reason", or with
// "PATH: not trusted: ..." if the file or a directory of its path is not trusted.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "base/Descriptor.h"
#include "base/TrustedDirectory.h"

namespace CardSim {

// Opens the directory of the file at `path`; the file itself may be missing. `whenMissing` is the
// message for a missing directory.
Base::TrustedDirectory OpenParentDirectory(const std::filesystem::path& path,
                                           const std::string& whenMissing);

// Like `OpenParentDirectory`, but creates missing directories.
Base::TrustedDirectory CreateParentDirectory(const std::filesystem::path& path);

// Throws unless the file in that directory is trusted; `file` is its status from
// Base::FstatWithAcl() or Base::LstatWithAcl().
void CheckTrusted(const std::filesystem::path& path, const Base::TrustedDirectory& directory,
                  const struct stat& file);

// Opens the file of `directory` for reading without checking it; `path` is its name for messages.
// Does not wait for the other end of a pipe. `whenMissing` is the message for a missing file.
Base::Descriptor OpenForReading(const std::filesystem::path& path,
                                const Base::TrustedDirectory& directory,
                                const std::string& whenMissing);

// An open file that passed the checks: trusted, regular, not larger than a limit.
struct InputFile {
  Base::Descriptor file;
  struct stat status;
};

// Opens and checks a file. `whenLarge` is the message for a file of more than `limit` bytes.
InputFile OpenInputFile(const std::filesystem::path& path, const Base::TrustedDirectory& directory,
                        const std::string& whenMissing, std::int64_t limit,
                        const std::string& whenLarge);

// Reads from the current position to the end.
std::string ReadAll(const Base::Descriptor& file, const std::filesystem::path& path);

// Opens, checks and reads the file at `path`.
std::string ReadTrustedFile(const std::filesystem::path& path, std::int64_t limit,
                            const std::string& whenLarge);

// Return the permissions for a file or a directory that this user creates.
mode_t ModeOfNewFile();
mode_t ModeOfNewDirectory();

// Throws "PATH: reason".
[[noreturn]] void FailAt(const std::filesystem::path& path, const std::string& why);
// Throws "PATH: reason" with the description of `error`, an errno value.
[[noreturn]] void FailWith(const std::filesystem::path& path, int error);
// Throws "PATH: reason" with the description of errno.
[[noreturn]] void FailWithErrno(const std::filesystem::path& path);

}  // namespace CardSim
