// Properties and operations are created for each request. They must not be stored in the objects;
// otherwise the next topology would include them and grow with each request.

#include <gmock/gmock.h>

#include <string>

#include "tests/plugin/inner/PrivateMember.h"
#include "tests/support/HeldCall.h"
#include "tests/support/Numbers.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {
namespace {

// Renders the lists of the stored objects that are not empty.
std::string NonemptyLists() {
  std::string kept;
  const auto check = [&kept](const std::string& object, const PI::CObject& stored) {
    if (!stored.m_Properties.empty()) kept += object + " properties,";
    if (!stored.m_Operations.empty()) kept += object + " operations,";
  };
  check("plug-in", PluginObject());
  for (const auto& adapter : Adapters()) check("adapter", adapter);
  for (const auto& drive : Drives()) check("drive", drive);
  return kept;
}

class StoredObjects : public testing::Test {
 protected:
  void SetUp() override {
    m_Host.WriteIni("PollInterval=2\n");
    ASSERT_EQ(m_Host.Start(), 0U);
    ASSERT_EQ(Adapters().size(), 1U);
    ASSERT_EQ(Drives().size(), 1U);
  }

  static constexpr std::uint64_t OBJECTS[] = {OneCard::PLUGIN, OneCard::ADAPTER, OneCard::DRIVE};

  OneCard m_Host;
};

TEST_F(StoredObjects, HaveNoListsAfterATopologyRequest) {
  ASSERT_EQ(m_Host.Topology().size(), 3U);
  EXPECT_EQ(NonemptyLists(), "");
}

TEST_F(StoredObjects, HaveNoListsAfterPropertyRequests) {
  for (const std::uint64_t object : OBJECTS) {
    EXPECT_FALSE(m_Host.Properties(object).empty());
    PI::CProperty property(PI::Property::UNDEFINED, false);
    EXPECT_EQ(m_Host.Property(object, PI::Property::NAME, property), 0U);
    m_Host.Execute(PI::CMD_SET_PROPERTY, object, &property);
  }
  EXPECT_EQ(m_Host.SetPollInterval(3), 0U);
  EXPECT_EQ(NonemptyLists(), "");
}

TEST_F(StoredObjects, HaveNoListsAfterOperationRequests) {
  for (const std::uint64_t object : OBJECTS) {
    m_Host.Operations(object);
    for (const std::uint32_t operation :
         {Number::OP_GET_EVENTS, Number::OP_FORMAT_DEVICE, Number::OP_MAKE_ONLINE,
          Number::OP_LOCATE_DEVICE, Number::OP_STOP_LOCATE_DEVICE, Number::OP_DETACH}) {
      m_Host.Check(object, operation);
    }
  }
  m_Host.Run(OneCard::ADAPTER, PI::OP_LOCATE_DEVICE);
  EXPECT_EQ(NonemptyLists(), "");
}

TEST_F(StoredObjects, HaveNoListsAfterAScanThatChangesThem) {
  m_Host.Topology();
  m_Host.Set({{"board_name", "Other"}, {"sector_size_bytes", "4096"}});
  SleepFor(5000);
  ASSERT_EQ(Adapters().at(0).m_BoardName, "Other");
  EXPECT_EQ(NonemptyLists(), "");
}

}  // namespace
}  // namespace CorvaneTest
