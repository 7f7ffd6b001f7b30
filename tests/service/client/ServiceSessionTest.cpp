// The console's session with a service: requests, notifications, lost connections, and the exit
// codes and messages for a misbehaving service.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "console/base/Notifier.h"
#include "service/client/ServiceSession.h"
#include "tests/service/client/FakeService.h"

namespace {

using ClientTest::Behavior;
using ClientTest::FakeService;
using Console::ExitCode;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kState =
    R"({"plugin": {"file": "/p.so", "module_id": 7, "interface_version": 2}, "up": true,)"
    R"( "reason": "", "has_cards": true, "failed_threads": 1, "start_seconds": 1.5,)"
    R"( "newest_event": 3, "simulated": false, "records_failure": "", "database_file": "/db"})";
constexpr const char* kTopology = R"({"result": 0, "payload": [{"id": 5}]})";

bool IsState(const std::string& request) {
  return request.rfind("GET /v1/session HTTP", 0) == 0;
}

class ServiceSession : public testing::Test {
 protected:
  // Connects to a service that reports its state and replies to every other request with
  // `behavior`.
  Service::ServiceSession& Connect(const Behavior& behavior) {
    return Start([behavior](const std::string& request) {
      return IsState(request) ? ClientTest::Json(kState) : behavior;
    });
  }
  Service::ServiceSession& Start(FakeService::Respond respond) {
    m_pService = std::make_unique<FakeService>(std::move(respond));
    m_pSession =
        std::make_unique<Service::ServiceSession>(m_pService->Socket(), m_EventLog, m_Limits);
    return *m_pSession;
  }
  std::string Name() const { return "the service at " + m_pService->Socket().string(); }

  Console::Diagnostics m_Diagnostics{Console::Verbosity::Silent};
  Console::EventLogClient m_EventLog{m_Diagnostics};
  Console::TimeLimits m_Limits;
  std::unique_ptr<FakeService> m_pService;
  std::unique_ptr<Service::ServiceSession> m_pSession;
};

// The failure of the call; empty if there is none.
std::optional<Console::Failure> FailureOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const Console::Failure& failure) {
    return failure;
  }
  return std::nullopt;
}

TEST_F(ServiceSession, ReportsThePluginOfTheService) {
  const Service::ServiceSession& session = Connect({});
  EXPECT_EQ("/p.so", session.Info().m_File);
  EXPECT_EQ(7U, session.Info().m_ModuleID);
  EXPECT_EQ(2U, session.Info().m_InterfaceVersion);
  EXPECT_TRUE(session.HasCards());
  EXPECT_EQ(1U, session.FailedThreads());
  EXPECT_EQ(1.5, session.StartDuration().count());
}

TEST_F(ServiceSession, ReadsTheTopology) {
  Service::ServiceSession& session = Connect(ClientTest::Json(kTopology));
  const auto objects = session.Topology();
  ASSERT_EQ(1U, objects.size());
  EXPECT_EQ(5U, objects[0].m_ID);
  EXPECT_THAT(m_pService->Requests(), ElementsAre("GET /v1/session", "POST /v1/session"));
}

TEST_F(ServiceSession, AllowsAReadShortlyAfterTheDeadline) {
  Service::ServiceSession& session = Connect(ClientTest::Json(kTopology));
  session.SetDeadline(Console::Deadline(milliseconds(0)));
  EXPECT_EQ(1U, session.Topology().size());
}

struct BadReply {
  const char* m_Name;
  Behavior m_Behavior;
  ExitCode m_Code;
  const char* m_Id;
  const char* m_Text;  // "{}" stands for the service and its socket
};

std::ostream& operator<<(std::ostream& out, const BadReply& row) {
  return out << row.m_Name;
}

