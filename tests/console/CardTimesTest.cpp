// When each card was last read, derived from the reports of a plug-in.

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "console/model/CardTimes.h"

namespace {

constexpr std::uint64_t kFirst = 1, kSecond = 2;  // ids of two adapters

PI::CObject Adapter(std::uint64_t id, std::initializer_list<PI::_PROPERTY_ID> properties) {
  PI::CObject adapter;
  adapter.m_ID = id;
  adapter.m_ObjectType = PI::OBJECT_ADAPTER;
  for (const PI::_PROPERTY_ID each : properties) adapter.m_Properties.emplace_back(each, false);
  return adapter;
}

// A plug-in with two adapters. An adapter reports its temperature from the last scan, and the bytes
// written only if its card responds.
class CardTimes : public testing::Test {
 protected:
  CardTimes() { m_Plugin.m_ObjectType = PI::OBJECT_PLUGIN; }

  void Scan() {
    ++m_Plugin.m_ChangeCount;
    m_Plugin.m_Children = {kFirst, kSecond};
  }
  void FailToScan() {
    ++m_Plugin.m_ChangeCount;
    m_Plugin.m_Children.clear();
  }
  void Report(std::uint64_t now, bool firstResponds, bool secondResponds) {
    m_Tracker.Update({m_Plugin, Card(kFirst, firstResponds), Card(kSecond, secondResponds)}, now);
  }
  std::vector<std::uint64_t> LastReadTimes() const {
    return {m_Tracker.Times().LastReadTime(kFirst), m_Tracker.Times().LastReadTime(kSecond)};
  }

  PI::CObject m_Plugin;
  Console::CardTimeTracker m_Tracker;

 private:
  static PI::CObject Card(std::uint64_t id, bool responds) {
    using namespace PI::Property;
    return responds ? Adapter(id, {CHIP_TEMPERATURE, BYTES_WRITTEN})
                    : Adapter(id, {CHIP_TEMPERATURE});
  }
};

using Times = std::vector<std::uint64_t>;

TEST_F(CardTimes, AreUnknownBeforeTheFirstReport) {
  EXPECT_EQ(0U, m_Tracker.Times().m_ObservedAt);
  EXPECT_EQ(0U, m_Tracker.Times().m_ScannedAt);
  EXPECT_EQ((Times{0, 0}), LastReadTimes());
}

// At that time, the plug-in's change count is still 0.
TEST_F(CardTimes, IncludeTheScanAtPluginStart) {
  m_Plugin.m_Children = {kFirst, kSecond};
  Report(100, false, false);
  EXPECT_EQ(100U, m_Tracker.Times().m_ScannedAt);
  EXPECT_EQ((Times{100, 100}), LastReadTimes());
  Report(200, false, false);
  EXPECT_EQ(100U, m_Tracker.Times().m_ScannedAt);
}

TEST_F(CardTimes, KeepTheLastTimeOfACardThatStopsResponding) {
  Scan();
  Report(100, true, true);
  Report(200, true, false);
  EXPECT_EQ(200U, m_Tracker.Times().m_ObservedAt);
  EXPECT_EQ((Times{200, 100}), LastReadTimes());
  Report(300, true, true);
  EXPECT_EQ((Times{300, 300}), LastReadTimes());
}

TEST_F(CardTimes, AdvanceWithEachSuccessfulScan) {
  Scan();
  Report(100, false, false);
  EXPECT_EQ((Times{100, 100}), LastReadTimes());
  Report(200, false, false);
  EXPECT_EQ((Times{100, 100}), LastReadTimes());
  Scan();
  Report(300, false, false);
  EXPECT_EQ((Times{300, 300}), LastReadTimes());
  EXPECT_EQ(300U, m_Tracker.Times().m_ScannedAt);
}

TEST_F(CardTimes, KeepTheLastScanTimeAfterAFailedScan) {
  Scan();
  Report(100, true, true);
  FailToScan();
  Report(200, true, false);
  EXPECT_EQ((Times{200, 100}), LastReadTimes());
  EXPECT_EQ(100U, m_Tracker.Times().m_ScannedAt);
}

TEST_F(CardTimes, AreForgottenWithTheCard) {
  Scan();
  Report(100, true, true);
  m_Tracker.Update({m_Plugin, Adapter(kFirst, {PI::Property::BYTES_WRITTEN})}, 200);
  Report(300, true, false);
  EXPECT_EQ((Times{300, 0}), LastReadTimes());
}

}  // namespace
