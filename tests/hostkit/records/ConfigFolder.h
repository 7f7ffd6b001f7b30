// A plug-in's ini file in a folder of the test's own.
#pragma once

#include "host/PluginInterface.h"
#include "tests/support/Temporary.h"

class ConfigFolder {
 public:
  std::filesystem::path Folder() const { return m_Folder.Path(); }
  std::filesystem::path Ini() const { return Folder() / "Corvane.ini"; }

  void MoveTo(const std::filesystem::path& folder) {
    m_Variable.reset();
    m_Variable.emplace("CORVANE_CONFIG_DIR", folder.string());
  }

  // The result, followed by the value if there is one: "0 15", "1".
  std::string Read(const std::string& key) const {
    PI::CConfigFile file;
    file.SetFileName("Corvane.ini");
    std::string value = "untouched";
    const std::uint32_t result = file.ReadKeyValue(key, value, -1, -1);
    if (result != 0 && value != "untouched") return "touched";
    return std::to_string(result) + (result == 0 ? " " + value : "");
  }

  std::uint32_t Write(const std::string& key, const std::string& value) const {
    PI::CConfigFile file;
    file.SetFileName("Corvane.ini");
    return file.WriteKeyValue(key, value, -1, -1);
  }

  std::size_t Files() const {
    using Walk = std::filesystem::directory_iterator;
    return static_cast<std::size_t>(std::distance(Walk(Folder()), Walk()));
  }

 private:
  TemporaryFolder m_Folder;
  std::optional<ScopedVariable> m_Variable{std::in_place, "CORVANE_CONFIG_DIR",
                                           m_Folder.Path().string()};
};
