#include <gtest/gtest.h>

#include "host/Toolkit.h"

namespace {

TEST(LanguageFile, ReturnsItsDefaultMessagesByIndex) {
  const char* defaults[] = {"General error", "No information"};
  const MBX::Language_Support::CLanguageSupport::CLngFile file("Module.nls", 0x656E, "utf-8", 1,
                                                               defaults, 2);
  EXPECT_STREQ("General error", file.GetText(0));
  EXPECT_STREQ("No information", file.GetText(1));
  EXPECT_STREQ("", file.GetText(2));
  EXPECT_STREQ("Module.nls", file.m_File);
  EXPECT_STREQ("utf-8", file.m_Encoding);
  EXPECT_EQ(25966U, file.m_Language);
  EXPECT_EQ(2UL, file.m_DefaultCount);
}

}  // namespace
