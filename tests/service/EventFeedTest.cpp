// The event stream as its clients see it, through a real server.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "hostkit/Database.h"
#include "hostkit/EventLog.h"
#include "service/EventFeed.h"
#include "tests/service/http/HttpFixture.h"
#include "tests/support/Temporary.h"

namespace {

using HttpTest::RawClient;
using HttpTest::Transport;
using Json = nlohmann::json;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::ElementsAreArray;

// An event of a stream.
struct Received {
  std::string m_Id;
  std::string m_Name;
  Json m_Data;
};

// The complete events of a response, without its comments.
std::vector<Received> EventsOf(const std::string& response) {
  std::vector<Received> events;
  const auto begin = response.find("\r\n\r\n") + 4;
  std::istringstream lines(response.substr(begin, response.rfind("\n\n") - begin));
  Received event;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("id: ", 0) == 0) event.m_Id = line.substr(4);
    if (line.rfind("event: ", 0) == 0) event.m_Name = line.substr(7);
    if (line.rfind("data: ", 0) == 0) {
      event.m_Data = Json::parse(line.substr(6));
      events.push_back(event);
    }
  }
  return events;
}

HostKit::LoggedEvent MakeEvent(int number) {
  HostKit::LoggedEvent event{};
  event.m_Time = 1795239062000;
  event.m_Severity = 2;
  event.m_EventID = 10967;
  event.m_ObjectID = 7;
  event.m_Message = "event " + std::to_string(number);
  return event;
}

class EventFeedFixture : public testing::Test {
 protected:
  static Service::EventFeedSettings SmallSettings() {
    Service::EventFeedSettings settings;
    settings.m_RecentEvents = 3;
    settings.m_EventsPerPart = 2;
    return settings;
  }

  void Start(const Service::EventFeedSettings& settings = SmallSettings()) {
    m_pFeed = std::make_unique<Service::EventFeed>(m_Store, settings);
    Http::Route route = {Http::Method::Get, "/stream", Http::Access::Anyone,
                         [this](const Http::Request& request) -> Http::Reply {
                           const std::string* after =
                               Http::Find(request.m_Headers, "last-event-id");
                           if (after == nullptr) return m_pFeed->Open(std::nullopt);
                           return m_pFeed->Open(std::stoll(*after));
                         }};
    route.m_Headers = {"last-event-id"};
    Http::Settings open = HttpTest::OpenSettings();
    open.m_Limits.m_ConnectionsPerAddress = 256;
    m_pServer = std::make_unique<HttpTest::TestServer>(std::vector<Http::Route>{route}, open);
  }

  // Logs `count` more events, as a collector does, without publishing a snapshot.
  void Log(int count) {
    std::vector<HostKit::LoggedEvent> events;
    for (int i = 0; i < count; ++i) events.push_back(MakeEvent(++m_Logged));
    HostKit::AppendEvents(events);
  }
  void LogAndPublish(int count) {
    Log(count);
    m_Store.Publish({});
  }

  std::unique_ptr<RawClient> Connect(const std::string& after = "",
                                     Transport transport = Transport::Unix) {
    auto client = std::make_unique<RawClient>(*m_pServer, transport);
    // HTTP/1.0 has no chunked encoding, which would split the text at arbitrary positions.
    std::string request = "GET /stream HTTP/1.0\r\nHost: 127.0.0.1\r\n";
    if (!after.empty()) request += "Last-Event-ID: " + after + "\r\n";
    client->Send(request + "\r\n");
    return client;
  }

  // Waits for the text of event `last` and returns all events that the client has received.
  static std::vector<Received> Await(RawClient& client, int last) {
    return EventsOf(client.ReadUntil("\"event " + std::to_string(last) + "\"}]}}\n\n"));
  }
  // The numbers of the log events, in the order of their arrival.
  static std::vector<int> Numbers(const std::vector<Received>& received) {
    std::vector<int> numbers;
    for (const Received& event : received) {
      if (event.m_Name != "event") continue;
      const std::string text = event.m_Data.at("result").at("events").at(0).at("text");
      EXPECT_EQ("event " + event.m_Id, text);
      numbers.push_back(std::stoi(event.m_Id));
    }
    return numbers;
  }
  static std::vector<int> Range(int first, int last) {
    std::vector<int> numbers;
    for (int i = first; i <= last; ++i) numbers.push_back(i);
    return numbers;
  }

