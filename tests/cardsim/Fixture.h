// A directory with a state file, and helpers for calls to the card library.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cardsim/cardsim.h"
#include "host/vsl_abstraction.h"

class SimulatedCards : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (Root() / "cardsim-XXXXXX").string();
    ASSERT_NE(nullptr, mkdtemp(pattern.data()));
    m_Directory = pattern;
    setenv("CARDSIM_STATE", Path().c_str(), 1);
    File().Create();
    CardSim::Reset();
  }

  void TearDown() override {
    vsl_fini();
    CardSim::Reset();
    std::filesystem::remove_all(m_Directory);
  }

  // Uses a file system in memory if possible, because fsync() is fast there.
  virtual std::filesystem::path Root() const {
    const std::filesystem::path memory = "/dev/shm";
    const bool usable = access(memory.c_str(), W_OK) == 0;
    return usable ? memory : std::filesystem::temp_directory_path();
  }

  std::filesystem::path Path() const { return m_Directory / "cards.json"; }
  CardSim::StateFile File() const { return CardSim::StateFile(Path()); }

  // Adds a card with this device ID, starts the library and clears the call log.
  void StartWithCard(std::uint16_t deviceId = 0x1003) {
    File().AddCard(deviceId);
    ASSERT_EQ(0U, vsl_init(0, &m_Error)) << m_Error.text;
    CardSim::Reset();
  }

  void* CreateCard(const char* path = "/dev/fct0") {
    void* iom = nullptr;
    EXPECT_EQ(0U, vsl_iom_create_by_name(path, &iom, &m_Error)) << m_Error.text;
    return iom;
  }

  void* OpenCard(const char* path = "/dev/fct0") {
    void* iom = CreateCard(path);
    EXPECT_EQ(0U, vsl_open(iom, &m_Error)) << m_Error.text;
    return iom;
  }

  std::string Slurp() const { return Slurp(Path()); }
  static std::string Slurp(const std::filesystem::path& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  }
  void OverwriteFile(const std::string& text) const { std::ofstream(Path()) << text; }

  // Returns the message of the exception, or "no error".
  template <typename Action>
  static std::string ErrorOf(Action action) {
    try {
      action();
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "no error";
  }

  std::filesystem::path m_Directory;
  vsl_error_record m_Error = {};
};

// Joins the lines with line feeds, to compare them as one string.
inline std::string Joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += (text.empty() ? "" : "\n") + line;
  return text;
}
