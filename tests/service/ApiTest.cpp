// Requests to which the plug-in does not respond in time.

#include <gmock/gmock.h>
#include <signal.h>

#include <chrono>
#include <future>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "console/base/Deadline.h"
#include "console/commands/All.h"
#include "service/api/ApiTable.h"
#include "service/api/Documents.h"
#include "service/http/LateResponse.h"
#include "tests/service/CollectorFixture.h"
#include "tests/support/Temporary.h"

namespace {

using std::chrono::milliseconds;

class Api : public CorvaneTest::CollectorFixture {
 protected:
  ~Api() override {
    if (m_Process > 0) kill(m_Process, SIGCONT);
  }

  void StartAndSuspendProcess() {
    m_Host.AddCard();
    Start(Settings());
    m_Process = AwaitObjects(3)->m_Plugin.m_Process;
    kill(m_Process, SIGSTOP);
  }

  // Waits for a running plug-in that was started after this many others.
  void AwaitUpAfter(std::uint64_t starts) {
    Await([starts](const auto& it) { return it.m_Plugin.m_IsUp && it.m_Plugin.m_Starts > starts; });
  }

  Service::ApiContext Context() {
    Service::ApiContext api{Console::AllCommands(),
                            m_Stream,
                            m_Store,
                            *m_pCollector,
                            m_Feed,
                            m_Jobs,
                            m_Replays,
                            m_Threads,
                            m_State};
    api.m_FreshTimeout = milliseconds(20);
    api.m_CallTimeout = m_CallTimeout;
    return api;
  }

  // Calls the route's handler, waits for its deferred response, and returns the response's status
  // and problem id.
  std::string StatusOf(Http::Method method, const char* path, const Http::Request& request) {
    const Service::ApiContext api = Context();
    for (const Http::Route& route : Service::ApiRoutes(api)) {
      if (route.m_Method != method || route.m_Path != path) continue;
      const Http::Reply reply = route.m_Handler(request);
      if (const auto* const problem = std::get_if<Http::Response>(&reply)) {
        return "at once: " + *problem->m_Body;
      }
      const auto& later = std::get<Http::Later>(reply).m_Response;
      const Console::Deadline deadline(CorvaneTest::kTimeout);
      while (!later->Get() && !deadline.IsOver()) std::this_thread::sleep_for(milliseconds(5));
      if (!later->Get()) return "no response";
      const auto problem = nlohmann::json::parse(*later->Get()->m_Body);
      return std::to_string(later->Get()->m_Status) + " " + problem.value("id", "");
    }
    return "no route";
  }

  milliseconds m_CallTimeout{20};
  pid_t m_Process = 0;
  const Console::ResultStream m_Stream{true};  // the test prints to standard error
  Service::EventFeed m_Feed{m_Store};
  Service::JobTable m_Jobs;
  Service::ReplayCache m_Replays;
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
  settings.m_PluginFile = ODD_PLUGIN;
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

// The database is not read for a client that has disconnected while its request was queued.
TEST_F(Api, DoesNotReadTheDatabaseForADisconnectedClient) {
  Start(Settings());
  const Service::ApiContext api = Context();
  std::promise<void> end;
  m_State.Read([ended = end.get_future().share()](auto&) { return ended.wait(), true; },
               [](const auto&) {});
  std::vector<int> answered;
  std::vector<Http::Later> promises;
  for (const int number : {1, 2}) {
    const auto answer = [&answered, number] {
      answered.push_back(number);
      return Http::Response();
    };
    promises.push_back(std::get<Http::Later>(Service::AnswerFromDatabase(api, answer)));
  }
  promises[0].m_Response->End();
  end.set_value();
  m_State.Stop();
  EXPECT_THAT(answered, testing::ElementsAre(2));
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

}  // namespace