  TemporaryDirectory m_Directory;
  ScopedVariable m_Database{"CORVANE_DATABASE", (m_Directory.Path() / "log.db").string()};
  const bool m_IsReopened = (HostKit::ReopenDatabase(), true);
  int m_Logged = 0;
  Service::SnapshotStore m_Store;
  std::unique_ptr<Service::EventFeed> m_pFeed;  // outlives the server
  std::unique_ptr<HttpTest::TestServer> m_pServer;
};

using EventFeed = EventFeedFixture;

TEST_F(EventFeed, StartsWithTheSnapshotAndThePosition) {
  Log(4);
  Start();
  const auto client = Connect();
  client->ReadUntil("\"up\"");
  const auto received = EventsOf(client->ReadUntil("\n\n"));
  ASSERT_EQ(1U, received.size());
  EXPECT_EQ("4", received[0].m_Id);
  EXPECT_EQ("snapshot", received[0].m_Name);
  EXPECT_EQ(0, received[0].m_Data.at("number"));
  EXPECT_EQ(false, received[0].m_Data.at("up"));
}

TEST_F(EventFeed, SendsNewEventsInTheFormatOfTheConsole) {
  Start();
  const auto client = Connect();
  client->ReadUntil("\"up\"");
  LogAndPublish(1);
  const auto received = Await(*client, 1);
  ASSERT_EQ("event", received.at(1).m_Name);
  const Json& document = received[1].m_Data;
  EXPECT_EQ("events", document.at("command"));
  EXPECT_EQ("corvane-host", document.at("format").at("name"));
  const Json& event = document.at("result").at("events").at(0);
  EXPECT_EQ(10967, event.at("event_id"));
  EXPECT_EQ("CTRL_TEMPERATURE_ABOVE_WARN", event.at("event"));
  EXPECT_EQ("0x0000000000000007", event.at("logged_id"));
}

TEST_F(EventFeed, DoesNotSendAnEventBeforeItsSnapshot) {
  Start();
  const auto client = Connect();
  client->ReadUntil("\"up\"");
  Log(1);
  EXPECT_EQ(0, m_pFeed->Newest());
  m_Store.Publish({});
  EXPECT_THAT(Numbers(Await(*client, 1)), ElementsAre(1));
  EXPECT_EQ(1, m_pFeed->Newest());
}

TEST_F(EventFeed, SendsAnEventWithoutANewSnapshotOnRequest) {
  Start();
  const auto client = Connect();
  client->ReadUntil("\"up\"");
  Log(1);
  m_pFeed->ReadLog();
  EXPECT_THAT(Numbers(Await(*client, 1)), ElementsAre(1));
}

// The newest events are in memory, the others only in the log. The feed sends two events per part.
TEST_F(EventFeed, ResumesAtEveryPosition) {
  Log(3);
  Start();
  LogAndPublish(6);
  for (int after = 0; after < 9; ++after) {
    const auto client = Connect(std::to_string(after));
    EXPECT_THAT(Numbers(Await(*client, 9)), ElementsAreArray(Range(after + 1, 9)));
  }
  LogAndPublish(1);
  const auto client = Connect("9");
  EXPECT_THAT(Numbers(Await(*client, 10)), ElementsAre(10));
}

TEST_F(EventFeed, ResumesWhileEventsArrive) {
  Log(2);
  Start();
  auto publishing = std::async(std::launch::async, [this] {
    for (int i = 0; i < 100; ++i) LogAndPublish(1 + i % 3);
  });
  std::vector<int> numbers;
  while (numbers.empty() || numbers.back() < 30) {
    const auto client = Connect(std::to_string(numbers.empty() ? 0 : numbers.back()));
    const int next = numbers.empty() ? 1 : numbers.back() + 1;
    for (const int number : Numbers(Await(*client, next))) numbers.push_back(number);
  }
  publishing.get();
  EXPECT_THAT(numbers, ElementsAreArray(Range(1, numbers.back())));
}

