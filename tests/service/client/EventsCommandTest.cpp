// Requests that `events` sends to the service.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "console/commands/All.h"
#include "service/api/ServedCommand.h"
#include "service/client/ServiceSession.h"
#include "tests/service/client/FakeService.h"

namespace {

using testing::ElementsAre;

// A service whose log contains two events of a removed card; a third one follows.
ClientTest::Behavior Respond(const std::string& request) {
  if (request.rfind("GET /v1/session HTTP", 0) == 0) {
    return ClientTest::Json(
        R"({"plugin": {"file": "/p.so", "module_id": 7, "interface_version": 2}, "up": true,)"
        R"( "reason": "", "has_cards": true, "failed_threads": 0, "start_seconds": 1.5,)"
        R"( "newest_event": 7, "simulated": false, "records_failure": "", "database_file": "/db"})");
  }
  if (request.rfind("POST /v1/session HTTP", 0) == 0) {
    return ClientTest::Json(R"({"result": 0, "payload": [{"id": 5}]})");
  }
  if (request.find("?after=7 ") != request.npos) {
    return ClientTest::Json(
        R"({"newest": 8, "events": [{"number": 8, "time": 2000, "serial_number": "S900"}]})");
  }
  return ClientTest::Json(
      R"({"newest": 7, "events": [{"number": 6, "time": 1000, "serial_number": "S900"},)"
      R"( {"number": 7, "time": 2000, "serial_number": "S900"}]})");
}

class EventsCommand : public testing::Test {
 protected:
  // Returns the times of the events that the command shows.
  std::string Times(const std::vector<std::string>& arguments) {
    const auto open = [this](const Console::SessionRequest& request) {
      return std::make_unique<Service::ServiceSession>(m_Service.Socket(), request.m_EventLog,
                                                       request.m_Limits);
    };
    const auto document = nlohmann::json::parse(
        Service::RunCommand(Console::AllCommands(), arguments, m_Stream, open));
    std::string times;
    for (const auto& event : document.at("result").at("events")) {
      times += event.at("time").get<std::string>() + "\n";
    }
    return times;
  }

  const ClientTest::FakeService m_Service{Respond};
  const Console::ResultStream m_Stream{true};  // true: redirects test output to standard error
};

// A second read would lose the events logged in between.
TEST_F(EventsCommand, ReadsTheLogOnceForARemovedCard) {
  EXPECT_EQ("1970-01-01T00:00:01+00:00\n1970-01-01T00:00:02+00:00\n1970-01-01T00:00:02+00:00\n",
            Times({"events", "S900", "-o", "json"}));
  EXPECT_THAT(m_Service.Requests(),
              ElementsAre("GET /v1/session", "GET /v1/session/events?since_ms=0&limit=1000000000",
                          "GET /v1/session/events?after=7", "POST /v1/session"));
}

TEST_F(EventsCommand, ShowsARemovedCardSinceATime) {
  EXPECT_EQ("1970-01-01T00:00:02+00:00\n1970-01-01T00:00:02+00:00\n",
            Times({"events", "S900", "--since", "1970-01-01T00:00:02Z", "-o", "json"}));
}

}  // namespace
