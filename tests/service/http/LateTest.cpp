// Responses and streams that continue after the handler has returned.

#include <atomic>
#include <future>

#include "tests/service/http/HttpFixture.h"

namespace {

using namespace HttpTest;
using Http::Access;
using Http::MakeResponse;
using Http::Method;
using Http::Reply;
using Http::Request;
using Http::Responder;
using Http::Stream;

const std::string kGet = "GET / HTTP/1.1\r\nHost: x\r\n\r\n";

std::vector<Http::Route> Only(Http::Handler handler) {
  return {{Method::Get, "/", Access::Anyone, std::move(handler)}, TextRoute("/text", "a text")};
}

// A handler that passes its responder to the test.
class ResponderHandler {
 public:
  std::vector<Http::Route> Routes() {
    return Only([this](const Request&) {
      auto responder = std::make_unique<Responder>();
      const Reply reply = responder->Promise();
      m_Responder.set_value(std::move(responder));
      return reply;
    });
  }
  std::unique_ptr<Responder> Take() { return m_Responder.get_future().get(); }

 private:
  std::promise<std::unique_ptr<Responder>> m_Responder;
};

// A client that has sent a request, and the responder for its response.
struct WaitingRequest {
  ResponderHandler m_Handler;
  TestServer m_Server{m_Handler.Routes()};
  RawClient m_Client{m_Server};
  std::unique_ptr<Responder> m_Responder;

  WaitingRequest() {
    m_Client.Send(kGet);
    m_Responder = m_Handler.Take();
  }
};

TEST(PendingResponse, IsSentWhenComplete) {
  WaitingRequest request;
  EXPECT_EQ(200, Client(request.m_Server).Get("/text").m_Status);
  EXPECT_FALSE(request.m_Client.HasEnded());
  EXPECT_FALSE(request.m_Responder->HasEnded());
  request.m_Responder->Complete(MakeResponse(202, "text/plain", "late"));
  request.m_Responder->Complete(MakeResponse(500, "text/plain", "later still"));
  EXPECT_EQ(202, RawClient::Parse(request.m_Client.ReadUntil("late")).m_Status);
  EXPECT_TRUE(Await([&request] { return request.m_Responder->HasEnded(); }));
  request.m_Client.Send("GET /text HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_EQ("a text", RawClient::Parse(request.m_Client.ReadUntil("a text")).m_Body);
}

TEST(PendingResponse, MayBeCompleteBeforeTheHandlerReturns) {
  const TestServer server(Only([](const Request&) {
    Responder responder;
    responder.Complete(MakeResponse(200, "text/plain", "early"));
    return responder.Promise();
  }));
  EXPECT_EQ("early", Client(server).Get("/").m_Body);
}

TEST(PendingResponse, IsAnUnexpectedErrorIfMissing) {
  const TestServer server(Only([](const Request&) { return Responder().Promise(); }));
  EXPECT_EQ("500 UNEXPECTED", Client(server).Get("/").Short());
}

TEST(PendingResponse, IsDroppedIfTheConnectionIsClosed) {
  WaitingRequest request;
  request.m_Client.Close();
  EXPECT_TRUE(Await([&request] { return request.m_Responder->HasEnded(); }));
  request.m_Responder->Complete(MakeResponse(200, "text/plain", "x"));
  EXPECT_EQ(200, Client(request.m_Server).Get("/text").m_Status);
}

TEST(PendingResponse, IsReplacedAfterItsTimeout) {
  WaitingRequest request;
  request.m_Responder->SetTimeout(milliseconds(20), MakeResponse(504, "text/plain", "too late"));
  EXPECT_EQ(504, RawClient::Parse(request.m_Client.ReadUntil("too late")).m_Status);
  EXPECT_TRUE(request.m_Responder->HasEnded());
  request.m_Responder->Complete(MakeResponse(200, "text/plain", "late"));
  request.m_Client.Send("GET /text HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_EQ("a text", RawClient::Parse(request.m_Client.ReadUntil("a text")).m_Body);
}

TEST(PendingResponse, IsSentBeforeItsTimeout) {
  WaitingRequest request;
  request.m_Responder->SetTimeout(std::chrono::hours(1), MakeResponse(504, "text/plain", "late"));
  std::this_thread::sleep_for(milliseconds(100));  // during several checks of the connection
  EXPECT_FALSE(request.m_Responder->HasEnded());
  request.m_Responder->Complete(MakeResponse(200, "text/plain", "in time"));
  EXPECT_EQ(200, RawClient::Parse(request.m_Client.ReadUntil("in time")).m_Status);
}

TEST(PendingResponse, ReachesAClientThatHasFinishedSending) {
  WaitingRequest request;
  request.m_Client.EndSending();
  std::this_thread::sleep_for(milliseconds(100));  // during several checks of the connection
  request.m_Responder->Complete(MakeResponse(200, "text/plain", "late"));
  EXPECT_EQ("late", RawClient::Parse(request.m_Client.ReadUntil("late")).m_Body);
}

TEST(PendingResponse, CanBeCompletedOnAnyThread) {
  std::vector<std::thread> threads;
  std::mutex lock;
  std::vector<std::thread> workers;
  TestServer server(Only([&](const Request&) {
    auto responder = std::make_shared<Responder>();
    Reply reply = responder->Promise();
    const std::lock_guard<std::mutex> guard(lock);
    workers.emplace_back([responder] { responder->Complete(MakeResponse(200, "a/b", "done")); });
    return reply;
  }));
  std::atomic<int> done{0};
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      Client client(server);
      for (int j = 0; j < 50; ++j) done += client.Get("/").m_Body == "done";
    });
  }
  for (auto& each : threads) each.join();
  server.Stop();
  for (auto& each : workers) each.join();
  EXPECT_EQ(400, done);
}

