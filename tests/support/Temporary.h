// Temporary environment variables and directories for tests.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

// Sets an environment variable until destroyed, or unsets it if no value is given.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const std::optional<std::string>& value) : m_Name(name) {
    if (const char* const before = std::getenv(name)) m_Before = before;
    Put(value);
  }
  ~ScopedVariable() { Put(m_Before); }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  void Put(const std::optional<std::string>& value) const {
    if (value) {
      setenv(m_Name, value->c_str(), 1);
    } else {
      unsetenv(m_Name);
    }
  }

  const char* const m_Name;
  std::optional<std::string> m_Before;
};

// A new empty directory. The destructor removes it with its contents.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "corvane-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    m_Path = name;
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(m_Path, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& Path() const { return m_Path; }

 private:
  std::filesystem::path m_Path;
};

inline void WriteText(const std::filesystem::path& file, const std::string& text) {
  std::ofstream(file, std::ios::binary) << text;
}

inline std::string ReadText(const std::filesystem::path& file) {
  std::ostringstream text;
  text << std::ifstream(file, std::ios::binary).rdbuf();
  return text.str();
}