TEST_F(EventFeed, SendsEachClientAllEventsAfterItsLastEventId) {
  Start();
  const auto first = Connect();
  first->ReadUntil("\"up\"");
  LogAndPublish(2);
  const auto second = Connect("1", Transport::Tcp);
  Await(*second, 2);
  LogAndPublish(2);
  EXPECT_THAT(Numbers(Await(*first, 4)), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(Numbers(Await(*second, 4)), ElementsAre(2, 3, 4));
}

TEST_F(EventFeed, ReportsTheGapInATrimmedLog) {
  constexpr int kMaxEvents = 20000;
  Log(kMaxEvents + 5);
  Start();
  struct Row {
    const char* m_After;
    bool m_HasGap;
  };
  for (const Row& row : {Row{"4", true}, Row{"5", false}, Row{"0", true}}) {
    const auto client = Connect(row.m_After);
    const auto received = Await(*client, 7);
    EXPECT_EQ(row.m_HasGap, received.at(0).m_Name == "gap") << row.m_After;
    EXPECT_THAT(Numbers(received).at(0), 6) << row.m_After;
    if (!row.m_HasGap) continue;
    EXPECT_EQ("5", received[0].m_Id);
    EXPECT_EQ(std::stoi(row.m_After), received[0].m_Data.at("after"));
    EXPECT_EQ(6, received[0].m_Data.at("first"));
  }
}

TEST_F(EventFeed, RestartsAfterANumberFromAnotherLog) {
  Log(2);
  Start();
  const auto client = Connect("3");
  const auto received = Await(*client, 2);
  EXPECT_EQ("gap", received.at(0).m_Name);
  EXPECT_EQ(1, received[0].m_Data.at("first"));
  EXPECT_THAT(Numbers(received), ElementsAre(1, 2));
}

TEST_F(EventFeed, ContinuesWithANewLog) {
  Log(3);
  Start();
  const auto client = Connect();
  client->ReadUntil("\"up\"");
  ScopedVariable other("CORVANE_DATABASE", (m_Directory.Path() / "other.db").string());
  HostKit::ReopenDatabase();
  m_Logged = 0;
  LogAndPublish(1);
  const auto received = Await(*client, 1);
  EXPECT_EQ("gap", received.at(1).m_Name);
  EXPECT_THAT(Numbers(received), ElementsAre(1));
}

TEST_F(EventFeed, SendsHeartbeats) {
  Service::EventFeedSettings settings = SmallSettings();
  settings.m_Heartbeat = milliseconds(5);
  Start(settings);
  const auto client = Connect();
  client->ReadUntil("\"up\"");
  client->ReadUntil("\n:\n\n");
}

TEST_F(EventFeed, DisconnectsAClientThatDoesNotReadButCanResume) {
  constexpr int kMany = 15000;  // more than the sockets buffer
  Service::EventFeedSettings settings;
  settings.m_Heartbeat = milliseconds(20);
  Log(kMany);
  Start(settings);
  const auto slow = Connect("0");
  slow->ReadUntil("event 1\"");
  // The feed removes the client when it disconnects it.
  ASSERT_TRUE(HttpTest::Await([this] { return m_pFeed->Count() == 0; }));
  const std::string& text = slow->ReadToEnd();
  const std::vector<int> before = Numbers(EventsOf(text));
  ASSERT_FALSE(before.empty());
  ASSERT_LT(before.back(), kMany);
  EXPECT_THAT(before, ElementsAreArray(Range(1, before.back())));
  const auto again = Connect(std::to_string(before.back()));
  EXPECT_EQ(before.back() + 1, Numbers(Await(*again, before.back() + 1)).front());
}

TEST_F(EventFeed, HasALimitForEachTransport) {
  Start();
  std::vector<std::unique_ptr<RawClient>> clients;
  for (const Transport transport : {Transport::Unix, Transport::Tcp}) {
    for (int i = 0; i < 64; ++i) {
      clients.push_back(Connect("", transport));
      EXPECT_EQ(200, RawClient::Parse(clients.back()->ReadUntil("\"up\"")).m_Status) << i;
    }
    const auto tooMany = Connect("", transport);
    EXPECT_EQ("503 STREAM_REFUSED",
              RawClient::Parse(tooMany->ReadUntil("\"STREAM_REFUSED\"}")).Short());
  }
}

TEST_F(EventFeed, RemovesDisconnectedClients) {
  Start();
  for (int i = 0; i < 3; ++i) Connect()->ReadUntil("\"up\"");
  LogAndPublish(1);
  const auto client = Connect("0");
  EXPECT_THAT(Numbers(Await(*client, 1)), ElementsAre(1));
}

}  // namespace