// Repeated, because the server may stop before or after it starts to wait for the response.
TEST(PendingResponse, IsRefusedWhenTheServerStops) {
  for (int round = 0; round < 20; ++round) {
    WaitingRequest request;
    request.m_Server.Stop();
    EXPECT_TRUE(request.m_Responder->HasEnded());
    request.m_Responder->Complete(MakeResponse(200, "text/plain", "x"));
    const long status = RawClient::Parse(request.m_Client.ReadToEnd()).m_Status;
    EXPECT_EQ(503, status);
  }
}

// A handler that opens a stream for each request, and its streams, newest last.
class Streams {
 public:
  explicit Streams(std::size_t bytes = 65536) : m_Bytes(bytes) {}

  std::vector<Http::Route> Routes() {
    return Only([this](const Request&) -> Reply {
      auto stream = std::make_shared<Stream>(m_Bytes);
      stream->OnEnd([this] { ++m_Ended; });
      const std::lock_guard<std::mutex> lock(m_Lock);
      m_Streams.push_back(stream);
      return stream;
    });
  }
  std::shared_ptr<Stream> Await(std::size_t count = 1) {
    EXPECT_TRUE(HttpTest::Await([this, count] { return Count() >= count; }));
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Streams.at(count - 1);
  }
  int Ended() const { return m_Ended; }

 private:
  std::size_t Count() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Streams.size();
  }

  const std::size_t m_Bytes;
  std::mutex m_Lock;
  std::vector<std::shared_ptr<Stream>> m_Streams;
  std::atomic<int> m_Ended{0};
};

TEST(Streaming, SendsEachPartImmediately) {
  Streams streams;
  const TestServer server(streams.Routes());
  RawClient client(server);
  client.Send(kGet);
  const auto stream = streams.Await();
  for (const std::string text : {"data: 1\n\n", "data: 2\n\n"}) {
    EXPECT_TRUE(stream->Send(text));
    EXPECT_NE(std::string::npos, client.ReadUntil(text).find(text));
  }
  EXPECT_THAT(client.ReadUntil("text/event-stream"),
              testing::HasSubstr("Content-Type: text/event-stream\r\n"));
  EXPECT_THAT(client.ReadUntil("no-store"), testing::HasSubstr("Cache-Control: no-store\r\n"));
  EXPECT_TRUE(stream->Send(""));
  EXPECT_EQ(0, streams.Ended());
}

