// The identity of the module, and the conditions under which it writes trace lines.

#include <gmock/gmock.h>

#include "Corvane/Src/Trace.h"
#include "tests/support/Numbers.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(ModuleIdentity, HasModuleNumberNameAndVersion) {
  const MBX::Misc::CModuleInfo& module = NAMESPACE_Corvane::MBX_MODULE_INFO_Corvane;
  EXPECT_EQ(module.m_Module, 304U);
  EXPECT_STREQ(module.m_Name, "Corvane");
  EXPECT_STREQ(module.m_Version, "P:7.7.0 F:7.7.0");
  EXPECT_EQ(module.m_pLanguageFile, &NAMESPACE_Corvane::NLS::m_LngFile);
  EXPECT_EQ(module.m_pMessages, &NAMESPACE_Corvane::ErrorMsgList);
}

TEST(ModuleIdentity, HasALanguageFileWithTwoDefaults) {
  const auto& file = NAMESPACE_Corvane::NLS::m_LngFile;
  EXPECT_STREQ(file.m_File, "Corvane.nls");
  EXPECT_EQ(file.m_Language, 25966U);
  EXPECT_STREQ(file.m_Encoding, "utf-8");
  ASSERT_EQ(file.m_DefaultCount, 2U);
  EXPECT_STREQ(file.GetText(0), "General error in Corvane plugin");
  EXPECT_STREQ(file.GetText(1), "No information available for this error");
}

TEST(ModuleIdentity, HasAMessageListOfFourFields) {
  const auto& list = NAMESPACE_Corvane::ErrorMsgList;
  static_assert(sizeof list == 32);
  EXPECT_EQ(list.m_MessageCode, 0x21300001U);
  EXPECT_THAT(list.m_Reserved, ElementsAre(0U, 0U, 0U));
}

TEST(ModuleIdentity, IsInThePluginAndInEveryObjectId) {
  OneCard host;
  host.AddCard();
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(host.Plugin()->m_ModuleID, 304U);
  for (const PI::CObject& object : host.Topology()) EXPECT_EQ(object.m_ID >> 48U, 0x0130U);
}

// Tracing.

TEST(Tracing, WritesOnlyTheCountLineWithAMaskOfZero) {
  OneCard host;
  host.AddCard();
  HostKit::SetTraceMask(0);
  testing::internal::CaptureStdout();
  const unsigned int started = host.Initialize();
  const std::string output = testing::internal::GetCapturedStdout();
  ASSERT_EQ(started, 0U);
  EXPECT_EQ(output, "Corvane:  Initialize:  adapter count is 2\n");
  host.Topology();
  host.CollectEvents();
  EXPECT_THAT(host.TraceLines(), IsEmpty());
}

TEST(Tracing, PrintsTheCountLineWhenEverythingIsTraced) {
  OneCard host;
  testing::internal::CaptureStdout();
  const unsigned int started = host.Initialize();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Corvane:  Initialize:  adapter count is 1\n");
  EXPECT_EQ(started, 0U);
  EXPECT_THAT(host.Traces(), testing::Not(Contains(testing::HasSubstr("adapter count"))));
}

// A trace mask, and the lines of a topology request with one card that it enables.
struct MaskRow {
  const char* name;
  std::uint32_t mask;
  std::vector<std::string> lines;
};

void PrintTo(const MaskRow& value, std::ostream* out) {
  *out << value.name;
}

class TracingWithAMask : public testing::TestWithParam<MaskRow> {};

TEST_P(TracingWithAMask, WritesOnlyTheLevelsOfTheMask) {
  OneCard host(Settings{{"reserve_space_pct", "98.0"},
                        {"reserve_status", "0"},
                        {"total_physical_bytes_read", nullptr},
                        {"total_physical_bytes_written", nullptr}});
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  HostKit::SetTraceMask(GetParam().mask);
  host.Topology();
  EXPECT_EQ(host.TracesWithLevel(), GetParam().lines);
}

INSTANTIATE_TEST_SUITE_P(
    All, TracingWithAMask,
    testing::Values(
        MaskRow{"Entry",
                2,
                {"2 ENTER GetTopology", "2 ENTER AdapterGetProperties (0)",
                 "2 LEAVE AdapterGetProperties -> 0", "2 ENTER GetPhysicalDriveProperties()",
                 "2 GetPhysicalDriveProperties() set status property of disk to 40099",
                 "2 LEAVE GetTopology"}},
        MaskRow{"Flow",
                4,
                {"4 GetTopology() Adapter m_ID=0x130000000000001", "4 GetTopology() m_Adapters = 1",
                 "4 GetTopology() PhysicalDrive m_ID=0x130000000000002",
                 "4 GetTopology() m_PhysicalDrives = 1"}},
        MaskRow{"Locks", 8, {"8 Before m_DataLock.Wait (sg)", "8 After m_DataLock.Wait (sg)"}},
        MaskRow{"Results",
                16,
                {"16 GetAdapterProperties, vsl_has_reserve_space_pct = 98",
                 "16 GetAdapterProperties, vsl_has_reserve_status = 0"}},
        MaskRow{"Database", 128, {}}, MaskRow{"NoLevelOfThePlugin", 0xFFFFFF61, {}},
        MaskRow{"TwoLevels",
                4 | 8,
                {"8 Before m_DataLock.Wait (sg)", "8 After m_DataLock.Wait (sg)",
                 "4 GetTopology() Adapter m_ID=0x130000000000001", "4 GetTopology() m_Adapters = 1",
                 "4 GetTopology() PhysicalDrive m_ID=0x130000000000002",
                 "4 GetTopology() m_PhysicalDrives = 1"}}),
    [](const auto& test) { return test.param.name; });

