#include <sstream>

#include "tests/cardsim/ProgramFixture.h"

namespace {

using Exports = SimulatedCards;

// Returns the demangled names of the symbols that the library exports, one per line. Overwrites the
// file `list`.
std::string DefinedNames(const std::filesystem::path& list) {
  const std::string command = "nm -DC --defined-only " CARDSIM_LIBRARY " | cut -d' ' -f3- >";
  EXPECT_EQ(0, std::system((command + list.string()).c_str()));
  std::ostringstream text;
  text << std::ifstream(list).rdbuf();
  return text.str();
}

bool BelongsToTheInterface(const std::string& name) {
  const char* prefixes[] = {"vsl_", "CardSim::", "typeinfo for CardSim::",
                            "typeinfo name for CardSim::", "vtable for CardSim::"};
  for (const char* prefix : prefixes) {
    if (name.rfind(prefix, 0) == 0) return true;
  }
  return false;
}

TEST_F(Exports, ContainOnlyTheInterface) {
  std::istringstream names(DefinedNames(m_Directory / "names"));
  std::string name, others;
  int functions = 0;
  while (std::getline(names, name)) {
    if (!BelongsToTheInterface(name)) others += name + "\n";
    // A demangled template instance starts with its return type, so a std::visit helper that
    // returns a CardSim type also starts with an allowed prefix.
    if (name.find("std::__do") != std::string::npos) others += name + "\n";
    if (name.rfind("vsl_", 0) == 0) ++functions;
  }
  EXPECT_EQ("", others);
  EXPECT_EQ(124, functions);
}

}  // namespace
