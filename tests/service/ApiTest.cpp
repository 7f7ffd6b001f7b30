// Requests that the plug-in does not answer in time.

#include <fcntl.h>
#include <signal.h>

#include <string>

#include "console/commands/All.h"
#include "service/api/ApiTable.h"
#include "service/http/LateResponse.h"
#include "tests/service/CollectorFixture.h"

namespace {

using std::chrono::milliseconds;

class Api : public CorvaneTest::CollectorFixture {
 protected:
  // The status and the problem of the response, which comes later.
  std::string Ask(const Service::SnapshotStore& store, Http::Method method, const char* path,
                  Http::Request request) {
    Service::ApiContext api{Console::AllCommands(),
                            m_Stream,
                            store,
                            *m_pCollector,
                            m_Feed,
                            m_Jobs,
                            m_Replays,
                            m_Threads};
    api.m_FreshTimeout = milliseconds(20);
    api.m_CallTimeout = milliseconds(20);
    for (const Http::Route& route : Service::ApiRoutes(api)) {
      if (route.m_Method != method || route.m_Path != path) continue;
      const Http::Reply reply = route.m_Handler(request);
      const auto& later = std::get<Http::Later>(reply).m_Response;
      while (!later->Get()) std::this_thread::sleep_for(milliseconds(5));
      const auto problem = nlohmann::json::parse(*later->Get()->m_Body);
      return std::to_string(later->Get()->m_Status) + " " + problem.value("id", "");
    }
    return "no route";
  }

  const Console::ResultStream m_Stream{true};  // the test prints to standard error
  Service::EventFeed m_Feed{m_Store};
  Service::JobTable m_Jobs;
  Service::ReplayCache m_Replays;
  Service::CallThreads m_Threads;
};

TEST_F(Api, TimesOutWithoutANewSnapshot) {
  m_Host.AddCard();
  Start(Settings());
  Service::SnapshotStore old;
  old.Publish(*AwaitObjects(3));
  Http::Request request;
  request.m_Query["fresh"] = "1";
  EXPECT_EQ("504 TIMED_OUT", Ask(old, Http::Method::Get, "/v1/cards", request));
}

TEST_F(Api, TimesOutWithAPluginThatDoesNotAnswer) {
  m_Host.AddCard();
  Start(Settings());
  const pid_t process = AwaitObjects(3)->m_Plugin.m_Process;
  kill(process, SIGSTOP);
  Http::Request request;
  request.m_Body = R"({"command": "CHECK_OPERATION", "payload": {"operation_id": 1}})";
  EXPECT_EQ("504 TIMED_OUT", Ask(m_Store, Http::Method::Post, "/v1/session", request));
  kill(process, SIGCONT);
}

}  // namespace