const BadReply kBadReplies[] = {
    {"Closed", {}, ExitCode::Failed, "SERVICE_ENDED", "{} closed the connection"},
    {"TruncatedHead",
     {"HTTP/1.1 200 OK\r\nContent-"},
     ExitCode::Failed,
     "SERVICE_REPLY_INVALID",
     "{} sent an unusable reply: [json.exception.parse_error.101]"},
    {"TruncatedBody",
     {"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"result\": 0"},
     ExitCode::Failed,
     "SERVICE_ENDED",
     "{} closed the connection"},
    {"Html", ClientTest::Reply(200, "text/html", "<html></html>"), ExitCode::Failed,
     "SERVICE_REPLY_INVALID", "{} sent an unusable reply: [json.exception.parse_error.101]"},
    {"HtmlError", ClientTest::Reply(404, "text/html", "<html></html>"), ExitCode::Failed,
     "SERVICE_REPLY_INVALID", "{} sent an unusable reply: status 404"},
    {"NotHttp",
     {"SSH-2.0-OpenSSH_9.2\r\n\r\n"},
     ExitCode::Failed,
     "SERVICE_REPLY_INVALID",
     "{} sent an unusable reply: "},
    {"NoResult", ClientTest::Json("{}"), ExitCode::Failed, "SERVICE_REPLY_INVALID",
     "{} sent an unusable reply: result: expected an integer"},
    {"AnotherVersion", ClientTest::Json(R"({"result": 0, "payload": [{"color": 1}]})"),
     ExitCode::Failed, "SERVICE_REPLY_INVALID",
     "{} sent an unusable reply: payload[0]: unknown field color"},
    {"UnknownRequest", ClientTest::Problem(404, "NOT_FOUND", "unknown path"), ExitCode::Failed,
     "SERVICE_REPLY_INVALID", "{} sent an unusable reply: status 404"},
    {"ProblemWithoutId", ClientTest::Json(R"({"status": 503})", 503), ExitCode::Failed,
     "SERVICE_REPLY_INVALID", "{} sent an unusable reply: status 503"},
    {"Forbidden",
     ClientTest::Problem(403, "PERMISSION_DENIED", "this user is not permitted to read"),
     ExitCode::Permission, "PERMISSION_DENIED", "this user is not permitted to read"},
    {"Refused", ClientTest::Problem(409, "RESERVED", "not yours"), ExitCode::Refused, "RESERVED",
     "not yours"},
    {"Down", ClientTest::Problem(503, "PLUGIN_DOWN", "it is not running"), ExitCode::PluginUnusable,
     "PLUGIN_DOWN", "it is not running"},
    {"Busy", ClientTest::Problem(503, "TOO_MANY_CALLS", "too many commands"), ExitCode::Failed,
     "TOO_MANY_CALLS", "too many commands"},
    {"Late", ClientTest::Problem(504, "TIMED_OUT", "the plug-in is not responding"),
     ExitCode::TimedOut, "TIMED_OUT", "the plug-in is not responding"},
    {"Broken", ClientTest::Problem(500, "UNEXPECTED", "an unexpected error"), ExitCode::Failed,
     "UNEXPECTED", "an unexpected error"},
};

class BadReplies : public ServiceSession, public testing::WithParamInterface<BadReply> {};

TEST_P(BadReplies, FailARequest) {
  Service::ServiceSession& session = Connect(GetParam().m_Behavior);
  const auto failure = FailureOf([&] { session.Topology(); });
  ASSERT_TRUE(failure);
  EXPECT_EQ(GetParam().m_Code, failure->m_Code);
  EXPECT_EQ(GetParam().m_Id, failure->m_Id);
  std::string text = GetParam().m_Text;
  if (text.rfind("{}", 0) == 0) text.replace(0, 2, Name());
  EXPECT_EQ(0U, failure->m_Text.find(text)) << failure->m_Text;
}

TEST_P(BadReplies, FailTheFirstRequest) {
  const auto failure =
      FailureOf([&] { Start([](const std::string&) { return GetParam().m_Behavior; }); });
  ASSERT_TRUE(failure);
  const bool lacksPlugin = std::string(GetParam().m_Name) == "NoResult" ||
                           std::string(GetParam().m_Name) == "AnotherVersion";
  EXPECT_EQ(GetParam().m_Code, failure->m_Code);
  EXPECT_EQ(GetParam().m_Id, failure->m_Id);
  if (lacksPlugin) {
    EXPECT_THAT(failure->m_Text, HasSubstr("plugin"));
  }
}

