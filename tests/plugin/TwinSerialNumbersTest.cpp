// Two cards with the same serial number that are added in the same scan. The drive of an added
// adapter is looked up by that number, so both adapters find the first drive.

#include "tests/plugin/Watch.h"
#include "tests/support/RowView.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class TwinSerialNumbers : public WorkerFixture {
 protected:
  // Removes both cards, on buses 3 and 4, and adds them again with the same serial number.
  void ReturnTwins() {
    AddCards(2);
    StartWatch();
    Hide(0);
    Hide(1);
    WaitForScans();
    for (const char* card : {"card0", "card1"}) Set(card, "serial_number", "TWIN");
    Show(0);
    Show(1);
    m_Host.CollectEvents();
    ClearRecords();
    WaitForScans();
  }
  // Returns the object and adapter number of each row.
  static Cells TwinRows() {
    return Query(
        "SELECT pd_object_id, pd_adapter_number FROM host_drive_rows WHERE pd_serial_number = "
        "'TWIN' ORDER BY ID");
  }

  const ScopedDatabase m_Database;
};

constexpr const char* FIRST_TWIN = "85568392920039430";   // object 6
constexpr const char* SECOND_TWIN = "85568392920039432";  // object 8

TEST_F(TwinSerialNumbers, EachAdapterIsAddedWithADrive) {
  ReturnTwins();
  EXPECT_THAT(Events(),
              ElementsAre("CTRL_PNPADD severity 2 object 5 SanDisk Flash Adapter 785GB (1) | "
                          "SanDisk Flash Adapter 785GB (1)",
                          "CTRL_PNPADD severity 2 object 7 SanDisk Flash Adapter 785GB (2) | "
                          "SanDisk Flash Adapter 785GB (2)"));
  EXPECT_THAT(Tree(), ElementsAre("object 0130000000000000 type 19006 parents children "
                                  "0130000000000005 0130000000000007",
                                  "object 0130000000000005 type 19038 parents 0130000000000000 "
                                  "children 0130000000000006",
                                  "object 0130000000000007 type 19038 parents 0130000000000000 "
                                  "children 0130000000000008",
                                  "object 0130000000000006 type 19018 parents 0130000000000005 "
                                  "children",
                                  "object 0130000000000008 type 19018 parents 0130000000000007 "
                                  "children"));
}

// The first drive is added twice, with the number of each adapter in turn, and written once for
// each. The second drive is not added; its update replaces the first row.
TEST_F(TwinSerialNumbers, TheFirstDriveIsAddedForBothAdapters) {
  ReturnTwins();
  EXPECT_THAT(TimesOf("128 PD (Flash Adapter G2 (0)) inserted to db."), SizeIs(4));
  EXPECT_THAT(TimesOf("128 PD (Flash Adapter G2 (0)) updated in db."), SizeIs(4));
  EXPECT_THAT(TwinRows(), ElementsAre(SECOND_TWIN, NumberOf(4), FIRST_TWIN, NumberOf(3), FIRST_TWIN,
                                      NumberOf(4), FIRST_TWIN, NumberOf(4)));
}

// The first drive still has the number of the second adapter; the next scan corrects it.
TEST_F(TwinSerialNumbers, TheNextScanNotifiesTheHostAgainAndTheOneAfterItDoesNot) {
  ReturnTwins();
  m_Host.CollectEvents();
  EXPECT_THAT(Notifications(), SizeIs(1));
  WaitForScans();
  EXPECT_THAT(Notifications(), SizeIs(2));
  EXPECT_THAT(Events(), IsEmpty());
  WaitForScans();
  EXPECT_THAT(Notifications(), SizeIs(2));
}

}  // namespace
}  // namespace CorvaneTest
