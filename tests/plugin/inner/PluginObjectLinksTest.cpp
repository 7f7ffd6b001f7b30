// The links of the plug-in object after a scan. Nothing in the plug-in gives it a parent, so the
// test does.

#include "tests/plugin/Watch.h"
#include "tests/plugin/inner/PrivateMember.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PluginObjectLinks : public WorkerFixture {
 protected:
  // Starts a worker whose next wake-up scans, and gives the plug-in object a parent.
  void StartWithAParent() {
    AddCards(2);
    StartWatch();
    WaitForWakeUps(2);
    PluginObject().m_Parents = {7};
  }
};

TEST_F(PluginObjectLinks, AreTheAdaptersAfterAScan) {
  StartWithAParent();
  WaitForScans();
  EXPECT_THAT(PluginObject().m_Parents, IsEmpty());
  EXPECT_THAT(PluginObject().m_Children, ElementsAre(FIRST, SECOND));
}

TEST_F(PluginObjectLinks, AreRemovedByAFailedScan) {
  StartWithAParent();
  CardSim::FailCall("vsl_open", 1, 62, "unavailable");
  WaitForScans();
  EXPECT_THAT(TimesOf("16 After ScanSystem() ret = 20003"), testing::SizeIs(1));
  EXPECT_THAT(PluginObject().m_Parents, IsEmpty());
  EXPECT_THAT(PluginObject().m_Children, IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
