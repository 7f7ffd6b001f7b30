// A temporary directory for the files of one target, and functions that write and read files.
#pragma once

#include <filesystem>
#include <string>

namespace CorvaneFuzz {

// The destructor removes the directory with its files. Aborts if the directory cannot be created.
class Directory {
 public:
  Directory();
  ~Directory();
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;

  std::filesystem::path File(const char* name) const { return m_Path / name; }
  const std::filesystem::path& Path() const { return m_Path; }

 private:
  std::filesystem::path m_Path;
};

void WriteFile(const std::filesystem::path& file, const std::string& text);
std::string ReadFile(const std::filesystem::path& file);

}  // namespace CorvaneFuzz
