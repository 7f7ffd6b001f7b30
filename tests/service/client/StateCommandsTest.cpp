// Problems that a service returns to the commands for its stored state.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "console/commands/All.h"
#include "service/api/ServedCommand.h"
#include "service/client/ServiceSession.h"
#include "tests/service/client/FakeService.h"

namespace {

constexpr const char* kSession =
    R"({"plugin": {"file": "/p.so", "module_id": 7, "interface_version": 2}, "up": true,)"
    R"( "reason": "", "has_cards": true, "failed_threads": 0, "start_seconds": 1.5,)"
    R"( "newest_event": 7, "simulated": false, "records_failure": "", "database_file": "/db"})";
constexpr const char* kKnownCards =
    R"({"cards": [{"serial_number": "S1", "position": "a0", "present": false,)"
    R"( "first_seen": "2026-11-01T00:00:00+00:00", "last_seen": "2026-11-02T00:00:00+00:00",)"
    R"( "name": "Board", "product": "", "pci_address": "", "pci_slot": null,)"
    R"( "size_bytes": null}]})";

// Replies like a service that knows one missing card. `last` is the reply to the request that the
// command itself sends.
ClientTest::Behavior Respond(const std::string& request, const ClientTest::Behavior& last) {
  const auto starts = [&request](const std::string& text) { return request.rfind(text, 0) == 0; };
  if (starts("GET /v1/session ")) return ClientTest::Json(kSession);
  if (starts("POST /v1/session ")) {
    return ClientTest::Json(R"({"result": 0, "payload": [{"id": 5}]})");
  }
  if (starts("GET /v1/known-cards ")) return ClientTest::Json(kKnownCards);
  if (starts("GET /v1/acknowledgments ")) return ClientTest::Json(R"({"acknowledgments": []})");
  return last;
}

class StateCommand : public testing::Test {
 protected:
  // Runs a command. Returns the exit code and id of its failure, such as "6 PERMISSION_DENIED".
  std::string FailureOf(const std::vector<std::string>& arguments,
                        const ClientTest::Behavior& last) {
    const ClientTest::FakeService service(
        [last](const std::string& request) { return Respond(request, last); });
    const auto open = [&service](const Console::SessionRequest& request) {
      return std::make_unique<Service::ServiceSession>(service.Socket(), request.m_EventLog,
                                                       request.m_Limits);
    };
    std::string result;
    try {
      result = Service::RunCommand(Console::AllCommands(), arguments, m_Stream, open);
    } catch (const Console::Failure& failure) {
      result = std::to_string(static_cast<int>(failure.m_Code)) + " " + failure.m_Id;
    }
    m_Requests = service.Requests();
    return result;
  }

  const Console::ResultStream m_Stream{true};  // true: redirects test output to standard error
  std::vector<std::string> m_Requests;         // of the last command
};

using Arguments = std::vector<std::string>;

const Arguments kAck = {"ack", "S1", "MISSING"};
const Arguments kUnack = {"unack", "S1", "MISSING"};
const Arguments kForget = {"forget", "S1", "-y"};
const Arguments kHistory = {"history", "S1", "read_bytes"};

TEST_F(StateCommand, FailsIfChangesAreNotPermitted) {
  const auto denied = ClientTest::Problem(403, "PERMISSION_DENIED", "not permitted");
  EXPECT_EQ("6 PERMISSION_DENIED", FailureOf(kAck, denied));
  EXPECT_EQ("6 PERMISSION_DENIED", FailureOf(kUnack, denied));
  EXPECT_EQ("6 PERMISSION_DENIED", FailureOf(kForget, denied));
}

TEST_F(StateCommand, ReportsACardThatAnotherClientHasForgotten) {
  const auto unknown = ClientTest::Problem(404, "UNKNOWN_CARD", "never seen");
  EXPECT_EQ("3 UNKNOWN_CARD", FailureOf(kAck, unknown));
  EXPECT_EQ("3 UNKNOWN_CARD", FailureOf(kForget, unknown));
}

TEST_F(StateCommand, ReportsACardThatHasReturned) {
  EXPECT_EQ("4 CARD_PRESENT",
            FailureOf(kForget, ClientTest::Problem(409, "CARD_PRESENT", "is present")));
}

TEST_F(StateCommand, ReportsAReasonThatTheServiceDoesNotKnow) {
  EXPECT_EQ("2 UNKNOWN_REASON",
            FailureOf(kAck, ClientTest::Problem(400, "UNKNOWN_REASON", "not a reason")));
}

TEST_F(StateCommand, RejectsUnusableReplies) {
  const auto invalid = ClientTest::Json(R"({"step_seconds": 60, "points": [{"time": "now"}]})");
  EXPECT_EQ("1 SERVICE_REPLY_INVALID", FailureOf(kHistory, invalid));
  const auto step = ClientTest::Json(R"({"step_seconds": 0, "points": []})");
  EXPECT_EQ("1 SERVICE_REPLY_INVALID", FailureOf(kHistory, step));
  for (const char* const seconds : {"0.5", "-60", "9223372036854775807", "true"}) {
    const auto reply =
        ClientTest::Json(std::string(R"({"points": [], "step_seconds": )") + seconds + "}");
    EXPECT_EQ("1 SERVICE_REPLY_INVALID", FailureOf(kHistory, reply)) << seconds;
  }
  const auto object = ClientTest::Json(R"({"step_seconds": 60, "points": {}})");
  EXPECT_EQ("1 SERVICE_REPLY_INVALID", FailureOf(kHistory, object));
  EXPECT_EQ("1 SERVICE_REPLY_INVALID", FailureOf(kAck, ClientTest::Json("{}", 201)));
  EXPECT_EQ("1 SERVICE_REPLY_INVALID", FailureOf(kForget, ClientTest::Json("{}")));
}

TEST_F(StateCommand, ReportsAnUnusableDatabase) {
  EXPECT_EQ("1 DATABASE_FAILED",
            FailureOf(kHistory, ClientTest::Problem(500, "DATABASE_FAILED", "locked")));
}

TEST_F(StateCommand, SendsEachChangeOnce) {
  FailureOf(kForget, ClientTest::Problem(500, "DATABASE_FAILED", "locked"));
  int deletes = 0;
  for (const std::string& request : m_Requests) {
    deletes += request == "DELETE /v1/cards/S1" ? 1 : 0;
  }
  EXPECT_EQ(1, deletes);
}

}  // namespace
