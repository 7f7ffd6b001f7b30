// The limits of the HTTP server, tested at each limit and just above it.

#include <atomic>

#include "tests/service/http/HttpFixture.h"

namespace {

using namespace HttpTest;
using Http::Access;
using Http::BodyRule;
using Http::Limits;
using Http::Method;
using Http::Request;
using Http::Route;

constexpr milliseconds kShort(200);

std::vector<Route> Routes() {
  return {TextRoute("/text", "a text"),
          {Method::Post,
           "/length",
           Access::Anyone,
           [](const Request& request) { return Text(std::to_string(request.m_Body.size())); },
           {},
           BodyRule::Required},
          {Method::Get, "/long", Access::Anyone,
           [](const Request&) { return Text(std::string(30000000, 'x')); }}};
}

Http::Settings With(const std::function<void(Limits&)>& change) {
  Http::Settings settings = OpenSettings();
  change(settings.m_Limits);
  return settings;
}

// Returns a request whose request line and headers have `bytes` bytes.
std::string RequestOf(std::size_t bytes) {
  const std::string start = "GET /text HTTP/1.1\r\nHost: x\r\nConnection: close\r\nX-Fill: ";
  const std::string end = "\r\n\r\n";
  return start + std::string(bytes - start.size() - end.size(), 'x') + end;
}

std::string ShortReply(const TestServer& server, const std::string& request) {
  RawClient client(server);
  client.Send(request);
  return RawClient::Parse(client.ReadToEnd()).Short();
}

TEST(RequestTimeLimit, Is10Seconds) {
  EXPECT_EQ(milliseconds(10000), Limits().m_RequestTimeout);
}

TEST(ConnectionLimit, Is256And16PerAddress) {
  EXPECT_EQ(256U, Limits().m_Connections);
  EXPECT_EQ(16U, Limits().m_ConnectionsPerAddress);
  EXPECT_EQ(64U, Limits().m_Streams);
}

TEST(HeaderLimit, Is8KiB) {
  const TestServer server(Routes());
  EXPECT_EQ("200", ShortReply(server, RequestOf(8192)));
  EXPECT_EQ("431 HEADERS_TOO_LARGE", ShortReply(server, RequestOf(8193)));
  EXPECT_EQ("431", ShortReply(server, RequestOf(1000000)));
}

TEST(HeaderLimit, IncludesThePath) {
  const TestServer server(Routes());
  const auto ask = [&server](std::size_t size) {
    return SendRaw(server, "GET /" + std::string(size, 'x') + " HTTP/1.1\r\nHost: x").Short();
  };
  EXPECT_EQ("404 NOT_FOUND", ask(8000));
  EXPECT_EQ("431 HEADERS_TOO_LARGE", ask(9000));
}

TEST(BodyLimit, Is64KiB) {
  const TestServer server(Routes());
  Client client(server);
  const std::string most(65536, ' ');
  EXPECT_EQ("65536", client.Send("POST", "/length", most).m_Body);
  const Client::Headers chunked = {"Content-Type: application/json", "Transfer-Encoding: chunked"};
  EXPECT_EQ("65536", client.Send("POST", "/length", most, chunked).m_Body);
  EXPECT_EQ("413 BODY_TOO_LARGE", client.Send("POST", "/length", most + " ", chunked).Short());
  const Client::Headers asking = {"Content-Type: application/json", "Expect: 100-continue"};
  EXPECT_EQ("413 BODY_TOO_LARGE", client.Send("POST", "/length", most + " ", asking).Short());
  EXPECT_EQ("65536", client.Send("POST", "/length", most, asking).m_Body);
}

TEST(BodyLimit, IsCheckedBeforeTheBodyIsSent) {
  const TestServer server(Routes());
  const std::string head = "POST /length HTTP/1.1\r\nHost: x\r\nContent-Type: application/json\r\n";
  EXPECT_EQ("413 BODY_TOO_LARGE", ShortReply(server, head + "Content-Length: 65537\r\n\r\n"));
  EXPECT_EQ("413 BODY_TOO_LARGE",
            ShortReply(server, head + "Content-Length: 18446744073709551614\r\n\r\n"));
}

// Whether the client gets a response. Because connections may wait before they are accepted, only a
// response shows that the server has accepted this one.
bool IsServed(RawClient& client) {
  client.Send("GET /text HTTP/1.1\r\nHost: localhost\r\n\r\n");
  return client.ReadUntil("a text").find("a text") != std::string::npos;
}

TEST(ConnectionLimit, CountsAllListeners) {
  const TestServer server(Routes(), With([](Limits& limits) { limits.m_Connections = 3; }));
  RawClient first(server, Transport::Tcp);
  RawClient second(server);
  auto third = std::make_unique<RawClient>(server);
  EXPECT_TRUE(IsServed(first));
  EXPECT_TRUE(IsServed(second));
  EXPECT_TRUE(IsServed(*third));
  for (const Transport transport : {Transport::Unix, Transport::Tcp}) {
    RawClient fourth(server, transport);
    EXPECT_FALSE(IsServed(fourth)) << transport;
  }
  third.reset();
  EXPECT_TRUE(Await([&server] { return Client(server).Get("/text").m_Status == 200; }));
  EXPECT_FALSE(first.HasEnded());
  EXPECT_FALSE(second.HasEnded());
}

TEST(ConnectionLimit, PerAddressAppliesToTcpOnly) {
  const TestServer server(Routes(),
                          With([](Limits& limits) { limits.m_ConnectionsPerAddress = 2; }));
  std::vector<std::unique_ptr<RawClient>> clients;
  const auto serves = [&](Transport transport) {
    clients.push_back(std::make_unique<RawClient>(server, transport));
    return IsServed(*clients.back());
  };
  EXPECT_TRUE(serves(Transport::Tcp));
  EXPECT_TRUE(serves(Transport::Tcp));
  EXPECT_FALSE(serves(Transport::Tcp));
  EXPECT_FALSE(serves(Transport::Tcp));
  for (int i = 0; i < 20; ++i) EXPECT_TRUE(serves(Transport::Unix));
  clients[0]->Close();
  EXPECT_TRUE(Await([&serves] { return serves(Transport::Tcp); }));
}

// The server could still read what the client sent before the server refused the connection.
TEST(ConnectionLimit, PreventsRequestsOfRefusedClients) {
  std::atomic<int> runs{0};
  const std::vector<Route> routes = {{Method::Get, "/count", Access::Anyone, [&](const Request&) {
                                        ++runs;
                                        return Text("counted");
                                      }}};
  std::vector<Base::Descriptor> listeners;
  listeners.push_back(Http::ListenTcp("127.0.0.1", 0));
  RawClient client(Http::PortOf(listeners.back()));
  ASSERT_TRUE(client.Send("GET /count HTTP/1.1\r\nHost: localhost\r\n\r\n"));
  const Http::Server server(routes, With([](Limits& limits) { limits.m_Connections = 0; }),
                            std::move(listeners));
  EXPECT_EQ("", client.ReadToEnd());
  EXPECT_EQ(0, runs);
}

TEST(RequestTimeLimit, ClosesSilentConnections) {
  const TestServer server(Routes(), With([](Limits& limits) { limits.m_RequestTimeout = kShort; }));
  for (const Transport transport : {Transport::Unix, Transport::Tcp}) {
    RawClient client(server, transport);
    EXPECT_EQ("", client.ReadToEnd()) << transport;
  }
}

// Each byte is activity, so an idle timeout would never close this connection.
TEST(RequestTimeLimit, ClosesConnectionsWithSlowHeaders) {
  const TestServer server(Routes(), With([](Limits& limits) { limits.m_RequestTimeout = kShort; }));
  const RawClient client(server);
  client.Send("GET /text HTTP/1.1\r\nHost: x\r\nX-Fill: ");
  EXPECT_TRUE(Await([&client] { return !client.Send("x"); }));
}

TEST(RequestTimeLimit, ClosesConnectionsWithSlowBodies) {
  const TestServer server(Routes(), With([](Limits& limits) { limits.m_RequestTimeout = kShort; }));
  const RawClient client(server);
  client.Send(
      "POST /length HTTP/1.1\r\nHost: x\r\nContent-Type: application/json\r\n"
      "Content-Length: 65536\r\n\r\n");
  EXPECT_TRUE(Await([&client] { return !client.Send("x"); }));
}

TEST(RequestTimeLimit, ClosesConnectionsBetweenRequests) {
  const TestServer server(Routes(), With([](Limits& limits) { limits.m_RequestTimeout = kShort; }));
  RawClient client(server);
  client.Send("GET /text HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_EQ(200, RawClient::Parse(client.ReadToEnd()).m_Status);
}

// The request is slow enough for many checks of the limit.
TEST(RequestTimeLimit, KeepsConnectionsWithinIt) {
  const TestServer server(Routes());
  RawClient client(server);
  for (const char byte : std::string("GET /text HTTP/1.1\r\nHost: x\r\n\r\n")) {
    std::this_thread::sleep_for(milliseconds(10));
    ASSERT_TRUE(client.Send(std::string(1, byte)));
  }
  EXPECT_EQ("a text", RawClient::Parse(client.ReadUntil("a text")).m_Body);
}

TEST(ResponseTimeLimit, ClosesConnectionsThatDoNotRead) {
  const TestServer server(Routes(),
                          With([](Limits& limits) { limits.m_ResponseTimeout = kShort; }));
  RawClient client(server);
  client.Send("GET /long HTTP/1.1\r\nHost: x\r\n\r\n");
  // Reads only after the server has closed the connection.
  EXPECT_TRUE(Await([&client] { return !client.Send("G"); }));
  EXPECT_LT(client.ReadToEnd().size(), 30000000U);
}

TEST(ConnectionLimit, SurvivesAFlood) {
  const TestServer server(Routes(),
                          With([](Limits& limits) { limits.m_ConnectionsPerAddress = 4; }));
  for (int i = 0; i < 1000; ++i) {
    const RawClient client(server, Transport::Tcp);
    ASSERT_TRUE(client.IsConnected()) << i;
  }
  EXPECT_EQ(200, Client(server).Get("/text").m_Status);
  EXPECT_TRUE(Await([&] { return Client(server, Transport::Tcp).Get("/text").m_Status == 200; }));
}

}  // namespace
