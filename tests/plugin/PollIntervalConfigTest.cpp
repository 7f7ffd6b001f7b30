// The poll interval from the ini file, as shown by the plug-in object.

#include <gmock/gmock.h>

#include "Corvane/Src/PollInterval.h"
#include "tests/plugin/ScanView.h"

namespace CorvaneTest {
namespace {

// Checked by the compiler, because tests of the worker fail in many ways with a wrong interval.
static_assert(NAMESPACE_Corvane::ScanIntervalMs(15) == 15000,
              "a scan follows every poll interval (Corvane/Src/PollInterval.h)");
static_assert(NAMESPACE_Corvane::QuickPollIntervalMs(15) == 5000,
              "a poll follows every third of the poll interval (Corvane/Src/PollInterval.h)");

struct IniCase {
  const char* name;
  const char* ini;
  const char* seconds;
};

void PrintTo(const IniCase& value, std::ostream* stream) {
  *stream << value.name;
}

class PollIntervalConfig : public testing::TestWithParam<IniCase> {};

TEST_P(PollIntervalConfig, IsShownByThePluginObject) {
  SimulatedHost host;
  host.AddCard();
  host.WriteIni(GetParam().ini);
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(ShownValue(host, host.PluginId(), PI::Property::POLL_INTERVAL), GetParam().seconds);
}

constexpr IniCase INI_CASES[] = {
    // name, ini text, seconds
    {"EmptyFile", "", "15"},
    {"OnlyAnotherKey", "PollTime=30\n", "15"},
    {"KeyInASection", "[Corvane]\nPollInterval=30\n", "15"},
    {"KeyWithoutAnEqualsSign", "PollInterval\n", "15"},
    {"EmptyValue", "PollInterval=\n", "15"},
    {"BlankValue", "PollInterval=   \n", "15"},
    {"Letters", "PollInterval=abc\n", "15"},
    {"UnitAfterTheDefault", "PollInterval=15x\n", "15"},
    {"UnitAfterAnotherNumber", "PollInterval=30x\n", "15"},
    {"TwoNumbers", "PollInterval=30 40\n", "15"},
    {"Fraction", "PollInterval=30.5\n", "15"},
    {"Hexadecimal", "PollInterval=0x20\n", "15"},
    {"BeyondThirtyTwoBits", "PollInterval=4294967296\n", "15"},
    {"Negative", "PollInterval=-5\n", "255"},
    {"Zero", "PollInterval=0\n", "2"},
    {"One", "PollInterval=1\n", "2"},
    {"Minimum", "PollInterval=2\n", "2"},
    {"AboveMinimum", "PollInterval=3\n", "3"},
    {"Default", "PollInterval=15\n", "15"},
    {"LeadingZeroIsDecimal", "PollInterval=010\n", "10"},
    {"SpacesAround", "PollInterval =  60  \n", "60"},
    {"AmongOtherKeys", "Color=green\nPollInterval=60\nSize=3\n", "60"},
    {"BelowMaximum", "PollInterval=254\n", "254"},
    {"Maximum", "PollInterval=255\n", "255"},
    {"AboveMaximum", "PollInterval=256\n", "255"},
    {"ThreeHundred", "PollInterval=300\n", "255"},
    {"LargestNumber", "PollInterval=4294967295\n", "255"},
};

INSTANTIATE_TEST_SUITE_P(Ini, PollIntervalConfig, testing::ValuesIn(INI_CASES),
                         [](const auto& test) { return test.param.name; });

TEST(PollIntervalFile, IsNotTruncatedAtANullByte) {
  SimulatedHost host;
  host.AddCard();
  host.WriteIni(std::string("PollInterval=30\0 40\n", 20));
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(ShownValue(host, host.PluginId(), PI::Property::POLL_INTERVAL), "15");
}

TEST(PollIntervalFile, IsFifteenSecondsWithoutAFile) {
  SimulatedHost host;
  host.AddCard();
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(ShownValue(host, host.PluginId(), PI::Property::POLL_INTERVAL), "15");
}

TEST(PollIntervalFile, IsReadWhenThePluginIsCreated) {
  SimulatedHost host;
  host.AddCard();
  host.WriteIni("PollInterval=30\n");
  ASSERT_EQ(host.Create(), 0U);
  host.WriteIni("PollInterval=40\n");
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(ShownValue(host, host.PluginId(), PI::Property::POLL_INTERVAL), "30");
}

TEST(PollIntervalFile, IsNotWrittenAtStartup) {
  SimulatedHost host;
  host.AddCard();
  host.WriteIni("PollInterval=300\n");
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(host.ReadIni(), "PollInterval=300\n");
}

TEST(PollIntervalFile, IsReadAgainForTheNextPlugin) {
  SimulatedHost host;
  host.AddCard();
  host.WriteIni("PollInterval=30\n");
  ASSERT_EQ(host.Create(), 0U);
  host.Release();
  host.WriteIni("");
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(ShownValue(host, host.PluginId(), PI::Property::POLL_INTERVAL), "15");
}

}  // namespace
}  // namespace CorvaneTest
