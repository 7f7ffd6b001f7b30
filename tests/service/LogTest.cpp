#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <set>

#include "host/PluginInterface.h"
#include "hostkit/Texts.h"
#include "service/Log.h"
#include "service/MessageCatalog.h"
#include "tests/support/Temporary.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

HostKit::LoggedEvent WornOutEvent() {
  HostKit::LoggedEvent event = {};
  event.m_EventID = 10968;
  event.m_Severity = PI::SEVERITY_WARNING;
  event.m_Message = "Adapter a\nb is worn out.";
  event.m_SourceName = "a\nb";
  event.m_SerialNumber = "FA00000001";
  return event;
}

TEST(LogEntry, HasTheFieldsOfItsEvent) {
  const Systemd::JournalEntry entry = Service::EntryOf(WornOutEvent());
  EXPECT_EQ("Adapter a\\x0ab is worn out.", entry.m_Message);
  EXPECT_EQ(4, entry.m_Priority);
  EXPECT_THAT(
      entry.m_Fields,
      ElementsAre(Pair("MESSAGE_ID", "a19311db2a994521918a795f00002ad8"),
                  Pair("CORVANE_EVENT", "CTRL_NEAR_WEARING_OUT"), Pair("CORVANE_EVENT_ID", "10968"),
                  Pair("CORVANE_SERIAL_NUMBER", "FA00000001"), Pair("CORVANE_SOURCE", "a\nb")));
}

TEST(LogEntry, HasThePriorityOfTheEventSeverity) {
  struct {
    std::uint32_t m_Severity;
    int m_Priority;
  } const cases[] = {
      {PI::SEVERITY_INFORMATION, 6}, {PI::SEVERITY_WARNING, 4}, {PI::SEVERITY_ERROR, 3}, {77, 5}};
  for (const auto& each : cases) {
    HostKit::LoggedEvent event = WornOutEvent();
    event.m_Severity = each.m_Severity;
    EXPECT_EQ(each.m_Priority, Service::EntryOf(event).m_Priority) << each.m_Severity;
  }
}

TEST(LogEntry, NamesTheClientOfAChange) {
  Http::Peer client;
  client.m_User = 1000;
  client.m_Process = getpid();
  std::string name;
  std::getline(std::ifstream("/proc/self/comm") >> std::ws, name);
  const std::string process = std::to_string(getpid());
  const Systemd::JournalEntry entry = Service::EntryOf(client, "LOCATE");
  EXPECT_EQ("LOCATE requested by uid 1000, pid " + process + " (" + name + ")", entry.m_Message);
  EXPECT_EQ(5, entry.m_Priority);
  EXPECT_THAT(entry.m_Fields,
              ElementsAre(Pair("CORVANE_CHANGE", "LOCATE"), Pair("CORVANE_CLIENT_UID", "1000"),
                          Pair("CORVANE_CLIENT_PID", process), Pair("CORVANE_CLIENT_COMM", name)));
}

TEST(LogEntry, SaysWhyAChangeWasRefused) {
  Http::Peer client;
  client.m_User = 0;
  client.m_Process = 0;
  const Systemd::JournalEntry entry = Service::EntryOf(client, "LOCATE", "card S1 is busy");
  EXPECT_EQ("LOCATE requested by uid 0, pid 0 (unknown) was refused: card S1 is busy",
            entry.m_Message);
  EXPECT_THAT(entry.m_Fields.back(), Pair("CORVANE_REFUSAL", "card S1 is busy"));
}

TEST(LogEntry, NamesAClientThatHasExitedByItsIds) {
  Http::Peer client;
  client.m_User = 0;
  client.m_Process = 0;  // no process has this id
  EXPECT_EQ("LOCATE requested by uid 0, pid 0 (unknown)",
            Service::EntryOf(client, "LOCATE").m_Message);
}

TEST(Journal, IsUsedIfStandardErrorIsConnectedToIt) {
  struct stat status = {};
  ASSERT_EQ(0, fstat(STDERR_FILENO, &status));
  const std::string inode = std::to_string(status.st_ino);
  const std::string here = std::to_string(status.st_dev) + ":" + inode;
  struct {
    std::optional<std::string> m_Stream;
    bool m_IsUsed;
  } const cases[] = {{here, true},
                     {std::nullopt, false},
                     {"", false},
                     {here + "1", false},
                     {std::to_string(status.st_dev + 1) + ":" + inode, false}};
  for (const auto& each : cases) {
    const ScopedVariable variable("JOURNAL_STREAM", each.m_Stream);
    EXPECT_EQ(each.m_IsUsed, Systemd::IsJournalUsed()) << each.m_Stream.value_or("unset");
  }
}

TEST(MessageId, IsDifferentForEachEvent) {
  std::set<std::string> ids;
  const auto events = HostKit::NumbersOf(HostKit::Family::Event);
  for (const std::uint32_t event : events) {
    const std::string id = Service::MessageIdOf(event);
    EXPECT_EQ(32U, id.size());
    EXPECT_EQ(std::string::npos, id.find_first_not_of("0123456789abcdef"));
    ids.insert(id);
  }
  EXPECT_EQ(events.size(), ids.size());
  EXPECT_LT(10U, ids.size());
}

// Users' journals contain these ids and scripts may search for them.
TEST(MessageId, IsTheSameInAllVersions) {
  EXPECT_EQ("a19311db2a994521918a795f00002ad8", Service::MessageIdOf(10968));
  EXPECT_EQ("a19311db2a994521918a795f00000001", Service::MessageIdOf(1));
}

}  // namespace
