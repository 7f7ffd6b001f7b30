// Zero bytes in the files that the simulator reads. They are rejected, because they would truncate
// the strings that the library returns.

#include "cardsim/scenario/Scenario.h"
#include "tests/cardsim/ProgramFixture.h"
#include "tests/support/Temporary.h"

namespace {

// Returns copies of the text with a zero byte, one for each position, and copies with an escaped
// zero byte at the end of each name and string.
std::vector<std::string> WithZeroByte(const std::string& text) {
  std::vector<std::string> texts;
  bool inString = false;
  for (std::size_t position = 0; position <= text.size(); ++position) {
    texts.push_back(std::string(text).insert(position, 1, '\0'));
    if (position == text.size() || text[position] != '"') continue;
    if (inString) texts.push_back(std::string(text).insert(position, "\\u0000"));
    inString = !inString;
  }
  return texts;
}

// Returns the text with its zero byte replaced by "<zero>".
std::string Visible(std::string text) {
  const auto position = text.find('\0');
  if (position != std::string::npos) text.replace(position, 1, "<zero>");
  return text;
}

class ZeroBytes : public Program {};

constexpr const char* kState =
    R"({"cardsim": 1, "next_id": 3, "failures": {"vsl_open": {"code": 5, "text": "no"}}, "cards": [
{"name": "card0", "id": 1, "device_path": "/dev/fct0", "serial_number": "FA1",
 "current_errors": 256, "iom_state": 2, "volumes": [{"state": 1}]}]})";

TEST_F(ZeroBytes, AreNotAcceptedInAStateFile) {
  OverwriteFile(kState);
  ASSERT_EQ("no error", ErrorOf([this] { File().Cards(); }));
  for (const std::string& text : WithZeroByte(kState)) {
    OverwriteFile(text);
    EXPECT_NE("no error", ErrorOf([this] { File().Cards(); })) << Visible(text);
  }
}

constexpr const char* kScenario = R"({"title": "warm", "steps": [
{"do": "set", "card": "card0", "what": "serial_number", "to": "FA2", "say": "new", "after_ms": 1},
{"do": "fail", "what": "vsl_open", "text": "no"}]})";

TEST_F(ZeroBytes, AreNotAcceptedInAScenario) {
  CardSim::ParseScenario(kScenario);
  for (const std::string& text : WithZeroByte(kScenario)) {
    EXPECT_NE("no error", ErrorOf([&] { CardSim::ParseScenario(text); })) << Visible(text);
  }
}

constexpr const char* kProfile = R"({"pci_device_id": "0x3003", "board_name": "large",
"iom_state": 2, "volumes": [{"state": 0}]})";

TEST_F(ZeroBytes, AreNotAcceptedInAProfile) {
  const auto directory = m_Directory / "profiles";
  std::filesystem::create_directory(directory);
  const ScopedVariable variable("CARDSIM_PROFILES", directory.string());
  const auto errorOfAdding = [&](const std::string& profile) {
    std::ofstream(directory / "large.json") << profile;
    return ErrorOf([this] { File().AddCard(std::string("large")); });
  };
  EXPECT_EQ("no error", errorOfAdding(kProfile));
  for (const std::string& text : WithZeroByte(kProfile)) {
    EXPECT_NE("no error", errorOfAdding(text)) << Visible(text);
  }
}

}  // namespace