TEST(Streaming, EndsAfterTheLastPart) {
  Streams streams;
  const TestServer server(streams.Routes());
  std::thread sender([&streams] {
    const auto stream = streams.Await();
    stream->Send("one ");
    stream->Send("two");
    stream->Close();
    EXPECT_FALSE(stream->Send("three"));
  });
  const Result result = Client(server).Get("/");
  sender.join();
  EXPECT_EQ(200, result.m_Status);
  EXPECT_EQ("one two", result.m_Body);
  EXPECT_TRUE(Await([&streams] { return streams.Ended() == 1; }));
}

TEST(Streaming, MergesPartsOfManyThreads) {
  Streams streams(10000000);
  const TestServer server(streams.Routes());
  std::thread sender([&streams] {
    const auto stream = streams.Await();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&stream] {
        for (int j = 0; j < 2000; ++j) EXPECT_TRUE(stream->Send("0123456789abcde\n"));
      });
    }
    for (auto& each : threads) each.join();
    stream->Close();
  });
  const std::string body = Client(server).Get("/").m_Body;
  sender.join();
  std::string expected;
  for (int i = 0; i < 8000; ++i) expected += "0123456789abcde\n";
  EXPECT_EQ(expected, body);
}

TEST(Streaming, DetectsADisconnectedClient) {
  Streams streams;
  const TestServer server(streams.Routes());
  std::size_t count = 0;
  for (const Transport transport : {Transport::Unix, Transport::Tcp}) {
    RawClient client(server, transport);
    client.Send("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");
    const auto stream = streams.Await(++count);
    client.ReadUntil("\r\n\r\n");
    EXPECT_TRUE(stream->Send(""));
    client.Close();
    EXPECT_TRUE(Await([&stream] { return !stream->Send(""); })) << transport;
    EXPECT_TRUE(Await([&] { return streams.Ended() == static_cast<int>(count); })) << transport;
    EXPECT_FALSE(stream->Send("x")) << transport;
  }
}

TEST(Streaming, DisconnectsASlowReader) {
  constexpr std::size_t kBuffer = 100000;
  Streams streams(kBuffer);
  const TestServer server(streams.Routes());
  RawClient client(server);
  client.Send(kGet);
  const auto stream = streams.Await();
  const std::string text(1000, 'x');
  std::size_t accepted = 0;
  while (accepted < 100000000 && stream->Send(text)) accepted += text.size();
  EXPECT_GE(accepted, kBuffer);
  EXPECT_LT(accepted, 100000000U);
  EXPECT_FALSE(stream->Send(""));
  EXPECT_TRUE(Await([&streams] { return streams.Ended() == 1; }));
  // The body lacks its last chunk, so the client detects that it is incomplete.
  const std::string received = client.ReadToEnd();
  EXPECT_NE("0\r\n\r\n", received.substr(received.size() - 5));
}

TEST(Streaming, LeavesTheBodyIncompleteAfterAnEarlyOverflow) {
  const TestServer server(Only([](const Request&) -> Reply {
    auto stream = std::make_shared<Stream>(10);
    stream->Send("123456");
    EXPECT_FALSE(stream->Send("123456"));
    return stream;
  }));
  RawClient client(server);
  client.Send(kGet);
  EXPECT_THAT(client.ReadToEnd(), testing::Not(testing::EndsWith("0\r\n\r\n")));
}

TEST(Streaming, AcceptsPartsUpToItsBufferSize) {
  Stream stream(10);
  EXPECT_TRUE(stream.Send("12345"));
  EXPECT_TRUE(stream.Send("67890"));
  EXPECT_TRUE(stream.Send(""));
  EXPECT_FALSE(stream.Send("1"));
  EXPECT_FALSE(stream.Send(""));

  Stream other(10);
  EXPECT_TRUE(other.Send("a text that is longer than that"));
  EXPECT_FALSE(other.Send("1"));
}

