// Reading and keeping the states of the locate LEDs.
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "console/base/Output.h"
#include "console/plugin/CommandSession.h"
#include "console/plugin/LocateLedReader.h"

namespace {

using Console::LocateLedReader;

constexpr std::chrono::hours kLong(1);

// A session whose plug-in only checks whether LEDs can be switched on. Counts these checks.
class LedSession : public Console::CommandSession {
 public:
  LedSession() : CommandSession(Log(), {}) {}

  Console::PluginInfo Info() const override { return {}; }
  std::size_t FailedThreads() const override { return 0; }
  using Session::WaitForNotification;
  bool WaitForNotification(std::chrono::milliseconds, const Console::WaitSet&) override {
    return false;
  }

  std::map<std::uint64_t, std::uint32_t> m_Results;  // of the checks, by object id
  int m_Checks = 0;

 private:
  static Console::EventLogClient& Log() {
    static Console::Diagnostics diagnostics(Console::Verbosity::Silent);
    static Console::EventLogClient log(diagnostics);
    return log;
  }
  std::optional<Console::PluginReply> Call(Console::PluginCommand command, const Console::Deadline&,
                                           Console::OnStop) override {
    ++m_Checks;
    return Console::PluginReply{m_Results.at(command.m_Object), std::move(command.m_Payload)};
  }
  void Abandon() override {}
};

PI::CObject Adapter(std::uint64_t id) {
  PI::CObject object;
  object.m_ID = id;
  object.m_ObjectType = PI::OBJECT_ADAPTER;
  PI::COperation operation;
  operation.m_OperationID = PI::OP_LOCATE_DEVICE;
  object.m_Operations = {operation};
  return object;
}

// Returns the states that a reading yields, such as "1:on 2:off".
std::string Read(LocateLedReader& reader, LedSession& session,
                 const std::vector<PI::CObject>& objects) {
  std::string text;
  for (const Console::LocateLed& led : reader.Read(session, objects)) {
    text +=
        (text.empty() ? "" : " ") + std::to_string(led.m_Adapter) + (led.m_IsOn ? ":on" : ":off");
  }
  return text;
}

TEST(LocateLedReader, OmitsUnknownStatesAndObjectsWithoutAnLed) {
  LedSession session;
  session.m_Results = {
      {1, PI::ERR_LOCATE_IN_PROGRESS}, {2, PI::SUCCESS}, {3, PI::ERR_COMMAND_ERROR}};
  PI::CObject dark = Adapter(4);
  dark.m_Operations.clear();
  PI::CObject drive = Adapter(5);
  drive.m_ObjectType = PI::OBJECT_PHYSICAL_DRIVE;
  LocateLedReader reader(kLong);
  EXPECT_EQ("1:on 2:off", Read(reader, session, {Adapter(1), Adapter(2), Adapter(3), dark, drive}));
}

TEST(LocateLedReader, KeepsKnownStatesUntilTheyAreOutdated) {
  const std::vector<PI::CObject> objects = {Adapter(1), Adapter(2)};
  const struct {
    std::chrono::milliseconds m_MaxAge;
    const char* m_States;
    int m_Checks;
  } rows[] = {{kLong, "1:off", 3}, {std::chrono::milliseconds(0), "1:on 2:on", 4}};
  for (const auto& row : rows) {
    LedSession session;
    session.m_Results = {{1, PI::SUCCESS}, {2, PI::ERR_COMMAND_ERROR}};
    LocateLedReader reader(row.m_MaxAge);
    EXPECT_EQ("1:off", Read(reader, session, objects));
    session.m_Results[1] = PI::ERR_LOCATE_IN_PROGRESS;
    if (row.m_MaxAge.count() == 0) session.m_Results[2] = PI::ERR_LOCATE_IN_PROGRESS;
    EXPECT_EQ(row.m_States, Read(reader, session, objects));
    EXPECT_EQ(row.m_Checks, session.m_Checks);  // an unknown state is read each time
  }
}

TEST(LocateLedReader, ReadsAnInvalidatedStateAgain) {
  LedSession session;
  session.m_Results = {{1, PI::SUCCESS}, {2, PI::SUCCESS}};
  LocateLedReader reader(kLong);
  EXPECT_EQ("1:off 2:off", Read(reader, session, {Adapter(1), Adapter(2)}));
  session.m_Results = {{1, PI::ERR_LOCATE_IN_PROGRESS}, {2, PI::ERR_LOCATE_IN_PROGRESS}};
  reader.Invalidate(2);
  EXPECT_EQ("1:off 2:on", Read(reader, session, {Adapter(1), Adapter(2)}));
  reader.Forget();
  EXPECT_EQ("1:on 2:on", Read(reader, session, {Adapter(1), Adapter(2)}));
}

}  // namespace
