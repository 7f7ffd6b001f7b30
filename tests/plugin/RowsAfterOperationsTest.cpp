// The rows after the host has detached, attached or formatted a card.

#include <ostream>

#include "tests/plugin/Watch.h"
#include "tests/support/RowView.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;

constexpr std::uint32_t BLOCK_SIZE = PI::Property::BLOCK_SIZE;
constexpr int BYTES_4096 = PI::Value::_4K;

class RowsAfterOperations : public WorkerFixture {
 protected:
  // Starts with one card at 50 degrees in the given state. Its jobs take no time.
  void RunWith(const char* state) {
    AddCards(1);
    Set("card0", "iom_state", state);
    for (const char* job : {"attach_ms", "detach_ms", "format_ms"}) Set("card0", job, "0");
    Set("card0", "temp_internal_deg_c", "50.0");
    Set("card0", "factory_size_bytes", "1099511627776");
    Set("card0", "iom_format_max_size_bytes", "1099511627776");
    Set("card0", "overformat_size_bytes", "2199023255552");
    Set("card0", "sector_size_bytes", "512");
    StartWatch();
  }
  // Changes the temperature and waits for the scan that detects the change.
  void ChangeTemperature(const char* celsius) {
    Set("card0", "temp_internal_deg_c", celsius);
    WaitForScans();
  }
  std::string CardState() { return m_Host.Cards().Get("card0", "iom_state"); }

  // Renders the adapter's status, reasons, activity and temperature, and the status, sector size,
  // factory size and largest size of the drive.
  static std::string Rows() {
    const auto rendered = [](const char* table, const Cells& columns) {
      std::string text;
      for (const std::string& column : columns) text += " " + Column(table, column).at(0);
      return text;
    };
    return "adapter" +
           rendered(ADAPTER_ROWS, {"ad_status_name", "ad_status_reason_names", "ad_activity_names",
                                   "ad_temperature"}) +
           ", drive" +
           rendered(DRIVE_ROWS, {"pd_status_name", "pd_sector_size", "pd_factory_size",
                                 "pd_configurable_size"});
  }

  const ScopedDatabase m_Database;
};

TEST_F(RowsAfterOperations, ShowADetachAtTheNextChange) {
  RunWith("2");
  ASSERT_EQ(m_Host.Run(FIRST, PI::OP_DETACH), 0U);
  WaitForScans(2);
  EXPECT_EQ(CardState(), "0");
  EXPECT_EQ(Rows(), "adapter OK ATTACHED IDLE 50, drive AVAILABLE 512 1048576 2097152");
  ChangeTemperature("60.0");
  EXPECT_EQ(Rows(), "adapter WARNING DETACHED IDLE 50, drive AVAILABLE 512 1048576 2097152");
  ChangeTemperature("70.0");
  EXPECT_EQ(Rows(), "adapter WARNING DETACHED IDLE 60, drive AVAILABLE 512 1048576 2097152");
}

TEST_F(RowsAfterOperations, ShowAnAttachAtTheNextChange) {
  RunWith("0");
  EXPECT_EQ(Rows(), "adapter WARNING DETACHED IDLE 50, drive AVAILABLE 512 1048576 2097152");
  ASSERT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  WaitForScans(2);
  EXPECT_EQ(CardState(), "2");
  EXPECT_EQ(Rows(), "adapter WARNING DETACHED IDLE 50, drive AVAILABLE 512 1048576 2097152");
  ChangeTemperature("60.0");
  EXPECT_EQ(Rows(), "adapter OK ATTACHED IDLE 50, drive AVAILABLE 512 1048576 2097152");
}

// An adapter's row lags by one change, so a later change is needed to write the final state.
TEST_F(RowsAfterOperations, ShowALongAttachAsAttachingFirst) {
  RunWith("0");
  Set("card0", "attach_ms", "60000");
  ASSERT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  WaitForScans(2);
  EXPECT_EQ(CardState(), "1");
  EXPECT_EQ(Rows(), "adapter WARNING DETACHED IDLE 50, drive AVAILABLE 512 1048576 2097152");
  PassMs(90000);
  EXPECT_EQ(CardState(), "2");
  EXPECT_EQ(Rows(), "adapter WARNING  ATTACHING 50, drive AVAILABLE 512 1048576 2097152");
  ChangeTemperature("60.0");
  EXPECT_EQ(Rows(), "adapter OK ATTACHED IDLE 50, drive AVAILABLE 512 1048576 2097152");
}

TEST_F(RowsAfterOperations, ShowTheSectorsOfAFormatAtTheNextScan) {
  RunWith("0");
  PI::CProperty sectors(PI::Property::CHOICE_PARAM, true);
  sectors.m_NameID = BLOCK_SIZE;
  sectors.SetValue(BYTES_4096, std::vector<int>{BYTES_4096});
  ASSERT_EQ(m_Host.Run(FIRST_DRIVE, PI::OP_FORMAT_DEVICE, {sectors}), 0U);
  EXPECT_EQ(Rows(), "adapter WARNING DETACHED IDLE 50, drive AVAILABLE 512 1048576 2097152");
  WaitForScans();
  EXPECT_EQ(Rows(), "adapter WARNING DETACHED IDLE 50, drive AVAILABLE 4096 1048576 2097152");
  ChangeTemperature("60.0");
  EXPECT_EQ(Rows(), "adapter WARNING DETACHED IDLE 50, drive AVAILABLE 4096 1048576 2097152");
  ChangeTemperature("70.0");
  EXPECT_EQ(Rows(), "adapter WARNING DETACHED IDLE 60, drive AVAILABLE 4096 1048576 2097152");
}

TEST_F(RowsAfterOperations, AreUnchangedAfterAFailedFormat) {
  RunWith("0");
  CardSim::FailCall("vsl_op_wait_for_result", 1, 5, "failed");
  EXPECT_NE(m_Host.Run(FIRST_DRIVE, PI::OP_FORMAT_DEVICE), 0U);
  WaitForScans(2);
  EXPECT_EQ(Rows(), "adapter WARNING DETACHED IDLE 50, drive AVAILABLE 512 1048576 2097152");
}

}  // namespace
}  // namespace CorvaneTest
