// Reading a whole file that no other user could have put there.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "cardsim/store/FileHandle.h"
#include "cardsim/store/TrustedPath.h"

namespace CardSim {

// All throw `std::runtime_error` with "PATH: why", and may be called by any thread.

// An open file that passed the checks: regular, trusted, not larger than a limit.
struct InputFile {
  FileHandle file;
  struct stat status;
};

// Opens the file at `place`; `path` is its name for messages. Does not wait for the other end of a
// pipe. A missing file has the message `whenMissing`.
FileHandle OpenForReading(const std::filesystem::path& path, const Place& place,
                          const std::string& whenMissing);

// Opens and checks it. A file of more than `limit` bytes has the message `whenLarge`.
InputFile OpenInputFile(const std::filesystem::path& path, const Place& place,
                        const std::string& whenMissing, std::int64_t limit,
                        const std::string& whenLarge);

// Everything from the current position to the end.
std::string ReadAll(const FileHandle& file, const std::filesystem::path& path);

// All of it at once: the text of the file at `path`.
std::string ReadTrustedFile(const std::filesystem::path& path, std::int64_t limit,
                            const std::string& whenLarge);

[[noreturn]] void FailAt(const std::filesystem::path& path, const std::string& why);
// The same with the text of errno.
[[noreturn]] void FailWithErrno(const std::filesystem::path& path);

}  // namespace CardSim