// `kState` with another value of a field, and the message for it.
const struct {
  const char* m_Field;
  const char* m_Value;
  const char* m_Text;
} kBadNumbers[] = {
    {"failed_threads", "1.5", "failed_threads: expected an integer from 0 to 9223372036854775807"},
    {"failed_threads", "-1", "failed_threads: expected an integer from 0 to 9223372036854775807"},
    {"failed_threads", "true", "failed_threads: expected an integer"},
    {"newest_event", "3.0", "newest_event: expected an integer"},
    {"newest_event", "1e300", "newest_event: expected an integer"},
    {"newest_event", "9223372036854775808", "newest_event: expected an integer"},
    {"start_seconds", "-1", "start_seconds: expected a number of seconds"},
    {"start_seconds", "\"1\"", "start_seconds: expected a number of seconds"},
};

TEST_F(ServiceSession, RefusesAStateWithInvalidNumbers) {
  for (const auto& row : kBadNumbers) {
    std::string state = kState;
    const std::string name = std::string("\"") + row.m_Field + "\": ";
    const auto begin = state.find(name) + name.size();
    state.replace(begin, state.find_first_of(",}", begin) - begin, row.m_Value);
    const auto failure =
        FailureOf([&] { Start([&state](const std::string&) { return ClientTest::Json(state); }); });
    ASSERT_TRUE(failure) << state;
    EXPECT_EQ("SERVICE_REPLY_INVALID", failure->m_Id) << state;
    EXPECT_THAT(failure->m_Text, HasSubstr(row.m_Text));
  }
}

TEST_F(ServiceSession, RefusesALogWithInvalidNumbers) {
  for (const char* const newest : {"8.5", "-8", "1e300", "\"8\""}) {
    Service::ServiceSession& session =
        Connect(ClientTest::Json(std::string(R"({"events": [], "newest": )") + newest + "}"));
    const auto failure = FailureOf([&] { session.CollectEvents(); });
    ASSERT_TRUE(failure) << newest;
    EXPECT_THAT(failure->m_Text, HasSubstr("newest: expected an integer"));
  }
}

INSTANTIATE_TEST_SUITE_P(Every, BadReplies, testing::ValuesIn(kBadReplies),
                         [](const auto& row) { return std::string(row.param.m_Name); });

TEST_F(ServiceSession, ReportsAServiceThatWasKilled) {
  Service::ServiceSession& session = Connect(ClientTest::Json(kTopology));
  session.Topology();
  m_pService->Stop();
  const auto failure = FailureOf([&] { session.Topology(); });
  ASSERT_TRUE(failure);
  EXPECT_EQ(ExitCode::Failed, failure->m_Code);
  EXPECT_EQ("SERVICE_ENDED", failure->m_Id);
  EXPECT_EQ(Name() + " closed the connection", failure->m_Text);
  EXPECT_THAT(failure->m_Advice,
              ElementsAre("If the service is being restarted, wait a moment and run the command "
                          "again."));
}

TEST_F(ServiceSession, ReportsASocketThatDoesNotExist) {
  const TemporaryDirectory directory;
  const std::string socket = (directory.Path() / "s").string();
  const auto failure =
      FailureOf([&] { Service::ServiceSession session(socket, m_EventLog, m_Limits); });
  ASSERT_TRUE(failure);
  EXPECT_EQ(ExitCode::Failed, failure->m_Code);
  EXPECT_EQ("NO_SERVICE", failure->m_Id);
  EXPECT_EQ("cannot connect to the service at " + socket + ": No such file or directory",
            failure->m_Text);
}

TEST_F(ServiceSession, GivesUpAtTheDeadline) {
  m_Limits.m_Call = milliseconds(50);
  Service::ServiceSession& session = Connect({"", true});
  const auto failure = FailureOf([&] { session.Topology(); });
  ASSERT_TRUE(failure);
  EXPECT_EQ(ExitCode::TimedOut, failure->m_Code);
  EXPECT_EQ("TIMED_OUT", failure->m_Id);
  EXPECT_EQ(Name() + " is not responding", failure->m_Text);
  EXPECT_THAT(failure->m_Advice,
              ElementsAre("If the service is only slow, pass a longer --timeout."));
}

TEST_F(ServiceSession, WarnsThatAChangeMayStillTakeEffect) {
  m_Limits.m_Call = milliseconds(50);
  Service::ServiceSession& session = Connect({"", true});
  PI::COperation operation;
  const auto failure = FailureOf([&] { session.ExecuteOperation(5, operation); });
  ASSERT_TRUE(failure);
  EXPECT_THAT(failure->m_Advice,
              ElementsAre("The command may still take effect; check with show."));
}

