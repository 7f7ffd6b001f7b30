// Rules for the plug-in's sources that a compiler does not check.

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Numbers are converted to text in one place, and read with a fixed locale.
TEST(SourceRules, NumbersBecomeTextInOnePlace) {
  const std::regex formatting(
      "boost::format|to_string\\(|o?stringstream|snprintf|lexical_cast|stod\\(");
  std::vector<std::string> found;
  for (const char* folder : {"Corvane/Src", "orm", "models"}) {
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(CORVANE_CHECKOUT) / folder)) {
      std::ifstream file(entry.path());
      for (std::string line; std::getline(file, line);) {
        const std::string code = line.substr(0, line.find("//"));
        if (std::regex_search(code, formatting)) {
          found.push_back(entry.path().filename().string() + ": " + line);
        }
      }
    }
  }
  std::sort(found.begin(), found.end());
  EXPECT_THAT(found,
              ElementsAre("Formatted.h:   boost::format text(format, std::locale::classic());",
                          "storage.h:     std::istringstream cell(cells.front());"));
}

// Handles are passed to the card library only through the functions that know their kinds.
TEST(SourceRules, TheCardLibraryIsCalledInOnePlace) {
  const std::regex call("\\bvsl_(?!init\\(|fini\\()[a-z_]+\\(");
  std::vector<std::string> found;
  const auto folder = std::filesystem::path(CORVANE_CHECKOUT) / "Corvane/Src";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().filename() == "CardHandles.h") continue;
    std::ifstream file(entry.path());
    for (std::string line; std::getline(file, line);) {
      if (std::regex_search(line, call)) found.push_back(line);
    }
  }
  EXPECT_THAT(found, IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
