// An adapter's row with a card library that returns values even for a null handle: the calls, the
// resulting trace lines, and the unchanged row. The drive's row is read from its card.

#include "tests/support/NullHandleSeam.h"
#include "tests/support/RowView.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr const char* READ_LINE =
    "GetAdapterProperties, vsl_has_total_physical_bytes_read = 4398046511104";
constexpr const char* ENDURANCE_LINE = "GetAdapterProperties, vsl_has_rated_endurance_percent = 10";

// The computation for the drive's row: a fifth of the endurance is used.
constexpr const char* DRIVE_LIFETIME = "ComputeRemainingLifeTime 8760 10995116277760 20 100";

// The calls for each of the four parts when every attribute is present.
const Cells LIFETIME = {"vsl_has_rated_endurance_tbytes",
                        "vsl_has_total_physical_bytes_written",
                        "vsl_has_rated_writes_remaining_percent",
                        "vsl_total_physical_bytes_written",
                        "vsl_rated_endurance_tbytes",
                        "vsl_rated_writes_remaining_percent",
                        "ComputeRemainingLifeTime 8760 21990232555520 73 200"};
const Cells BYTES_READ = {"vsl_has_total_physical_bytes_read", "vsl_total_physical_bytes_read",
                          "ConvertBytesToOtherUnit 4398046511104"};
const Cells BYTES_WRITTEN = {"vsl_has_total_physical_bytes_written",
                             "vsl_total_physical_bytes_written",
                             "ConvertBytesToOtherUnit 21990232555520"};
const Cells ENDURANCE = {"vsl_has_rated_endurance_tbytes", "vsl_has_total_physical_bytes_written",
                         "vsl_total_physical_bytes_written", "vsl_rated_endurance_tbytes"};

Cells Joined(const std::vector<Cells>& parts) {
  Cells all;
  for (const Cells& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

class NullHandleRow : public testing::Test {
 protected:
  // One tenth of the rated endurance is written. Every value differs from that of the card.
  NullHandleRow() : m_Host(PlainCard()) {
    m_Results.rated_endurance_tbytes = 200;
    m_Results.rated_writes_remaining_percent = 73.9F;
    m_Results.total_physical_bytes_read = 4398046511104;
    m_Results.total_physical_bytes_written = 21990232555520;
  }

  void ExpectCalls(const std::vector<Cells>& parts) {
    ASSERT_EQ(m_Host.Initialize(), 0U);
    EXPECT_THAT(m_Results.m_Calls, ElementsAreArray(Joined(parts)));
  }

  // The trace lines about live values.
  Cells LiveLines() {
    Cells lines;
    for (const std::string& line : m_Host.TracesWithLevel()) {
      if (line.find("GetAdapterProperties, ") != std::string::npos) lines.push_back(line);
    }
    return lines;
  }

  OneCard m_Host;
  const ScopedDatabase m_Database;
  NullHandleResults m_Results;
};

TEST_F(NullHandleRow, ReadsEachPartInTurnWithAZeroedRecord) {
  ExpectCalls({LIFETIME, BYTES_READ, BYTES_WRITTEN, ENDURANCE, {DRIVE_LIFETIME}});
}

TEST_F(NullHandleRow, TracesTwoLinesAndNoneForTheBytesWritten) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(LiveLines(),
              ElementsAre(std::string("16 ") + READ_LINE, std::string("16 ") + ENDURANCE_LINE));
}

TEST_F(NullHandleRow, IsTheSameRowAsWithoutValues) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(AdapterRows(), ElementsAre(PlainAdapterRow()));
}

// The converted byte counts are not used.
TEST_F(NullHandleRow, IsTheSameWithoutAUnitForItsBytes) {
  const ScopedUnitConversionFailure failure;
  ExpectCalls({LIFETIME, BYTES_READ, BYTES_WRITTEN, ENDURANCE, {DRIVE_LIFETIME}});
  EXPECT_THAT(LiveLines(),
              ElementsAre(std::string("16 ") + READ_LINE, std::string("16 ") + ENDURANCE_LINE));
  EXPECT_THAT(AdapterRows(), ElementsAre(PlainAdapterRow()));
}

TEST_F(NullHandleRow, OmitsTheLifetimeWithoutAFirstUse) {
  m_Host.Set({{"first_use_ts", nullptr}});
  ExpectCalls({BYTES_READ, BYTES_WRITTEN, ENDURANCE});
}

TEST_F(NullHandleRow, OmitsTheEnduranceWithoutARating) {
  m_Results.rated_endurance_tbytes.reset();
  ExpectCalls({{"vsl_has_rated_endurance_tbytes"},
               BYTES_READ,
               BYTES_WRITTEN,
               {"vsl_has_rated_endurance_tbytes", DRIVE_LIFETIME}});
  EXPECT_THAT(LiveLines(), ElementsAre(std::string("16 ") + READ_LINE));
}

TEST_F(NullHandleRow, OmitsTheEnduranceWithoutBytesWritten) {
  m_Results.total_physical_bytes_written.reset();
  ExpectCalls({{"vsl_has_rated_endurance_tbytes", "vsl_has_total_physical_bytes_written"},
               BYTES_READ,
               {"vsl_has_total_physical_bytes_written"},
               {"vsl_has_rated_endurance_tbytes", "vsl_has_total_physical_bytes_written"},
               {DRIVE_LIFETIME}});
  EXPECT_THAT(LiveLines(), ElementsAre(std::string("16 ") + READ_LINE));
}

TEST_F(NullHandleRow, ReadsTheOtherPartsWithoutRemainingWrites) {
  m_Results.rated_writes_remaining_percent.reset();
  ExpectCalls({{"vsl_has_rated_endurance_tbytes", "vsl_has_total_physical_bytes_written",
                "vsl_has_rated_writes_remaining_percent"},
               BYTES_READ,
               BYTES_WRITTEN,
               ENDURANCE,
               {DRIVE_LIFETIME}});
}

TEST_F(NullHandleRow, TracesOneLineWithoutBytesRead) {
  m_Results.total_physical_bytes_read.reset();
  ExpectCalls({LIFETIME,
               {"vsl_has_total_physical_bytes_read"},
               BYTES_WRITTEN,
               ENDURANCE,
               {DRIVE_LIFETIME}});
  EXPECT_THAT(LiveLines(), ElementsAre(std::string("16 ") + ENDURANCE_LINE));
}

// With a rating of 0, the percentage is left out.
TEST_F(NullHandleRow, DoesNotTraceTheEnduranceForARatingOfZero) {
  m_Results.rated_endurance_tbytes = 0;
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(LiveLines(), ElementsAre(std::string("16 ") + READ_LINE));
  EXPECT_THAT(Counts(), ElementsAre("1", "1", "1"));
}

TEST_F(NullHandleRow, MakesTheSameCallsWhileItsTraceLevelIsOff) {
  HostKit::SetTraceMask(~16U);
  ExpectCalls({LIFETIME, BYTES_READ, BYTES_WRITTEN, ENDURANCE, {DRIVE_LIFETIME}});
  EXPECT_THAT(LiveLines(), IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
