#include "service/Listeners.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "console/base/Failure.h"
#include "service/ListenAddress.h"
#include "service/http/Listen.h"
#include "service/systemd/ListenSockets.h"

namespace Service {
namespace {

using Console::ExitCode;
using Console::Failure;

Failure ListenFailure(const std::string& name, int error, std::vector<std::string> advice) {
  const bool isDenied = error == EACCES || error == EPERM;
  return Failure(isDenied ? ExitCode::Permission : ExitCode::Failed, "SOCKET_UNUSABLE",
                 fmt::format("cannot listen on {}", name), std::strerror(error), std::move(advice));
}

std::vector<std::string> AdviceFor(int error) {
  if (error == EADDRINUSE)
    return {"Another service uses this socket; pass another one with --socket."};
  return {"Pass another socket with --socket."};
}

std::vector<std::string> TcpAdviceFor(int error) {
  switch (error) {
    case EADDRINUSE:
      return {"Another program uses this port; pass another one, or 0 for a free one."};
    case EACCES:
      return {"Pass a port above 1023, or run the service as root."};
    default:
      return {"Pass a numeric address of this machine."};
  }
}

// Every user may enter a new directory, because the socket has its own permissions.
void CreateDirectory(const std::filesystem::path& directory) {
  if (!std::filesystem::create_directories(directory)) return;
  std::filesystem::permissions(directory, static_cast<std::filesystem::perms>(0755));
}

// Only root sets the group of the socket.
std::optional<gid_t> GroupFor(const Http::Permissions& permissions) {
  return geteuid() == 0 ? permissions.m_ReadGroup : std::nullopt;
}

mode_t ModeFor(const std::optional<gid_t>& group) {
  return group ? 0660 : 0600;
}

}  // namespace

Listeners::Listeners(const ListenSettings& settings, const Http::Permissions& permissions) {
  try {
    for (Base::Descriptor& socket : Systemd::TakeListenSockets()) {
      const std::string name = Http::NameOf(socket);
      if (name.empty()) throw ListenFailure("a socket passed by the service manager", ENOTSOCK, {});
      Add(std::move(socket), name);
    }
  } catch (const std::system_error& error) {
    throw ListenFailure("the sockets passed by the service manager", error.code().value(), {});
  }
  if (m_Sockets.empty()) OpenUnix(settings.m_Socket, permissions);
  if (!settings.m_Tcp.empty()) OpenTcp(settings.m_Tcp);
  for (const Base::Descriptor& socket : m_Sockets) {
    if (!Http::IsLocal(socket)) CheckTcp(Http::NameOf(socket), settings);
  }
}

void Listeners::Add(Base::Descriptor socket, const std::string& name) {
  if (m_UnixSocket.empty() && Http::PortOf(socket) == 0) m_UnixSocket = name;
  m_Sockets.push_back(std::move(socket));
  m_Names += (m_Names.empty() ? "" : ", ") + name;
}

void Listeners::OpenUnix(const std::filesystem::path& path, const Http::Permissions& permissions) {
  const auto group = GroupFor(permissions);
  try {
    CreateDirectory(path.parent_path());
    Add(Http::ListenUnix(path, ModeFor(group), group), path.string());
    m_File.m_Path = path;
  } catch (const std::system_error& error) {
    const int number = error.code().value();
    throw ListenFailure(path.string(), number, AdviceFor(number));
  }
}

void Listeners::OpenTcp(const std::string& text) {
  const auto address = ParseTcpAddress(text);
  if (!address) {
    throw Console::UsageFailure(fmt::format("--listen: invalid address '{}'", text),
                                {"For example: 127.0.0.1:9188 or [::1]:9188."});
  }
  try {
    Base::Descriptor socket = Http::ListenTcp(address->m_Host, address->m_Port);
    const std::string name = Http::NameOf(socket);
    Add(std::move(socket), name);
  } catch (const std::system_error& error) {
    throw ListenFailure(text, error.code().value(), TcpAdviceFor(error.code().value()));
  }
}

void Listeners::CheckTcp(const std::string& name, const ListenSettings& settings) const {
  if (settings.m_AllowsOtherHosts) return;
  throw Console::UsageFailure(
      fmt::format("{} can be reached from other machines", name),
      {"Pass --listen-any if that is intended.",
       "Anyone who can connect can read everything; nothing is encrypted."});
}

void Listeners::SetFileAccess(const Http::Permissions& permissions) const {
  if (m_File.m_Path.empty()) return;
  const auto group = GroupFor(permissions);
  try {
    Http::SetSocketAccess(m_File.m_Path, ModeFor(group), group);
  } catch (const std::system_error& error) {
    throw ListenFailure(m_File.m_Path.string(), error.code().value(), {});
  }
}

void Listeners::File::Remove() {
  std::error_code ignored;
  if (!m_Path.empty()) std::filesystem::remove(m_Path, ignored);
  m_Path.clear();
}

}  // namespace Service
