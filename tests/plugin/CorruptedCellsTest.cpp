// Cells that the plug-in's persistence layer cannot read, because another program wrote them with
// checks disabled or changed the tables. The worker continues, and a row is updated again once it
// is repaired.

#include "tests/hostkit/database/Fixture.h"
#include "tests/plugin/Watch.h"
#include "tests/support/RowView.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

struct CorruptedCell {
  const char* name;
  const char* sql;
  const char* repair;
  const char* reason;
};

void PrintTo(const CorruptedCell& value, std::ostream* out) {
  *out << value.name;
}

// Removes STRICT from the table first, so that its columns accept values of any type.
#define WITHOUT_TYPES                                                                           \
  "PRAGMA writable_schema = 1;"                                                                 \
  "UPDATE sqlite_schema SET sql = REPLACE(sql, 'STRICT', '') WHERE name = 'host_adapter_rows';" \
  "PRAGMA writable_schema = RESET;"

class CorruptedCells : public WorkerFixture, public testing::WithParamInterface<CorruptedCell> {
 protected:
  CorruptedCells() {
    AddCards(1);
    ScopedDatabase::Begin(File());
    m_OnLine = [this](const std::string& line) {
      if (line.rfind("128 ", 0) == 0) m_DatabaseLines.push_back(line.substr(4));
    };
  }
  void TearDown() override { m_OnLine = nullptr; }

  std::string File() const { return (m_Host.Directory() / "rows.db").string(); }

  void Change(const char* celsius, const char* sectorSize) {
    m_DatabaseLines.clear();
    Set("card0", "temp_internal_deg_c", celsius);
    Set("card0", "sector_size_bytes", sectorSize);
    WaitForScans();
  }

  const ScopedDatabase m_Database;
  Cells m_DatabaseLines;
};

TEST_P(CorruptedCells, DoNotStopTheWorker) {
  StartWatch();
  OtherProgram other(File());
  other.Run(std::string("PRAGMA ignore_check_constraints = 1;") + GetParam().sql);
  Change("60.0", "4096");
  EXPECT_THAT(m_DatabaseLines, Contains(HasSubstr(GetParam().reason)));
  EXPECT_EQ(m_Host.Topology().size(), 3U);
  other.Run(GetParam().repair);
  Change("70.0", "512");
  // An adapter's row is written from the previous record.
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_temperature"), ElementsAre("60"));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_sector_size"), ElementsAre("512"));
}

INSTANTIATE_TEST_SUITE_P(
    All, CorruptedCells,
    testing::Values(
        CorruptedCell{"Key", "UPDATE host_adapter_rows SET ID = 2147483648",
                      "UPDATE host_adapter_rows SET ID = 1",
                      "(invalid value in host_adapter_rows.ID)"},
        CorruptedCell{"Int", "UPDATE host_adapter_rows SET ad_temperature = 2147483648",
                      "UPDATE host_adapter_rows SET ad_temperature = NULL",
                      "(invalid value in host_adapter_rows.ad_temperature)"},
        CorruptedCell{"Double", "UPDATE host_drive_rows SET pd_remaining_reserve = 1e-310",
                      "UPDATE host_drive_rows SET pd_remaining_reserve = NULL",
                      "(invalid value in host_drive_rows.pd_remaining_reserve)"},
        CorruptedCell{"LargestDouble",
                      "UPDATE host_drive_rows SET pd_remaining_reserve = 1.7976931348623157e308",
                      "UPDATE host_drive_rows SET pd_remaining_reserve = NULL",
                      "(invalid value in host_drive_rows.pd_remaining_reserve)"},
        CorruptedCell{"Text", WITHOUT_TYPES "UPDATE host_adapter_rows SET ad_temperature = 'warm'",
                      "UPDATE host_adapter_rows SET ad_temperature = NULL",
                      "(invalid value in host_adapter_rows.ad_temperature)"},
        CorruptedCell{"Empty", WITHOUT_TYPES "UPDATE host_adapter_rows SET ad_object_id = ''",
                      "UPDATE host_adapter_rows SET ad_object_id = NULL",
                      "(invalid value in host_adapter_rows.ad_object_id)"},
        CorruptedCell{"Column", "ALTER TABLE host_adapter_rows DROP COLUMN ad_vendor",
                      "ALTER TABLE host_adapter_rows ADD COLUMN ad_vendor TEXT",
                      "(the result contains an incomplete row of host_adapter_rows)"}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace CorvaneTest