TEST_F(ServiceSession, SaysThatTheCardContinuesAChangeIfTheServiceStops) {
  Service::ServiceSession& session = Connect({});
  PI::COperation operation;
  const auto failure = FailureOf([&] { session.ExecuteOperation(5, operation); });
  ASSERT_TRUE(failure);
  EXPECT_EQ("SERVICE_ENDED", failure->m_Id);
  EXPECT_THAT(
      failure->m_Advice,
      ElementsAre("The card continues a change that it has started, and nothing is rolled back.",
                  "Check the result when the service is running again: corvane-host list"));
}

// The service may have closed a kept-alive connection. The session then repeats a read, but not a
// change.
TEST_F(ServiceSession, SendsAChangeOnlyOnce) {
  Service::ServiceSession& session = Connect({});
  PI::COperation operation;
  EXPECT_TRUE(FailureOf([&] { session.ExecuteOperation(5, operation); }));
  EXPECT_THAT(m_pService->Requests(), ElementsAre("GET /v1/session", "POST /v1/session"));
}

TEST_F(ServiceSession, CollectsEachEventOnce) {
  Service::ServiceSession& session = Start([](const std::string& request) {
    if (IsState(request)) return ClientTest::Json(kState);
    const bool isFirst = request.find("after=3 ") != request.npos;
    return ClientTest::Json(isFirst ? R"({"newest": 5, "events": [{"number": 4}, {"number": 5}]})"
                                    : R"({"newest": 5, "events": []})");
  });
  EXPECT_EQ(2U, session.CollectEvents().size());
  EXPECT_EQ(0U, session.CollectEvents().size());
  EXPECT_THAT(m_pService->Requests(),
              ElementsAre("GET /v1/session", "GET /v1/session/events?after=3",
                          "GET /v1/session/events?after=5"));
}

TEST_F(ServiceSession, DoesNotCollectEventsAlreadyReadFromTheLog) {
  Service::ServiceSession& session =
      Connect(ClientTest::Json(R"({"newest": 9, "events": [{"number": 9, "message": "m"}]})"));
  const auto log = m_EventLog.ReadOrThrow(7, 1);
  ASSERT_EQ(1U, log.size());
  EXPECT_EQ("m", log[0].m_Message);
  session.CollectEvents();
  EXPECT_THAT(m_pService->Requests(),
              ElementsAre("GET /v1/session", "GET /v1/session/events?since_ms=7&limit=1",
                          "GET /v1/session/events?after=9"));
}

TEST_F(ServiceSession, ReadsTheCompleteLogWithTheLargestLimit) {
  Connect(ClientTest::Json(R"({"newest": 0, "events": []})"));
  m_EventLog.ReadOrThrow(7, Console::EventLogClient::kAll + 1);
  EXPECT_THAT(m_pService->Requests(),
              ElementsAre("GET /v1/session", "GET /v1/session/events?since_ms=7&limit=1000000000"));
}

TEST_F(ServiceSession, CountsTheEventsOfTheService) {
  Connect(ClientTest::Json(R"({"counts": [{"event_id": 10967, "severity": 2, "count": 4}]})"));
  const auto counts = m_EventLog.Count();
  ASSERT_EQ(1U, counts.size());
  EXPECT_EQ(10967U, counts[0].m_EventID);
  EXPECT_EQ(4U, counts[0].m_Count);
}

TEST_F(ServiceSession, ReportsAnUnreadableLogAsANote) {
  Service::ServiceSession& session =
      Connect(ClientTest::Problem(500, "NO_EVENT_LOG", "cannot read the event log: disk is full"));
  EXPECT_EQ(0U, session.CollectEvents().size());
  EXPECT_EQ(0U, m_EventLog.Read(0, 1).size());
  ASSERT_EQ(1U, m_Diagnostics.Messages().size());
  EXPECT_EQ("NO_EVENT_LOG", m_Diagnostics.Messages()[0].m_Id);
  const auto failure = FailureOf([&] { m_EventLog.ReadOrThrow(0, 1); });
  ASSERT_TRUE(failure);
  EXPECT_EQ("cannot read the event log: disk is full", failure->m_Text);
}

