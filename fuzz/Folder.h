// Files for one target, in a folder that exists as long as the process.
#pragma once

#include <filesystem>
#include <string>

namespace CorvaneFuzz {

class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::filesystem::path File(const char* name) const { return m_Path / name; }
  const std::filesystem::path& Path() const { return m_Path; }

 private:
  std::filesystem::path m_Path;
};

void WriteFile(const std::filesystem::path& file, const std::string& text);
std::string ReadFile(const std::filesystem::path& file);

}  // namespace CorvaneFuzz
