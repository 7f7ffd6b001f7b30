// The links of the plug-in object after a scan. Nothing gives it a parent, so the test does it in
// the plug-in.

#include "tests/plugin/Watch.h"
#include "tests/plugin/inner/Opened.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PluginObjectLinks : public WorkerFixture {
 protected:
  // A worker whose next wake-up scans.
  void StartWithAParent() {
    AddCards(2);
    StartWatch();
    AwaitWakeUps(2);
    PluginObject().m_Parents = {7};
  }
};

TEST_F(PluginObjectLinks, AreTheAdaptersAfterAScan) {
  StartWithAParent();
  AwaitScans();
  EXPECT_THAT(PluginObject().m_Parents, IsEmpty());
  EXPECT_THAT(PluginObject().m_Children, ElementsAre(FIRST, SECOND));
}

TEST_F(PluginObjectLinks, AreRemovedByAFailedScan) {
  StartWithAParent();
  CardSim::FailCall("vsl_open", 1, 62, "not now");
  AwaitScans();
  EXPECT_THAT(TimesOf("16 After ScanSystem() ret = 20003"), testing::SizeIs(1));
  EXPECT_THAT(PluginObject().m_Parents, IsEmpty());
  EXPECT_THAT(PluginObject().m_Children, IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
