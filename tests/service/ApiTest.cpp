// The API's handlers: timeouts, reads of the event log and the database, and metrics.

#include <gmock/gmock.h>
#include <signal.h>

#include <chrono>
#include <future>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "console/base/Deadline.h"
#include "console/base/Timestamp.h"
#include "console/commands/All.h"
#include "hostkit/EventLog.h"
#include "service/api/ApiTable.h"
#include "service/api/Documents.h"
#include "service/http/PendingResponse.h"
#include "tests/service/CollectorFixture.h"
#include "tests/service/state/Cards.h"
#include "tests/support/Temporary.h"

namespace {

using std::chrono::milliseconds;

using Body = std::shared_ptr<const std::string>;

// Returns the count of the event with this id in the metrics, or "none".
std::string CountIn(const std::string& metrics, const std::string& event) {
  const auto begin = metrics.find("corvane_events_total{event_id=\"" + event + "\"");
  const auto value = metrics.find("} ", begin);
  return begin == metrics.npos ? "none"
                               : metrics.substr(value + 2, metrics.find('\n', value) - value - 2);
}

class Api : public CorvaneTest::CollectorFixture {
 protected:
  ~Api() override {
    if (m_Process > 0) CorvaneTest::SendSignal(m_Process, SIGCONT);
  }

  void StartAndSuspendProcess() {
    m_Host.AddCard();
    Start(Settings());
    m_Process = AwaitObjects(3)->m_Plugin.m_Process;
    CorvaneTest::SendSignal(m_Process, SIGSTOP);
  }

  // Waits until the plug-in is running and has been started more than `starts` times.
  void AwaitUpAfter(std::uint64_t starts) {
    Await([starts](const auto& it) { return it.m_Plugin.m_IsUp && it.m_Plugin.m_Starts > starts; });
  }

  Service::ApiContext Context() {
    Service::ApiContext api{
        Console::AllCommands(), m_Stream,  m_Store,   *m_pCollector, m_Feed,   m_Summary, m_Jobs,
        m_SessionJobs,          m_Replays, m_Threads, m_State,       m_Metrics};
    api.m_RefreshTimeout = milliseconds(20);
    api.m_CallTimeout = m_CallTimeout;
    api.m_DatabaseTimeout = m_DatabaseTimeout;
    return api;
  }

  // Returns the response of the route's handler. Fails the test and returns a response with status
  // 0 if it is deferred.
  Http::Response ImmediateResponse(const char* path) {
    const Service::ApiContext api = Context();
    for (const Http::Route& route : Service::ApiRoutes(api)) {
      if (route.m_Method != Http::Method::Get || route.m_Path != path) continue;
      const Http::Reply reply = route.m_Handler({});
      if (const auto* const response = std::get_if<Http::Response>(&reply)) return *response;
    }
    ADD_FAILURE() << path << " did not respond at once";
    return Http::MakeResponse(0, "", "{}");
  }

  // Calls the route's handler and waits for its deferred response. Fails the test and returns a
  // response with status 0 if there is none.
  Http::Response DeferredResponse(Http::Method method, const char* path,
                                  const Http::Request& request) {
    const Service::ApiContext api = Context();
    for (const Http::Route& route : Service::ApiRoutes(api)) {
      if (route.m_Method != method || route.m_Path != path) continue;
      const Http::Reply reply = route.m_Handler(request);
      if (const auto* const problem = std::get_if<Http::Response>(&reply)) {
        ADD_FAILURE() << "responded at once: " << *problem->m_Body;
        break;
      }
      const auto& later = std::get<Http::ResponsePromise>(reply).m_Response;
      const Console::Deadline deadline(CorvaneTest::kTimeout);
      while (!later->Get() && !deadline.HasPassed()) {
        std::this_thread::sleep_for(milliseconds(5));
        later->CheckTimeout();  // as the server does
      }
      if (later->Get()) return *later->Get();
    }
    ADD_FAILURE() << path << " did not respond";
    return Http::MakeResponse(0, "", "{}");
  }

  // Returns the status and the problem id of a deferred response.
  std::string StatusOf(Http::Method method, const char* path, const Http::Request& request) {
    const Http::Response response = DeferredResponse(method, path, request);
    const auto problem = nlohmann::json::parse(*response.m_Body);
    return std::to_string(response.m_Status) + " " + problem.value("id", "");
  }

