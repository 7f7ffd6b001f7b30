// The ini file of a plug-in, in a temporary directory.
#pragma once

#include "host/PluginInterface.h"
#include "hostkit/ConfigFile.h"
#include "tests/support/Temporary.h"

static_assert(HostKit::RESULT_OK == 0 && HostKit::RESULT_NO_KEY == 1);
static_assert(HostKit::RESULT_UNREADABLE == 2 && HostKit::RESULT_NOT_WRITTEN == 3);

class ConfigDirectory {
 public:
  std::filesystem::path Directory() const { return m_Directory.Path(); }
  std::filesystem::path Ini() const { return Directory() / "Corvane.ini"; }

  void MoveTo(const std::filesystem::path& directory) {
    m_Variable.reset();
    m_Variable.emplace("CORVANE_CONFIG_DIR", directory.string());
  }

  // Returns "value 15", "no key" or "unreadable", or "touched" if a failed read has changed the
  // output.
  std::string Read(const std::string& key) const {
    PI::CConfigFile file;
    file.SetFileName("Corvane.ini");
    std::string value = "untouched";
    const std::uint32_t result = file.ReadKeyValue(key, value, -1, -1);
    if (result == HostKit::RESULT_OK) return "value " + value;
    if (value != "untouched") return "touched";
    if (result == HostKit::RESULT_NO_KEY) return "no key";
    return result == HostKit::RESULT_UNREADABLE ? "unreadable" : std::to_string(result);
  }

  std::uint32_t Write(const std::string& key, const std::string& value) const {
    PI::CConfigFile file;
    file.SetFileName("Corvane.ini");
    return file.WriteKeyValue(key, value, -1, -1);
  }

  std::size_t FileCount() const {
    using Iterator = std::filesystem::directory_iterator;
    return static_cast<std::size_t>(std::distance(Iterator(Directory()), Iterator()));
  }

 private:
  TemporaryDirectory m_Directory;
  std::optional<ScopedVariable> m_Variable{std::in_place, "CORVANE_CONFIG_DIR",
                                           m_Directory.Path().string()};
};