TEST_F(ServiceSession, ReadsTheCardsAgainAfterAnOperation) {
  Service::ServiceSession& session = Start([](const std::string& request) {
    if (IsState(request)) return ClientTest::Json(kState);
    const bool isRead = request.find("GET_TOPOLOGY") != request.npos;
    return ClientTest::Json(isRead ? kTopology : R"({"result": 0})");
  });
  session.Topology();
  PI::COperation operation;
  EXPECT_EQ(0U, session.ExecuteOperation(5, operation));
  session.Topology();
  EXPECT_THAT(m_pService->Requests(),
              ElementsAre("GET /v1/session", "POST /v1/session", "POST /v1/session",
                          "GET /v1/session", "POST /v1/session?fresh=1"));
}

TEST_F(ServiceSession, KeepsTheResultOfAnOperationWithoutANewState) {
  bool hasExecuted = false;
  Service::ServiceSession& session = Start([&hasExecuted](const std::string& request) {
    if (IsState(request)) return hasExecuted ? Behavior{} : ClientTest::Json(kState);
    hasExecuted = true;
    return ClientTest::Json(R"({"result": 0})");
  });
  PI::COperation operation;
  EXPECT_EQ(0U, session.ExecuteOperation(5, operation));
  EXPECT_EQ("/p.so", session.Info().m_File);  // as before
}

constexpr const char* kStream = "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n";

TEST_F(ServiceSession, IsNotifiedOfEventsAndSnapshots) {
  for (const char* const event :
       {"id: 4\nevent: event\ndata: {}\n\n", "id: 3\nevent: snapshot\ndata: {}\n\n"}) {
    Service::ServiceSession& session = Connect({std::string(kStream) + event, true});
    EXPECT_TRUE(session.WaitForNotification(milliseconds(60000)));
    EXPECT_FALSE(session.WaitForNotification(milliseconds(10)));
    m_pSession.reset();
  }
}

TEST_F(ServiceSession, IsNotNotifiedOfHeartbeats) {
  Service::ServiceSession& session = Connect({std::string(kStream) + ":\n\n:\n\n", true});
  EXPECT_FALSE(session.WaitForNotification(milliseconds(50)));
}

TEST_F(ServiceSession, ReconnectsAfterTheEndOfTheStream) {
  Service::ServiceSession& session = Connect({kStream});
  EXPECT_TRUE(session.WaitForNotification(milliseconds(60000)));
  EXPECT_TRUE(session.WaitForNotification(milliseconds(60000)));
  EXPECT_THAT(m_pService->Requests(),
              ElementsAre("GET /v1/session", "GET /v1/events/stream", "GET /v1/events/stream"));
}

TEST_F(ServiceSession, WaitsBeforeItConnectsAgain) {
  Service::ServiceSession& session = Connect({kStream});
  EXPECT_TRUE(session.WaitForNotification(milliseconds(60000)));
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_TRUE(session.WaitForNotification(milliseconds(60000)));
  EXPECT_TRUE(session.WaitForNotification(milliseconds(60000)));
  EXPECT_LE(milliseconds(200), std::chrono::steady_clock::now() - begin);
}

TEST_F(ServiceSession, StopsWaitingToReconnectWhenADescriptorIsReady) {
  Service::ServiceSession& session = Connect({kStream});
  EXPECT_TRUE(session.WaitForNotification(milliseconds(60000)));
  const Console::Notifier key;
  key.Notify();
  EXPECT_FALSE(session.WaitForNotification(milliseconds(60000), {key.Number(), -1}));
  EXPECT_THAT(m_pService->Requests(), ElementsAre("GET /v1/session", "GET /v1/events/stream"));
}

TEST_F(ServiceSession, ReportsARefusedStream) {
  Service::ServiceSession& session =
      Connect(ClientTest::Problem(503, "STREAM_REFUSED", "too many streams are open"));
  const auto failure = FailureOf([&] { session.WaitForNotification(milliseconds(60000)); });
  ASSERT_TRUE(failure);
  EXPECT_EQ("STREAM_REFUSED", failure->m_Id);
}

