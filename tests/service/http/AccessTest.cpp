// Access control of the HTTP server.

#include <grp.h>
#include <sys/syscall.h>

#include <algorithm>

#include "service/http/PeerOf.h"
#include "tests/service/http/HttpFixture.h"

namespace {

using namespace HttpTest;
using Http::Access;
using Http::Method;
using Http::Peer;
using Http::Permissions;
using Http::Request;
using Http::Route;

constexpr uid_t kStranger = 54321;
constexpr gid_t kReaders = 54322;
constexpr gid_t kChangers = 54323;

std::vector<Route> Routes() {
  return {TextRoute("/health", "ok", Access::Anyone),
          TextRoute("/read", "ok", Access::Read),
          TextRoute("/watch-changes", "ok", Access::Change),
          {Method::Post, "/change", Access::Change, [](const Request&) { return Text("ok"); }}};
}

// The status of each route: "200 200 403 403".
std::string Statuses(const TestServer& server, Transport transport = Transport::Unix) {
  Client client(server, transport);
  std::string text;
  for (const std::string path : {"/health", "/read", "/watch-changes"}) {
    text += std::to_string(client.Get(path).m_Status) + " ";
  }
  return text + std::to_string(client.SendEmpty("POST", "/change").m_Status);
}

Http::Settings SettingsOf(Permissions permissions) {
  Http::Settings settings = OpenSettings();
  settings.m_Permissions = std::move(permissions);
  return settings;
}

TEST(Permission, DependsOnUserAndGroups) {
  const uid_t user = geteuid();
  const gid_t group = getegid();
  struct {
    const char* m_Name;
    Permissions m_Permissions;
    std::string m_Statuses;
  } const cases[] = {
      {"the user", {{user}, {}, {}}, "200 200 200 200"},
      {"other users only", {{user + 1}, {}, {}}, "200 403 403 403"},
      {"group that may change", {{}, {}, group}, "200 200 200 200"},
      {"group that may read", {{}, group, {}}, "200 200 403 403"},
      {"other groups only", {{}, group + 1, group + 2}, "200 403 403 403"},
  };
  for (const auto& each : cases) {
    const TestServer server(Routes(), SettingsOf(each.m_Permissions));
    EXPECT_EQ(each.m_Statuses, Statuses(server)) << each.m_Name;
  }
}

TEST(Permission, CanBeReplacedWhileTheServerRuns) {
  TestServer server(Routes(), SettingsOf({{}, {}, {}}));
  EXPECT_EQ("200 403 403 403", Statuses(server));
  server.SetPermissions({{}, getegid(), {}});
  EXPECT_EQ("200 200 403 403", Statuses(server));
  server.SetPermissions({{}, {}, {}});
  EXPECT_EQ("200 403 403 403", Statuses(server));
}

TEST(Permission, IsVisibleToHandlers) {
  const std::vector<Route> routes = {
      {Method::Get, "/may-change", Access::Anyone,
       [](const Request& request) { return Text(request.m_MayChange ? "yes" : "no"); }}};
  const TestServer all(routes);
  EXPECT_EQ("yes", Client(all).Get("/may-change").m_Body);
  EXPECT_EQ("no", Client(all, Transport::Tcp).Get("/may-change").m_Body);
  const TestServer readers(routes, SettingsOf({{}, getegid(), {}}));
  EXPECT_EQ("no", Client(readers).Get("/may-change").m_Body);
}

TEST(Permission, IsDeniedWithStatus403) {
  const TestServer server(Routes(), SettingsOf({{}, {}, {}}));
  Client client(server);
  EXPECT_EQ("403 PERMISSION_DENIED", client.Get("/read").Short());
  EXPECT_EQ("403 PERMISSION_DENIED", client.SendEmpty("POST", "/change").Short());
}

// The query and the body of a request are not checked if the client may not use the route.
TEST(Permission, IsCheckedBeforeQueryAndBody) {
  const TestServer server(Routes(), SettingsOf({{}, {}, {}}));
  Client client(server);
  EXPECT_EQ("403 PERMISSION_DENIED", client.Get("/read?x=1").Short());
  EXPECT_EQ("403 PERMISSION_DENIED", client.Send("POST", "/change", "x").Short());
}

TEST(Permission, IncludesSupplementaryGroups) {
  Peer peer;
  peer.m_User = kStranger;
  peer.m_Group = kStranger;
  peer.m_SupplementaryGroups = {1, kReaders};
  EXPECT_TRUE(MayUse({{0}, kReaders, kChangers}, peer, false));
  EXPECT_FALSE(MayUse({{0}, kReaders, kChangers}, peer, true));
  EXPECT_TRUE(MayUse({{0}, {}, kReaders}, peer, true));
  EXPECT_FALSE(MayUse({{0}, kChangers, {}}, peer, false));
  EXPECT_FALSE(MayUse({{0}, {}, {}}, Peer(), false));
}

// Runs `action` on a thread with the given credentials and returns its result. Uses raw system
// calls, because the C library's functions change the credentials of all threads.
template <typename Action>
auto AsUser(uid_t user, gid_t group, const std::vector<gid_t>& groups, const Action& action) {
  decltype(action()) result = {};
  std::thread([&] {
    if (syscall(SYS_setgroups, groups.size(), groups.data()) != 0 ||
        syscall(SYS_setresgid, group, group, group) != 0 ||
        syscall(SYS_setresuid, user, user, user) != 0) {
      ADD_FAILURE() << "credentials cannot be changed";
      return;
    }
    result = action();
  }).join();
  return result;
}

TEST(Permission, DependsOnThePeerProcess) {
  if (geteuid() != 0) GTEST_SKIP() << "must be run as root, to connect as other users";
  struct {
    const char* m_Name;
    uid_t m_User;
    gid_t m_Group;
    std::vector<gid_t> m_Groups;
    std::string m_Statuses;
  } const cases[] = {
      {"root", 0, 0, {}, "200 200 200 200"},
      {"stranger", kStranger, kStranger, {}, "200 403 403 403"},
      {"stranger in root's group", kStranger, 0, {0}, "200 403 403 403"},
      {"reader", kStranger, kStranger, {kReaders}, "200 200 403 403"},
      {"reader by primary group", kStranger, kReaders, {}, "200 200 403 403"},
      {"changer", kStranger, kStranger, {7, kChangers}, "200 200 200 200"},
  };
  const TestServer server(Routes(), SettingsOf({{0}, kReaders, kChangers}));
  std::filesystem::permissions(server.Directory().Path(), std::filesystem::perms(0711));
  for (const auto& each : cases) {
    EXPECT_EQ(each.m_Statuses, AsUser(each.m_User, each.m_Group, each.m_Groups,
                                      [&server] { return Statuses(server); }))
        << each.m_Name;
  }
}

TEST(SocketFile, IsAccessibleToItsGroupOnly) {
  if (geteuid() != 0) GTEST_SKIP() << "must be run as root, to connect as other users";
  const TemporaryDirectory directory;
  std::filesystem::permissions(directory.Path(), std::filesystem::perms(0711));
  const std::string path = directory.Path() / "socket";
  const Base::Descriptor listener = Http::ListenUnix(path, 0660, kReaders);
  const auto connects = [&path] {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const Base::Descriptor client(socket(AF_UNIX, SOCK_STREAM, 0));
    return connect(client.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  };
  EXPECT_TRUE(AsUser(kStranger, kStranger, {kReaders}, connects));
  EXPECT_FALSE(AsUser(kStranger, kStranger, {kChangers}, connects));
}

TEST(Peer, HasTheCredentialsOfTheProcess) {
  Peer peer;
  const TestServer server({{Method::Get, "/", Access::Anyone, [&peer](const Request& request) {
                              peer = request.m_Peer;
                              return Text("");
                            }}});
  Client(server).Get("/");
  EXPECT_FALSE(peer.m_IsTcp);
  EXPECT_EQ(geteuid(), peer.m_User);
  EXPECT_EQ(getegid(), peer.m_Group);
  EXPECT_EQ(getpid(), peer.m_Process);
  std::vector<gid_t> groups(static_cast<std::size_t>(getgroups(0, nullptr)));
  getgroups(static_cast<int>(groups.size()), groups.data());
  EXPECT_THAT(peer.m_SupplementaryGroups, testing::UnorderedElementsAreArray(groups));

  Client(server, Transport::Tcp).Get("/");
  EXPECT_TRUE(peer.m_IsTcp);
  EXPECT_EQ("127.0.0.1", peer.m_Address);
  EXPECT_EQ(-1, peer.m_Process);
}

TEST(Tcp, IsReadOnly) {
  const TestServer server(Routes());
  EXPECT_EQ("200 200 403 403", Statuses(server, Transport::Tcp));
  Client client(server, Transport::Tcp);
  for (const std::string method : {"POST", "PUT", "PATCH", "DELETE", "OPTIONS", "BREW"}) {
    EXPECT_EQ("403 READ_ONLY", client.SendEmpty(method, "/read").Short()) << method;
    EXPECT_EQ("403 READ_ONLY", client.SendEmpty(method, "/unknown").Short()) << method;
  }
  EXPECT_EQ(200, client.Head("/read").m_Status);
}

TEST(Tcp, RefusesOtherHosts) {
  Http::Settings settings = OpenSettings();
  settings.m_Hosts.push_back("box.example");
  const TestServer server(Routes(), settings);
  struct {
    std::string m_Host;
    std::string m_Short;
  } const cases[] = {
      {"127.0.0.1", "200"},
      {"127.0.0.1:80", "200"},
      {"localhost", "200"},
      {"LocalHost:1", "200"},
      {"[::1]", "200"},
      {"[::1]:9", "200"},
      {"Box.Example:9443", "200"},
      {"localhost:", "200"},
      {"localhost:65536", "403 HOST_NOT_ALLOWED"},
      {"localhost:x", "403 HOST_NOT_ALLOWED"},
      {"localhost:-1", "403 HOST_NOT_ALLOWED"},
      {"evil.example", "403 HOST_NOT_ALLOWED"},
      {"evil.example:80", "403 HOST_NOT_ALLOWED"},
      {"localhost.evil.example", "403 HOST_NOT_ALLOWED"},
      {"evil.example, localhost", "403 HOST_NOT_ALLOWED"},
      {"localhost@evil.example", "403 HOST_NOT_ALLOWED"},
      {"::1", "403 HOST_NOT_ALLOWED"},
      {"", "403 HOST_NOT_ALLOWED"},
      {"localhost\r\nHost: evil.example", "403 HOST_NOT_ALLOWED"},
  };
  for (const auto& each : cases) {
    const std::string lines = "GET /read HTTP/1.1\r\nHost: " + each.m_Host;
    EXPECT_EQ(each.m_Short, SendRaw(server, lines, Transport::Tcp).Short()) << each.m_Host;
  }
  EXPECT_EQ("403 HOST_NOT_ALLOWED", SendRaw(server, "GET /read HTTP/1.0", Transport::Tcp).Short());
  EXPECT_EQ("200", SendRaw(server, "GET /read HTTP/1.1\r\nHost: evil.example").Short());
}

TEST(Tcp, AllowsTheAddressToWhichTheClientConnected) {
  Http::Settings settings = OpenSettings();
  settings.m_Hosts.clear();
  const TestServer server(Routes(), settings);
  const auto ask = [&server](const std::string& host) {
    return SendRaw(server, "GET /read HTTP/1.1\r\nHost: " + host, Transport::Tcp).Short();
  };
  EXPECT_EQ("200", ask("127.0.0.1"));
  EXPECT_EQ("200", ask(server.Host()));
  EXPECT_EQ("403 HOST_NOT_ALLOWED", ask("127.0.0.2"));
  EXPECT_EQ("403 HOST_NOT_ALLOWED", ask("localhost"));
}

TEST(Tcp, RefusesPagesOfOtherOrigins) {
  const TestServer server(Routes());
  Client client(server, Transport::Tcp);
  const auto status = [&client](const std::string& origin) {
    return client.Get("/read", {"Origin: " + origin}).Short();
  };
  EXPECT_EQ("200", status("http://" + server.Host()));
  EXPECT_EQ("403 ORIGIN_NOT_ALLOWED", status("http://evil.example"));
  EXPECT_EQ("403 ORIGIN_NOT_ALLOWED", status("http://127.0.0.1"));
  EXPECT_EQ("403 ORIGIN_NOT_ALLOWED", status("https://" + server.Host()));
  EXPECT_EQ("403 ORIGIN_NOT_ALLOWED", status("http://" + server.Host() + ".evil.example"));
  EXPECT_EQ("403 ORIGIN_NOT_ALLOWED", status("null"));
  EXPECT_EQ(0U,
            client.Get("/read", {"Origin: null"}).m_Headers.count("access-control-allow-origin"));
}

}  // namespace