  // A new snapshot is published only on a request or a notification.
  Service::CollectorSettings LongIntervals() const {
    Service::CollectorSettings settings = Settings();
    settings.m_RefreshInterval = std::chrono::hours(1);
    return settings;
  }

  Body Metrics() { return ImmediateResponse("/metrics").m_Body; }

  milliseconds m_CallTimeout{20};
  milliseconds m_DatabaseTimeout{CorvaneTest::kTimeout};
  pid_t m_Process = 0;
  const Console::ResultStream m_Stream{true};  // true: redirects test output to standard error
  Service::EventFeed m_Feed{m_Store};
  Service::EventSummary m_Summary;
  Service::JobTable m_Jobs;
  Service::SessionJobs m_SessionJobs{m_Jobs};
  Service::ReplayCache m_Replays;
  Service::MetricsCache m_Metrics;
  Service::CallThreads m_Threads;
  Service::StateThread m_State{[](const std::string&) {}};
};

TEST_F(Api, TimesOutWithoutANewSnapshot) {
  StartAndSuspendProcess();
  Http::Request request;
  request.m_Query["fresh"] = "1";
  EXPECT_EQ("504 TIMED_OUT", StatusOf(Http::Method::Get, "/v1/cards", request));
}

TEST_F(Api, TimesOutIfThePluginDoesNotRespond) {
  StartAndSuspendProcess();
  Http::Request request;
  request.m_Body = R"({"command": "CHECK_OPERATION", "payload": {"operation_id": 1}})";
  EXPECT_EQ("504 TIMED_OUT", StatusOf(Http::Method::Post, "/v1/session", request));
}

TEST_F(Api, TimesOutAndReplacesThePluginIfAChangeHangs) {
  const std::filesystem::path log = m_Host.Directory() / "commands";
  const ScopedVariable behavior("CONSOLE_TEST_PLUGIN", "hang in SetProperty");
  const ScopedVariable logged("CONSOLE_TEST_LOG", log.string());
  Service::CollectorSettings settings = Settings();
  settings.m_PluginFiles = {TEST_PLUGIN, {}};
  settings.m_CallTimeout = milliseconds(3000);
  Start(settings);
  m_CallTimeout = settings.m_CallTimeout;
  Http::Request request;
  request.m_Body = R"({"poll_interval": 30})";
  std::string response;
  // On a slow machine, an earlier call may be the one that times out.
  while (ReadText(log).find("hangs") == std::string::npos) {
    AwaitUpAfter(0);
    response = StatusOf(Http::Method::Patch, "/v1/plugin", request);
  }
  EXPECT_EQ("504 TIMED_OUT", response);
  AwaitUpAfter(m_Store.Get()->m_Plugin.m_Starts);
}

// A key that another user has already used neither returns that user's response nor is refused.
TEST_F(Api, KeepsTheKeysOfUsersApart) {
  m_Host.AddCard();
  Start(Settings());
  AwaitUpAfter(0);
  m_CallTimeout = CorvaneTest::kTimeout;
  const auto change = [this](uid_t user, const char* interval) {
    Http::Request request;
    request.m_Peer.m_User = user;
    request.m_Headers["idempotency-key"] = "a";
    request.m_Body = std::string(R"({"poll_interval": )") + interval + "}";
    const Http::Response response = DeferredResponse(Http::Method::Patch, "/v1/plugin", request);
    const auto result = nlohmann::json::parse(*response.m_Body)["result"];
    return std::to_string(response.m_Status) + " " +
           result["after"]["poll_interval_seconds"].dump();
  };
  EXPECT_EQ("200 30", change(1000, "30"));
  EXPECT_EQ("200 40", change(1001, "40"));
}

// The database is not read for a client that has disconnected while its request was queued.
TEST_F(Api, DoesNotReadTheDatabaseForADisconnectedClient) {
  Start(Settings());
  const Service::ApiContext api = Context();
  std::promise<void> end;
  m_State.QueueRead([ended = end.get_future().share()](auto&) { return ended.wait(), true; },
                    [](const auto&) {});
  std::vector<int> answered;
  std::vector<Http::ResponsePromise> replies;
  for (const int number : {1, 2}) {
    const auto answer = [&answered, number] {
      answered.push_back(number);
      return Http::Response();
    };
    replies.push_back(std::get<Http::ResponsePromise>(Service::AnswerFromDatabase(api, answer)));
  }
  replies[0].m_Response->End();
  end.set_value();
  m_State.Stop();
  EXPECT_THAT(answered, testing::ElementsAre(2));
}

// The change is still made after its request has timed out.
TEST_F(Api, TimesOutIfTheDatabaseIsBusy) {
  Start(Settings());
  m_State.QueueChange(
      [](Service::StateStore& store) {
        StateTest::Card card;
        card.m_Serial = "S0";
        return store.Record(StateTest::Observe(1795239062000, {card}));
      },
      [](const auto&) {});
  std::promise<void> end;
  m_State.QueueRead([ended = end.get_future().share()](auto&) { return ended.wait(), true; },
                    [](const auto&) {});
  m_DatabaseTimeout = milliseconds(20);
  Http::Request request;
  request.m_Parameters["serial"] = "S0";
  request.m_Body = R"({"reason": "DETACHED"})";
  EXPECT_EQ("504 DATABASE_TIMED_OUT", StatusOf(Http::Method::Get, "/v1/acknowledgments", {}));
  EXPECT_EQ("504 DATABASE_TIMED_OUT",
            StatusOf(Http::Method::Post, "/v1/cards/{serial}/ack", request));
  end.set_value();
  m_DatabaseTimeout = CorvaneTest::kTimeout;
  EXPECT_THAT(*DeferredResponse(Http::Method::Get, "/v1/acknowledgments", {}).m_Body,
              testing::HasSubstr(R"("serial_number":"S0","reason":"DETACHED")"));
}

// Clients can read the log even when many calls wait for a card.
TEST_F(Api, ReadsTheLogWhileAllThreadsWaitForACard) {
  Start(Settings());
  std::promise<void> end;
  const auto wait = [ended = end.get_future().share()] { ended.wait(); };
  while (m_Threads.Run(wait)) continue;
  EXPECT_EQ("200 ", StatusOf(Http::Method::Get, "/v1/session/events", {}));
  EXPECT_EQ("200 ", StatusOf(Http::Method::Get, "/v1/session/event-counts", {}));
  end.set_value();
}

TEST_F(Api, RendersTheMetricsOfASnapshotOnce) {
  m_Host.AddCard();
  Start(LongIntervals());
  AwaitObjects(3);
  Body first, second;
  const auto state = [this] { return std::pair(m_Store.Get()->m_Number, Console::NowMs() / 1000); };
  auto before = state();
  do {  // a second may pass or the plug-in may report a change in between
    before = state();
    first = Metrics();
    second = Metrics();
  } while (state() != before);
  EXPECT_EQ(first.get(), second.get());
  ASSERT_TRUE(m_pCollector->Refresh(Console::Deadline(CorvaneTest::kTimeout)));
  EXPECT_NE(first.get(), Metrics().get());
}

// The counts in the metrics do not wait for the next snapshot.
TEST_F(Api, CountsAnEventInTheMetricsAsSoonAsTheSummaryHasIt) {
  m_Host.AddCard();
  Start(LongIntervals());
  AwaitObjects(3);
  HostKit::LoggedEvent event{};
  event.m_EventID = 10967;
  HostKit::AppendEvents({event});
  m_Summary.Update();
  const std::string before = CountIn(*Metrics(), "10967");
  HostKit::AppendEvents({event});
  m_Summary.Update();
  EXPECT_EQ(std::to_string(std::stoi(before) + 1), CountIn(*Metrics(), "10967"));
}

TEST_F(Api, OmitsTheCardsFromTheMetricsOfAStoppedPlugin) {
  m_Host.AddCard();
  Start(Settings());
  AwaitObjects(3);
  EXPECT_THAT(*Metrics(), testing::HasSubstr("corvane_plugin_up 1\n"));
  m_pCollector->Stop();
  Service::Snapshot down = *m_Store.Get();
  down.m_Plugin.m_IsUp = false;
  m_Store.Publish(down);
  EXPECT_THAT(*Metrics(), testing::HasSubstr("corvane_plugin_up 0\n"));
  EXPECT_THAT(*Metrics(), testing::Not(testing::HasSubstr("corvane_adapter_status{")));
}

}  // namespace
