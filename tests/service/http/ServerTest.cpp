// Responses of the HTTP server, including those to requests whose handlers fail.

#include <algorithm>
#include <atomic>
#include <stdexcept>

#include "service/http/Server.h"
#include "tests/service/http/HttpFixture.h"

namespace {

using namespace HttpTest;
using Http::Access;
using Http::BodyRule;
using Http::MakeResponse;
using Http::Method;
using Http::Reply;
using Http::Request;
using Http::Route;
using testing::IsEmpty;

// Responds with the handler's complete input as one line.
Reply Echo(const Request& request) {
  std::string line;
  for (const auto& [name, value] : request.m_Parameters) line += name + "=" + value + ";";
  for (const auto& [name, value] : request.m_Query) line += name + "?" + value + ";";
  for (const char* const name : {"last-event-id", "idempotency-key"}) {
    if (const auto* const value = Http::Find(request.m_Headers, name)) line += *value + ";";
  }
  return Text(line + request.m_Body);
}

constexpr const char* kJson = "application/json";

std::vector<Route> Routes() {
  std::vector<Route> routes = {
      TextRoute("/text", "a text"),
      {Method::Get,
       "/cards/{serial}",
       Access::Anyone,
       Echo,
       {"limit", "since"},
       BodyRule::None,
       kJson,
       {"last-event-id"}},
      {Method::Post,
       "/cards",
       Access::Change,
       Echo,
       {},
       BodyRule::Required,
       kJson,
       {"idempotency-key"}},
      {Method::Patch, "/cards", Access::Change, Echo, {}, BodyRule::Required},
      {Method::Delete, "/cards/{serial}", Access::Change,
       [](const Request&) { return MakeResponse(204, "", ""); }},
      {Method::Get,
       "/tagged",
       Access::Anyone,
       [](const Request&) {
         auto response = MakeResponse(200, "text/plain", "tagged");
         response.m_EntityTag = "v7";
         return response;
       },
       {},
       BodyRule::None,
       kJson,
       {"if-none-match"}},
      {Method::Get, "/throws", Access::Anyone,
       [](const Request&) -> Reply { throw std::runtime_error("a secret"); }},
      {Method::Get, "/throws-a-number", Access::Anyone, [](const Request&) -> Reply { throw 7; }},
      {Method::Get, "/bad-header", Access::Anyone,
       [](const Request&) {
         auto response = MakeResponse(200, "text/plain", "");
         response.m_Headers.emplace_back("X-Split", "a\r\nX-Other: b");
         return response;
       }},
      {Method::Get, "/long", Access::Anyone,
       [](const Request&) { return Text(std::string(3000000, 'x')); }},
  };
  return routes;
}

TEST(HttpServer, RespondsOnBothListeners) {
  const TestServer server(Routes());
  for (const Transport transport : {Transport::Unix, Transport::Tcp}) {
    Client client(server, transport);
    const Result result = client.Get("/text");
    EXPECT_EQ(200, result.m_Status) << transport;
    EXPECT_EQ("a text", result.m_Body) << transport;
    EXPECT_EQ("text/plain", result.m_Headers.at("content-type")) << transport;
  }
}

TEST(HttpServer, KeepsTheConnectionOpen) {
  const TestServer server(Routes());
  Client client(server);
  client.Get("/text");
  EXPECT_EQ(1, client.NewConnections());
  EXPECT_EQ("404 NOT_FOUND", client.Get("/unknown").Short());
  EXPECT_EQ("400 BODY_NOT_ALLOWED", client.Send("DELETE", "/cards/a", "{}").Short());
  EXPECT_EQ("a text", client.Get("/text").m_Body);
  EXPECT_EQ(0, client.NewConnections());
}

TEST(HttpServer, PassesTheRequestToTheHandler) {
  const TestServer server(Routes());
  Client client(server);
  EXPECT_EQ("serial=A 1;limit?3;since?;", client.Get("/cards/A%201?limit=3&since").m_Body);
  EXPECT_EQ("serial=\u00e4;17;", client.Get("/cards/%c3%a4", {"LAST-event-ID: 17"}).m_Body);
  EXPECT_EQ("k;{\"a\": 1}",
            client
                .Send("POST", "/cards", "{\"a\": 1}",
                      {"Content-Type: Application/JSON ; charset=utf-8", "Idempotency-Key: k"})
                .m_Body);
  const std::string body("a\0b\xff", 4);
  EXPECT_EQ(body, client.Send("PATCH", "/cards", body).m_Body);
  EXPECT_EQ(204, client.SendEmpty("DELETE", "/cards/a").m_Status);
}

TEST(HttpServer, AddsHeadersToEveryResponse) {
  const TestServer server(Routes());
  Client client(server);
  for (const std::string path : {"/text", "/tagged", "/unknown", "/throws", "/bad-header"}) {
    const Result result = client.Get(path);
    ASSERT_EQ(1U, result.m_Headers.count("cache-control")) << path;
    EXPECT_EQ("no-store", result.m_Headers.at("cache-control")) << path;
    EXPECT_EQ("nosniff", result.m_Headers.at("x-content-type-options")) << path;
    EXPECT_EQ(0U, result.m_Headers.count("access-control-allow-origin")) << path;
  }
}

TEST(HttpServer, RespondsToHeadWithoutABody) {
  const TestServer server(Routes());
  Client client(server);
  const Result result = client.Head("/text");
  EXPECT_EQ(200, result.m_Status);
  EXPECT_EQ("6", result.m_Headers.at("content-length"));
  EXPECT_THAT(result.m_Body, IsEmpty());
  EXPECT_EQ(404, client.Head("/unknown").m_Status);
}

TEST(HttpServer, RefusesPathsAndMethodsWithoutARoute) {
  const TestServer server(Routes());
  Client client(server);
  const auto status = [&client](const std::string& method, const std::string& path) {
    return client.SendEmpty(method, path).Short();
  };
  EXPECT_EQ("404 NOT_FOUND", status("GET", "/"));
  EXPECT_EQ("404 NOT_FOUND", status("GET", "/text/"));
  EXPECT_EQ("404 NOT_FOUND", status("GET", "//text"));
  EXPECT_EQ("404 NOT_FOUND", status("GET", "/../text"));
  EXPECT_EQ("404 NOT_FOUND", status("GET", "/cards/../../etc/passwd"));
  EXPECT_EQ("404 NOT_FOUND", status("GET", "/cards/.."));
  EXPECT_EQ("404 NOT_FOUND", status("GET", "/cards/%2e%2e%2fetc"));
  EXPECT_EQ("404 NOT_FOUND", status("POST", "/unknown"));
  EXPECT_EQ("405 METHOD_NOT_ALLOWED", status("POST", "/text"));
  EXPECT_EQ("405 METHOD_NOT_ALLOWED", status("OPTIONS", "/text"));
  EXPECT_EQ("405 METHOD_NOT_ALLOWED", status("TRACE", "/text"));
  EXPECT_EQ("POST, PATCH", client.SendEmpty("GET", "/cards").m_Headers.at("allow"));
  EXPECT_EQ("GET, HEAD, DELETE", client.SendEmpty("PUT", "/cards/a").m_Headers.at("allow"));
}

TEST(HttpServer, RefusesInvalidQueriesAndPaths) {
  const TestServer server(Routes());
  Client client(server);
  const auto status = [&client](const std::string& query) {
    return client.Get("/cards/a" + query).Short();
  };
  EXPECT_EQ("200", status("?"));
  EXPECT_EQ("200", status("?limit=1"));
  EXPECT_EQ("200", status("?limit=%3D%26"));
  EXPECT_EQ("200", status("?%6cimit=1"));
  EXPECT_EQ("400 QUERY_UNKNOWN", status("?Limit=1"));
  EXPECT_EQ("400 QUERY_UNKNOWN", status("?serial=1"));
  EXPECT_EQ("400 QUERY_REPEATED", status("?limit=1&limit=1"));
  EXPECT_EQ("400 QUERY_REPEATED", status("?limit=1&%6cimit=2"));
  EXPECT_EQ("400 QUERY_INVALID", status("?limit=%"));
  EXPECT_EQ("400 QUERY_INVALID", status("?limit=%0"));
  EXPECT_EQ("400 QUERY_INVALID", status("?limit=%00"));
  EXPECT_EQ("400 QUERY_INVALID", status("?limit=%ff"));
  EXPECT_EQ("400 QUERY_INVALID", status("?%ff=1"));
  EXPECT_EQ("400 PATH_INVALID", client.Get("/cards/%00").Short());
  EXPECT_EQ("400 PATH_INVALID", client.Get("/cards/%ff").Short());
  EXPECT_EQ("400 PATH_INVALID", client.Get("/cards/%4").Short());
  EXPECT_EQ("400 PATH_INVALID", client.Get("/%zz/unknown").Short());
}

TEST(HttpServer, RefusesBodiesThatTheRouteDoesNotAccept) {
  const TestServer server(Routes());
  Client client(server);
  const auto post = [&client](Client::Headers headers) {
    return client.Send("POST", "/cards", "{}", std::move(headers)).Short();
  };
  EXPECT_EQ("200", post({"Content-Type: application/json"}));
  EXPECT_EQ("415 MEDIA_TYPE_NOT_SUPPORTED", post({"Content-Type: text/plain"}));
  EXPECT_EQ("415 MEDIA_TYPE_NOT_SUPPORTED", post({"Content-Type: application/jsonx"}));
  EXPECT_EQ("415 MEDIA_TYPE_NOT_SUPPORTED", post({"Content-Type:"}));
  EXPECT_EQ("415 MEDIA_TYPE_NOT_SUPPORTED",
            post({"Content-Type: application/json", "Content-Encoding: gzip"}));
  EXPECT_EQ("415 MEDIA_TYPE_NOT_SUPPORTED",
            post({"Content-Type: text/plain", "Transfer-Encoding: chunked"}));
  EXPECT_EQ("400 BODY_MISSING", client.SendEmpty("POST", "/cards").Short());
  EXPECT_EQ("400 BODY_NOT_ALLOWED", client.Send("GET", "/text", "{}").Short());
  EXPECT_EQ("200", client.Send("PATCH", "/cards", "{}").Short());
  EXPECT_EQ("415 MEDIA_TYPE_NOT_SUPPORTED",
            client.Send("PATCH", "/cards", "{}", {"Content-Type: text/plain"}).Short());
}

TEST(HttpServer, OmitsABodyThatTheClientHasCached) {
  const TestServer server(Routes());
  Client client(server);
  const Result first = client.Get("/tagged");
  EXPECT_EQ(200, first.m_Status);
  EXPECT_EQ("W/\"v7\"", first.m_Headers.at("etag"));
  const Result second = client.Get("/tagged", {"If-None-Match: \"v7\""});
  EXPECT_EQ(304, second.m_Status);
  EXPECT_EQ("W/\"v7\"", second.m_Headers.at("etag"));
  EXPECT_THAT(second.m_Body, IsEmpty());
  EXPECT_EQ("tagged", client.Get("/tagged", {"If-None-Match: \"v6\""}).m_Body);
  EXPECT_EQ("a text", client.Get("/text", {"If-None-Match: *"}).m_Body);
}

TEST(HttpServer, HidesExceptionsOfHandlers) {
  std::vector<std::string> failures;
  Http::Settings settings = OpenSettings();
  settings.m_OnFailure = [&failures](const std::string& what) { failures.push_back(what); };
  TestServer server(Routes(), std::move(settings));
  for (const std::string path : {"/throws", "/throws-a-number", "/bad-header"}) {
    Client client(server);
    const Result result = client.Get(path);
    EXPECT_EQ("500 UNEXPECTED", result.Short()) << path;
    EXPECT_EQ(std::string::npos, result.m_Body.find("secret")) << path;
    EXPECT_EQ("200", client.Get("/text").Short()) << path;
  }
  server.Stop();
  EXPECT_THAT(failures,
              testing::ElementsAre("a secret", "unknown exception", "invalid header: X-Split"));
}

TEST(HttpServer, SendsLongResponses) {
  const TestServer server(Routes());
  Client client(server);
  EXPECT_EQ(std::string(3000000, 'x'), client.Get("/long").m_Body);
}

TEST(HttpServer, RefusesMalformedRequests) {
  const TestServer server(Routes());
  const std::string host = "\r\nHost: x";
  struct {
    std::string m_Lines;
    std::string m_Short;
  } const cases[] = {
      {"GET /text HTTP/1.1" + host, "200"},
      {"GET /text HTTP/1.1", "400"},  // no Host header
      {"GET /te\xff HTTP/1.1" + host, "400 PATH_INVALID"},
      {"GET /cards/a?limit=\xff HTTP/1.1" + host, "400 QUERY_INVALID"},
      {"GET /text HTTP/1.1" + host + "\r\nLast-Event-ID: \xff", "400 HEADER_INVALID"},
      {"GET /text HTTP/1.1" + host + "\r\nX-Other: \xff", "200"},
      {"GET /text#x HTTP/1.1" + host, "404 NOT_FOUND"},
      {"GET http://x/text HTTP/1.1" + host, "404 NOT_FOUND"},
      {"OPTIONS * HTTP/1.1" + host, "404 NOT_FOUND"},
      {"POST /cards HTTP/1.1" + host + "\r\nContent-Length: -1", "400"},
      {"POST /cards HTTP/1.1" + host + "\r\nContent-Length: 99999999999999999999", "413"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(each.m_Short, SendRaw(server, each.m_Lines).Short()) << each.m_Lines;
  }
}

// The text after the NUL must not be dropped silently.
TEST(HttpServer, RefusesNulInPathAndQuery) {
  const TestServer server(Routes());
  using std::string_literals::operator""s;
  for (const std::string& target : {"/text\0"s, "/text\0x"s, "/cards/a?limit=1\0x"s, "/\0/text"s}) {
    const std::string lines = "GET " + target + " HTTP/1.1\r\nHost: x";
    EXPECT_EQ("400 PATH_INVALID", SendRaw(server, lines).Short()) << target;
  }
}

// A service manager keeps the socket open while it restarts the service.
// A listener that is passed to one server after the other, as a service manager does.
class SharedListener {
 public:
  explicit SharedListener(Transport transport)
      : m_IsUnix(transport == Transport::Unix),
        m_Listener(m_IsUnix ? Http::ListenUnix(m_Directory.Path() / "socket", 0600, std::nullopt)
                            : Http::ListenTcp("127.0.0.1", 0)) {
    EXPECT_EQ(0, getsockname(m_Listener.Get(), Address(), &m_Size));
  }
  // Returns a server on this listener.
  std::unique_ptr<Http::Server> Serve() const {
    std::vector<Base::Descriptor> passed;
    passed.emplace_back(dup(m_Listener.Get()));
    return std::make_unique<Http::Server>(Routes(), OpenSettings(), std::move(passed));
  }
  // Connects a client. The result is not open if the listener rejects clients.
  Base::Descriptor Connect() {
    Base::Descriptor client(socket(m_IsUnix ? AF_UNIX : AF_INET, SOCK_STREAM, 0));
    if (connect(client.Get(), Address(), m_Size) != 0) client.Close();
    return client;
  }

 private:
  sockaddr* Address() { return reinterpret_cast<sockaddr*>(&m_Address); }

  const TemporaryDirectory m_Directory;
  const bool m_IsUnix;
  const Base::Descriptor m_Listener;
  sockaddr_storage m_Address = {};
  socklen_t m_Size = sizeof m_Address;
};

// Returns the start of the response, or an empty string if the connection ends without one.
std::string Ask(const Base::Descriptor& client) {
  EXPECT_EQ(0, Base::WriteAll(client, "GET /text HTTP/1.1\r\nHost: localhost\r\n\r\n"));
  std::string response(12, ' ');
  const ssize_t count = recv(client.Get(), response.data(), response.size(), MSG_WAITALL);
  response.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  return response;
}

TEST(HttpServer, AnswersClientsThatConnectedBeforeItStarted) {
  for (const Transport transport : {Transport::Unix, Transport::Tcp}) {
    SharedListener listener(transport);
    for (int i = 0; i < 2; ++i) {
      const Base::Descriptor client = listener.Connect();
      ASSERT_TRUE(client.IsOpen()) << transport;
      const std::unique_ptr<Http::Server> server = listener.Serve();
      EXPECT_EQ("HTTP/1.1 200", Ask(client)) << transport;
    }
    EXPECT_TRUE(listener.Connect().IsOpen()) << transport;
  }
}

TEST(HttpServer, StopsWhileClientsConnect) {
  constexpr int kStops = 500;
  SharedListener listener(Transport::Unix);
  std::atomic<bool> isDone = false;
  std::vector<std::thread> clients;
  for (int i = 0; i < 4; ++i) {
    clients.emplace_back([&] {
      while (!isDone) {
        const Base::Descriptor client = listener.Connect();
        EXPECT_TRUE(client.IsOpen());
      }
    });
  }
  for (int i = 0; i < kStops; ++i) listener.Serve();
  const std::unique_ptr<Http::Server> server = listener.Serve();
  isDone = true;
  for (std::thread& client : clients) client.join();
  EXPECT_EQ("HTTP/1.1 200", Ask(listener.Connect()));
}

TEST(HttpServer, CannotStartOnAnInvalidListener) {
  std::vector<Base::Descriptor> listeners;
  listeners.emplace_back();
  EXPECT_THROW(Http::Server(Routes(), OpenSettings(), std::move(listeners)), std::runtime_error);
}

}  // namespace