// The connection calls Take() to send the queued bytes.
TEST(Streaming, CountsOnlyUnsentBytes) {
  Stream stream(10);
  std::string taken(4, ' ');
  std::string all;
  for (int i = 0; i < 1000; ++i) {
    ASSERT_TRUE(stream.Send("abcd")) << i;
    if (i == 0) continue;  // so that the stream is never empty
    ASSERT_EQ(4U, stream.Take(taken.data(), taken.size())) << i;
    all += taken;
  }
  EXPECT_EQ(3996U, all.size());
  EXPECT_EQ(0U, all.find("abcdabcd"));
}

TEST(Streaming, RequestsMoreOfABacklogWhenDrained) {
  constexpr int kPages = 50;
  const std::string page(40000, 'p');
  const TestServer server(Only([&page](const Request&) -> Reply {
    auto stream = std::make_shared<Stream>(50000);
    stream->OnDrained([&page, left = kPages - 1, weak = std::weak_ptr<Stream>(stream)]() mutable {
      const auto drained = weak.lock();
      if (left-- > 0) {
        EXPECT_TRUE(drained->Send(page));
      } else {
        drained->Close();
      }
    });
    stream->Send(page);
    return stream;
  }));
  EXPECT_EQ(page.size() * kPages, Client(server).Get("/").m_Body.size());
}

TEST(Streaming, IsLimitedForEachTransport) {
  Streams streams;
  Http::Settings settings = OpenSettings();
  settings.m_Limits.m_Streams = 2;
  const TestServer server(streams.Routes(), settings);
  RawClient first(server);
  RawClient second(server);
  first.Send(kGet);
  second.Send(kGet);
  streams.Await(2);
  first.ReadUntil("\r\n\r\n");
  second.ReadUntil("\r\n\r\n");
  EXPECT_EQ("503 STREAM_REFUSED", Client(server).Get("/").Short());
  EXPECT_EQ(1, streams.Ended());
  EXPECT_FALSE(streams.Await(3)->Send(""));
  RawClient other(server, Transport::Tcp);
  other.Send("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_THAT(other.ReadUntil("\r\n\r\n"), testing::HasSubstr("200 OK"));
  first.Close();
  EXPECT_TRUE(Await([&streams] { return streams.Ended() == 2; }));
  RawClient third(server);
  third.Send(kGet);
  EXPECT_THAT(third.ReadUntil("\r\n\r\n"), testing::HasSubstr("200 OK"));
}

TEST(Streaming, EndsImmediatelyForHead) {
  Streams streams;
  const TestServer server(streams.Routes());
  EXPECT_EQ(200, Client(server).Head("/").m_Status);
  EXPECT_TRUE(Await([&streams] { return streams.Ended() == 1; }));
  EXPECT_FALSE(streams.Await()->Send(""));
}

TEST(Streaming, IsClosedWhenTheServerStops) {
  Streams streams;
  TestServer server(streams.Routes());
  RawClient client(server);
  client.Send(kGet);
  const auto stream = streams.Await();
  server.Stop();
  EXPECT_EQ(1, streams.Ended());
  EXPECT_FALSE(stream->Send("x"));
  client.ReadToEnd();
}

TEST(Streaming, SurvivesACallbackThatThrows) {
  const TestServer server(Only([](const Request&) -> Reply {
    auto stream = std::make_shared<Stream>(100);
    stream->OnEnd([] { throw std::runtime_error("end"); });
    stream->OnDrained([] { throw std::runtime_error("drained"); });
    stream->Send("x");
    return stream;
  }));
  EXPECT_EQ(0, Client(server).Get("/").m_Status);
  EXPECT_EQ(200, Client(server).Get("/text").m_Status);
}

// Stops the server while streams are opened and written to.
TEST(Streaming, StopsUnderLoad) {
  for (int round = 0; round < 20; ++round) {
    Streams streams(1000);
    auto server = std::make_unique<TestServer>(streams.Routes());
    std::atomic<bool> isStopped{false};
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < 10; ++i) {
      clients.push_back(std::make_unique<RawClient>(*server));
      clients.back()->Send(kGet);
    }
    streams.Await(1);
    std::thread sender([&streams, &isStopped] {
      while (!isStopped) streams.Await(1)->Send("x");
    });
    server->Stop();
    isStopped = true;
    sender.join();
    EXPECT_GE(streams.Ended(), 1);
  }
}

}  // namespace
