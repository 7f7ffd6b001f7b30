// Suggestions for mistyped names.
#include <gtest/gtest.h>

#include "base/NearestName.h"

namespace {

using Names = std::vector<std::string>;

struct Case {
  const char* m_Name;
  std::string m_Input;
  Names m_Names;
  std::size_t m_MaxEdits;
  const char* m_Nearest;  // "" for none
};

const Case kCases[] = {
    {"missing letter", "detch", {"attach", "detach"}, 1, "detach"},
    {"inserted letter", "pci_buss", {"pci_bus", "pci_device"}, 1, "pci_bus"},
    {"wrong letter", "pci_buz", {"pci_device", "pci_bus"}, 1, "pci_bus"},
    {"swapped letters", "hsow", {"show", "how2"}, 1, "show"},
    {"different case", "STATUS", {"status"}, 0, "status"},
    {"start of a name", "compl", {"completion"}, 1, "completion"},
    {"typo in the start of a name",
     "completoin-for",
     {"completion-for-the-shells"},
     1,
     "completion-for-the-shells"},
    {"two wrong letters, one allowed", "taps", {"type"}, 1, ""},
    {"two wrong letters, two allowed", "taps", {"type"}, 2, "type"},
    {"three wrong letters, two allowed", "taxs", {"type"}, 2, ""},
    {"one edit per three letters", "vsl_opened", {"vsl_open"}, 1, "vsl_open"},
    {"same first letter wins", "cat", {"bat", "car"}, 1, "car"},
    {"shortest wins", "show", {"shows1", "shows"}, 2, "shows"},
    {"first wins", "card7", {"card0", "card1"}, 2, "card0"},
    {"no near name", "flux", {"attach", "detach"}, 1, ""},
    {"no names", "attach", {}, 1, ""},
};

TEST(NearestName, FindsTheIntendedName) {
  for (const Case& each : kCases) {
    const std::string* found = Base::NearestName(each.m_Input, each.m_Names, each.m_MaxEdits);
    EXPECT_EQ(each.m_Nearest, found == nullptr ? "" : *found) << each.m_Name;
  }
}

TEST(NearestName, IgnoresInputLongerThan64Characters) {
  const Names names = {std::string(64, 'x')};
  EXPECT_EQ(&names[0], Base::NearestName(std::string(64, 'x'), names, 1));
  EXPECT_EQ(nullptr, Base::NearestName(std::string(65, 'x'), names, 1));
}

}  // namespace