TEST_F(ServiceSession, ReportsAServiceThatExitsDuringAWait) {
  Service::ServiceSession& session = Connect({kStream, true});
  EXPECT_FALSE(session.WaitForNotification(milliseconds(10)));
  m_pService->Stop();
  EXPECT_TRUE(session.WaitForNotification(milliseconds(60000)));  // the end of the stream
  const auto failure = FailureOf([&] { session.WaitForNotification(milliseconds(60000)); });
  ASSERT_TRUE(failure);
  EXPECT_EQ("SERVICE_ENDED", failure->m_Id);
}

TEST_F(ServiceSession, KeepsTheLastObjectsWhileTheConnectionIsLost) {
  Service::ServiceSession& session = Connect(ClientTest::Json(kTopology));
  int losses = 0;
  session.KeepConnected([&losses] { ++losses; });
  session.Topology();
  m_pService->Stop();
  EXPECT_THAT(session.CollectEvents(), testing::IsEmpty());
  const auto objects = session.Topology();
  ASSERT_EQ(1U, objects.size());
  EXPECT_EQ(5U, objects[0].m_ID);
  EXPECT_FALSE(session.WaitForNotification(milliseconds(500)));
  EXPECT_EQ(1, losses);
}

TEST_F(ServiceSession, StopsWaitingForTheServiceWhenADescriptorIsReady) {
  Service::ServiceSession& session = Connect(ClientTest::Json(kTopology));
  session.KeepConnected([] {});
  session.Topology();
  m_pService->Stop();
  session.CollectEvents();
  const Console::Notifier key;
  key.Notify();
  EXPECT_FALSE(session.WaitForNotification(milliseconds(3600000), {key.Number(), -1}));
}

TEST_F(ServiceSession, ReportsALostConnectionWithoutObjects) {
  Service::ServiceSession& session = Connect(ClientTest::Json(kTopology));
  session.KeepConnected([] {});
  m_pService->Stop();
  const auto failure = FailureOf([&] { session.Topology(); });
  ASSERT_TRUE(failure);
  EXPECT_EQ("SERVICE_ENDED", failure->m_Id);
}

// The new service has not read its log yet when it sends its first reply.
TEST_F(ServiceSession, ResumesAfterTheLastEventOfTheFormerService) {
  int replies = 0;
  Service::ServiceSession& session = Start([&replies](const std::string& request) {
    if (IsState(request)) return ClientTest::Json(kState);
    ++replies;
    return ClientTest::Json(replies == 1 ? R"({"newest": 0, "events": []})"
                                         : R"({"newest": 4, "events": [{"number": 4}]})");
  });
  EXPECT_EQ(0U, session.CollectEvents().size());
  EXPECT_EQ(1U, session.CollectEvents().size());
  EXPECT_THAT(m_pService->Requests(),
              ElementsAre("GET /v1/session", "GET /v1/session/events?after=3",
                          "GET /v1/session/events?after=3"));
}

TEST_F(ServiceSession, ReadsAReplacedLogFromItsStart) {
  Service::ServiceSession& session = Start([](const std::string& request) {
    if (IsState(request)) return ClientTest::Json(kState);
    const bool isStart = request.find("after=0 ") != request.npos;
    return ClientTest::Json(isStart ? R"({"newest": 2, "events": [{"number": 1}, {"number": 2}]})"
                                    : R"({"newest": 2, "events": []})");
  });
  EXPECT_EQ(2U, session.CollectEvents().size());
  EXPECT_EQ(0U, session.CollectEvents().size());
}

TEST(HttpClient, AcceptsBodiesUpToTheLimit) {
  const FakeService service([](const std::string&) { return ClientTest::Json("12345678"); });
  Service::HttpRequest request;
  request.m_Path = "/";
  Service::HttpClient enough(service.Socket(), 8);
  EXPECT_EQ("12345678", enough.Send(request, Console::Deadline())->m_Body);
  Service::HttpClient tooShort(service.Socket(), 7);
  const auto failure = FailureOf([&] { tooShort.Send(request, Console::Deadline()); });
  ASSERT_TRUE(failure);
  EXPECT_EQ("SERVICE_REPLY_INVALID", failure->m_Id);
  EXPECT_THAT(failure->m_Text, HasSubstr("it is too long"));
}

}  // namespace
