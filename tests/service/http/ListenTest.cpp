#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <system_error>

#include "service/http/Listen.h"
#include "tests/support/Temporary.h"

namespace {

using Http::ListenTcp;
using Http::ListenUnix;
using Http::PortOf;

// Returns the errno of the exception that `listen` throws, or 0.
template <typename Listen>
int ErrorOf(const Listen& listen) {
  try {
    listen();
    return 0;
  } catch (const std::system_error& error) {
    return error.code().value();
  }
}

struct stat StatusOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(0, lstat(path.c_str(), &status)) << path;
  return status;
}

bool Connects(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const Base::Descriptor client(::socket(AF_UNIX, SOCK_STREAM, 0));
  return connect(client.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
}

TEST(ListenUnix, SetsModeAndGroup) {
  const TemporaryDirectory directory;
  const std::string path = directory.Path() / "socket";
  const mode_t before = umask(0077);
  const Base::Descriptor socket = ListenUnix(path, 0660, getegid());
  umask(before);
  EXPECT_EQ(static_cast<mode_t>(S_IFSOCK | 0660), StatusOf(path).st_mode);
  EXPECT_EQ(getegid(), StatusOf(path).st_gid);
}

TEST(ListenUnix, SetsTheGivenGroup) {
  if (geteuid() != 0) GTEST_SKIP() << "must be run as root, to change the group of a file";
  const TemporaryDirectory directory;
  const std::string path = directory.Path() / "socket";
  const Base::Descriptor socket = ListenUnix(path, 0660, 54321);
  EXPECT_EQ(54321U, StatusOf(path).st_gid);
  EXPECT_EQ(0U, StatusOf(path).st_uid);
}

TEST(ListenUnix, ReplacesAStaleSocket) {
  const TemporaryDirectory directory;
  const std::string path = directory.Path() / "socket";
  ListenUnix(path, 0600, std::nullopt).Close();
  EXPECT_FALSE(Connects(path));
  const Base::Descriptor socket = ListenUnix(path, 0600, std::nullopt);
  EXPECT_TRUE(Connects(path));
}

TEST(ListenUnix, RefusesASocketThatIsInUse) {
  const TemporaryDirectory directory;
  const std::string path = directory.Path() / "socket";
  const Base::Descriptor socket = ListenUnix(path, 0600, std::nullopt);
  EXPECT_EQ(EADDRINUSE, ErrorOf([&path] { ListenUnix(path, 0600, std::nullopt); }));
  EXPECT_TRUE(Connects(path));
}

TEST(ListenUnix, RefusesAFileThatIsNotASocket) {
  const TemporaryDirectory directory;
  const std::string path = directory.Path() / "file";
  WriteText(path, "text");
  EXPECT_EQ(EEXIST, ErrorOf([&path] { ListenUnix(path, 0600, std::nullopt); }));
  EXPECT_EQ("text", ReadText(path));
  const std::string link = directory.Path() / "link";
  ASSERT_EQ(0, symlink(path.c_str(), link.c_str()));
  EXPECT_EQ(EEXIST, ErrorOf([&link] { ListenUnix(link, 0600, std::nullopt); }));
}

// Any user who may read the directory can lock it.
TEST(ListenUnix, ListensInALockedDirectory) {
  const TemporaryDirectory directory;
  const Base::Descriptor held(open(directory.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  ASSERT_EQ(0, flock(held.Get(), LOCK_EX));
  const std::string path = directory.Path() / "socket";
  const Base::Descriptor socket = ListenUnix(path, 0600, std::nullopt);
  EXPECT_TRUE(Connects(path));
}

TEST(ListenUnix, ThrowsTheSystemError) {
  const TemporaryDirectory directory;
  EXPECT_EQ(ENOENT, ErrorOf([&] { ListenUnix(directory.Path() / "a/b", 0600, std::nullopt); }));
  EXPECT_EQ(ENAMETOOLONG,
            ErrorOf([&] { ListenUnix(directory.Path() / std::string(200, 'x'), 0600, {}); }));
}

TEST(ListenTcp, ListensOnAnAddressAndPort) {
  const Base::Descriptor socket = ListenTcp("127.0.0.1", 0);
  EXPECT_NE(0, PortOf(socket));
  EXPECT_EQ(EADDRINUSE, ErrorOf([&socket] { ListenTcp("127.0.0.1", PortOf(socket)); }));
}

TEST(ListenTcp, RefusesAnInvalidAddress) {
  for (const std::string address : {"localhost", "", "127.0.0.1 ", "::1]", "*"}) {
    EXPECT_EQ(EINVAL, ErrorOf([&address] { ListenTcp(address, 0); })) << address;
  }
}

TEST(Sockets, HaveNames) {
  const TemporaryDirectory directory;
  const std::string path = directory.Path() / "socket";
  EXPECT_EQ(path, Http::NameOf(ListenUnix(path, 0600, std::nullopt)));
  const Base::Descriptor tcp = ListenTcp("127.0.0.1", 0);
  EXPECT_EQ("127.0.0.1:" + std::to_string(PortOf(tcp)), Http::NameOf(tcp));
  EXPECT_EQ("", Http::NameOf(Base::Descriptor(dup(STDERR_FILENO))));
}

// Binds a Unix socket to the path without a terminating NUL, and returns the socket's name.
std::string NameOfBound(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path);
  const Base::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
  EXPECT_EQ(0, bind(socket.Get(), reinterpret_cast<sockaddr*>(&address), size));
  return Http::NameOf(socket);
}

TEST(Sockets, HaveNamesIfTheServiceManagerBoundThem) {
  const std::string abstract = "corvane-test-" + std::to_string(getpid());
  EXPECT_EQ("@" + abstract, NameOfBound('\0' + abstract));
  const TemporaryDirectory directory;
  std::string longest = directory.Path() / "";
  longest.resize(sizeof sockaddr_un::sun_path, 'x');
  EXPECT_EQ(longest, NameOfBound(longest));
  EXPECT_EQ("", Http::NameOf(Base::Descriptor(::socket(AF_UNIX, SOCK_STREAM, 0))));
}

TEST(Sockets, AreLocalOnLoopbackAddresses) {
  const TemporaryDirectory directory;
  EXPECT_TRUE(Http::IsLocal(ListenUnix(directory.Path() / "socket", 0600, std::nullopt)));
  EXPECT_TRUE(Http::IsLocal(ListenTcp("127.0.0.1", 0)));
  EXPECT_TRUE(Http::IsLocal(ListenTcp("127.9.8.7", 0)));
  EXPECT_FALSE(Http::IsLocal(ListenTcp("0.0.0.0", 0)));
  EXPECT_FALSE(Http::IsLocal(Base::Descriptor(dup(STDERR_FILENO))));
}

TEST(Sockets, WriteIPv6AddressesInBrackets) {
  Base::Descriptor all;
  try {
    all = ListenTcp("::", 0);
  } catch (const std::system_error& error) {
    GTEST_SKIP() << "IPv6 is unavailable: " << error.what();
  }
  EXPECT_EQ("[::]:" + std::to_string(PortOf(all)), Http::NameOf(all));
  EXPECT_FALSE(Http::IsLocal(all));
  EXPECT_TRUE(Http::IsLocal(ListenTcp("::1", 0)));
  EXPECT_TRUE(Http::IsLocal(ListenTcp("::ffff:127.0.0.1", 0)));
  EXPECT_FALSE(Http::IsLocal(ListenTcp("::ffff:0.0.0.0", 0)));
}

}  // namespace