// The mask changes in the middle of a command, from a card call.
TEST(Tracing, FollowsAChangeOfTheMaskAtTheNextLine) {
  OneCard host;
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  HostKit::SetTraceMask(8);
  CardSim::SetHook([](const CardSim::Call& call) {
    if (call.function == "vsl_close") HostKit::SetTraceMask(2);
  });
  host.Row(OneCard::ADAPTER, PI::Property::NAME);
  EXPECT_THAT(host.TracesWithLevel(),
              ElementsAre("8 Before m_DataLock.Wait (sg)", "8 After m_DataLock.Wait (sg)",
                          "2 LEAVE AdapterGetProperties -> 0"));
}

// Returns "module file function" for the first line with the given text.
std::string OriginOf(const OneCard& host, const std::string& text) {
  for (const HostKit::TraceLine& line : host.TraceLines()) {
    if (line.text != text) continue;
    EXPECT_GT(line.line, 0);
    return line.module + " " + line.file + " " + line.function;
  }
  return "no such line";
}

TEST(Tracing, ShowsModuleSourceAndFunctionOfALine) {
  OneCard host;
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(OriginOf(host, "LEAVE Initialize() -> 0"), "Corvane CorvanePlugin Initialize");
  // Filling a row traces the same text.
  EXPECT_EQ(OriginOf(host, "ENTER AdapterGetProperties (0)"),
            "Corvane CorvaneAdapter SetDatabaseObjectProperties");
  host.ClearTraces();
  host.Topology();
  host.Operations(OneCard::PLUGIN);
  EXPECT_EQ(OriginOf(host, "ENTER GetTopology"), "Corvane CorvanePlugin GetTopology");
  EXPECT_EQ(OriginOf(host, "ENTER AdapterGetProperties (0)"),
            "Corvane CorvaneAdapter GetAdapterProperties");
  EXPECT_EQ(OriginOf(host, "ENTER GetPhysicalDriveProperties()"),
            "Corvane CorvanePhysicalDrive GetPhysicalDriveProperties");
  EXPECT_EQ(OriginOf(host, "ENTER GetOperations ret=0"), "Corvane Corvane GetOperations");
}

TEST(Tracing, ShowsOnlyTheFourSources) {
  OneCard host;
  ASSERT_EQ(host.Initialize(), 0U);
  host.Topology();
  host.CollectEvents();
  for (const HostKit::TraceLine& line : host.TraceLines()) {
    EXPECT_THAT(line.file, testing::AnyOf("Corvane", "CorvanePlugin", "CorvaneAdapter",
                                          "CorvanePhysicalDrive"))
        << line.text;
  }
}

TEST(Tracing, ShowsStringsOfTheCardUnchanged) {
  OneCard host;
  host.AddCard();
  CardSim::FailCall("vsl_iom_create_by_name", 1, 77, "100%d of %s, 0x%x %");
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_THAT(host.Traces(16),
              Contains("ScanSystem, vsl_iom_create_by_name = 77 (100%d of %s, 0x%x %)"));
}

// The macro itself.

TEST(TraceMacro, DoesNotEvaluateTheValuesOfADisabledLevel) {
  const SimulatedHost host;
  int evaluations = 0;
  const auto value = [&evaluations] { return static_cast<unsigned int>(++evaluations); };
  HostKit::SetTraceMask(~std::uint32_t{NAMESPACE_Corvane::TRACE_FLOW});
  TRACE(NAMESPACE_Corvane::TRACE_FLOW, "%d", value());
  EXPECT_EQ(evaluations, 0);
  EXPECT_THAT(host.TraceLines(), IsEmpty());
  HostKit::SetTraceMask(NAMESPACE_Corvane::TRACE_FLOW);
  TRACE(NAMESPACE_Corvane::TRACE_FLOW, "%d", value());
  EXPECT_EQ(evaluations, 1);
  EXPECT_THAT(host.Traces(4), ElementsAre("1"));
}

TEST(TraceMacro, FillsInNumbersAndStringsInOrder) {
  const SimulatedHost host;
  const std::string text = "a text with %d in it";
  TRACE(NAMESPACE_Corvane::TRACE_RESULT, "%s, %s = %d (%s) 0x%x", "caller", text,
        Number::ERR_COMMAND_ERROR, "", 0x0130000000000000UL);
  TRACE(NAMESPACE_Corvane::TRACE_RESULT, "%d %d", 4294967295U, 18446744073709551615UL);
  EXPECT_THAT(host.Traces(16),
              ElementsAre("caller, a text with %d in it = 20003 () 0x130000000000000",
                          "4294967295 18446744073709551615"));
}

TEST(TraceLevels, AreOneBitEach) {
  EXPECT_EQ(NAMESPACE_Corvane::TRACE_ENTRY, 2U);
  EXPECT_EQ(NAMESPACE_Corvane::TRACE_FLOW, 4U);
  EXPECT_EQ(NAMESPACE_Corvane::TRACE_LOCK, 8U);
  EXPECT_EQ(NAMESPACE_Corvane::TRACE_RESULT, 16U);
  EXPECT_EQ(NAMESPACE_Corvane::TRACE_DATABASE, 128U);
}

}  // namespace
}  // namespace CorvaneTest
