// The locate LEDs of simulated cards when the plug-in process is replaced.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "service/Snapshot.h"
#include "tests/service/CollectorFixture.h"

namespace {

using Console::Deadline;
using CorvaneTest::kTimeout;
using Service::SnapshotPtr;
using testing::ElementsAre;

class LocateLed : public CorvaneTest::CollectorFixture {
 protected:
  LocateLed() {
    m_Host.WriteIni("PollInterval=2\n");
    for (const char* serial : {"S100", "S200"}) {
      const std::string card = m_Host.AddCard();
      m_Host.Cards().Set(card, "serial_number", serial);
      m_Cards.push_back(card);
    }
  }
  ~LocateLed() override { m_pCollector.reset(); }

  void StartService() {
    Service::CollectorSettings settings = Settings();
    settings.m_OnWarning = [this](const std::string& warning) {
      const std::lock_guard<std::mutex> lock(m_Lock);
      m_Warnings.push_back(warning);
    };
    settings.m_BeforePublish = [this](const Service::Snapshot& snapshot) {
      const std::lock_guard<std::mutex> lock(m_Lock);
      if (snapshot.m_Plugin.m_IsUp && snapshot.m_Plugin.m_Starts != m_LastStart) {
        m_LastStart = snapshot.m_Plugin.m_Starts;
        m_LitAtFirst = LitCards();
      }
    };
    Start(settings);
    AwaitObjects(5);
  }

  // Executes an operation on the card with that serial number. Returns the plug-in's result, or 1
  // if there is no such card or no reply.
  std::uint32_t Execute(const std::string& serial, PI::_OPERATION_ID number) {
    const SnapshotPtr snapshot = m_Store.Get();
    PI::COperation operation;
    operation.m_OperationID = number;
    for (const PI::CObject& object : snapshot->m_Objects) {
      if (Service::SerialOf(*snapshot, object.m_ID) != serial) continue;
      const auto reply = m_pCollector->Call({PI::CMD_EXECUTE_OPERATION, object.m_ID, operation},
                                            Deadline(kTimeout));
      return reply ? reply->m_Result : 1;
    }
    return 1;
  }
  void SwitchOn(const std::string& serial) { EXPECT_EQ(0U, Execute(serial, PI::OP_LOCATE_DEVICE)); }
  void SwitchOff(const std::string& serial) {
    EXPECT_EQ(0U, Execute(serial, PI::OP_STOP_LOCATE_DEVICE));
  }

  // Kills the plug-in process and waits for a snapshot of the next one.
  void Kill() {
    const Service::PluginState plugin = m_Store.Get()->m_Plugin;
    CorvaneTest::SendSignal(plugin.m_Process, SIGKILL);
    Await([&](const auto& it) {
      return it.m_Plugin.m_IsUp && it.m_Plugin.m_Process != plugin.m_Process;
    });
  }

  // Returns the serial numbers of the cards whose LED is on, such as "S100 S200".
  std::string LitCards() {
    std::set<std::string> lit;
    for (const std::string& card : m_Host.Cards().Cards()) {
      if (m_Host.Cards().Get(card, "beacon_state") != "true") continue;
      const std::string quoted = m_Host.Cards().Get(card, "serial_number");
      lit.insert(quoted.substr(1, quoted.size() - 2));
    }
    std::string text;
    for (const std::string& serial : lit) text += (text.empty() ? "" : " ") + serial;
    return text;
  }
  // The lit cards just before the first snapshot of the newest process was published.
  std::string LitAtFirstSnapshot() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_LitAtFirst;
  }
  std::vector<std::string> Warnings() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Warnings;
  }

  std::vector<std::string> m_Cards;
  std::mutex m_Lock;
  std::vector<std::string> m_Warnings;
  std::string m_LitAtFirst;
  std::uint64_t m_LastStart = 0;
};

TEST_F(LocateLed, IsOnAgainBeforeTheFirstSnapshotOfANewProcess) {
  StartService();
  SwitchOn("S200");
  Kill();
  EXPECT_EQ("S200", LitAtFirstSnapshot());
  SwitchOn("S100");
  Kill();
  EXPECT_EQ("S100 S200", LitAtFirstSnapshot());
  EXPECT_THAT(Warnings(), ElementsAre());
}

TEST_F(LocateLed, StaysOffAfterItWasSwitchedOff) {
  StartService();
  SwitchOn("S100");
  SwitchOn("S200");
  SwitchOff("S100");
  Kill();
  EXPECT_EQ("S200", LitCards());
}

TEST_F(LocateLed, IsNotSwitchedOnAfterARejectedCommand) {
  StartService();
  m_Host.Cards().Fail("vsl_set_beacon_state", 5, "rejected");
  EXPECT_NE(0U, Execute("S100", PI::OP_LOCATE_DEVICE));
  m_Host.Cards().ClearFailure("vsl_set_beacon_state");
  Kill();
  EXPECT_EQ("", LitCards());
}

TEST_F(LocateLed, StaysOnAfterARejectedSwitchOff) {
  StartService();
  SwitchOn("S100");
  m_Host.Cards().Fail("vsl_set_beacon_state", 5, "rejected");
  EXPECT_NE(0U, Execute("S100", PI::OP_STOP_LOCATE_DEVICE));
  m_Host.Cards().ClearFailure("vsl_set_beacon_state");
  Kill();
  EXPECT_EQ("S100", LitCards());
}

TEST_F(LocateLed, OfARemovedCardStaysOffWhenTheCardReturns) {
  StartService();
  SwitchOn("S100");
  SwitchOn("S200");
  m_Host.Cards().RemoveCard(m_Cards[0]);
  AwaitObjects(3);
  m_Host.Cards().Set(m_Host.AddCard(), "serial_number", "S100");
  AwaitObjects(5);
  Kill();
  EXPECT_EQ("S200", LitCards());
}

TEST_F(LocateLed, IsForgottenAfterThreeFailedRestarts) {
  StartService();
  SwitchOn("S100");
  m_Host.Cards().Fail("vsl_set_beacon_state", 5, "rejected");
  Kill();
  Kill();
  EXPECT_THAT(Warnings(), ElementsAre());
  Kill();
  EXPECT_THAT(Warnings(), ElementsAre("cannot switch on the locate LED of card S100 again"));
  m_Host.Cards().ClearFailure("vsl_set_beacon_state");
  Kill();
  EXPECT_EQ("", LitCards());
}

TEST_F(LocateLed, IsRememberedIfOnlyTwoRestartsInARowFail) {
  StartService();
  SwitchOn("S100");
  for (int round = 0; round < 2; ++round) {
    m_Host.Cards().Fail("vsl_set_beacon_state", 5, "rejected");
    Kill();
    Kill();
    m_Host.Cards().ClearFailure("vsl_set_beacon_state");
    Kill();
    EXPECT_EQ("S100", LitAtFirstSnapshot()) << round;
  }
  EXPECT_THAT(Warnings(), ElementsAre());
}

TEST_F(LocateLed, IsOffAfterTheServiceRestarts) {
  StartService();
  SwitchOn("S100");
  const pid_t before = m_Store.Get()->m_Plugin.m_Process;
  m_pCollector.reset();
  StartService();
  Await([before](const auto& it) { return it.m_Plugin.m_Process != before; });
  EXPECT_EQ("", LitCards());
}

}  // namespace
