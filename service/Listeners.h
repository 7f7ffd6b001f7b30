// The sockets on which a service listens.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/Descriptor.h"
#include "service/http/Settings.h"

namespace Service {

struct ListenSettings {
  std::filesystem::path m_Socket;   // used if the service manager passes no socket
  std::string m_Tcp;                // "127.0.0.1:9188" or "[::1]:9188"; empty: none
  bool m_AllowsOtherHosts = false;  // allows TCP addresses other than loopback
};

class Listeners {
 public:
  // Uses the sockets passed by the service manager, or opens a Unix socket whose file is removed on
  // destruction. Also opens the TCP socket, if set. Throws `Console::Failure`. Call once, before
  // any thread starts.
  Listeners(const ListenSettings& settings, const Http::Permissions& permissions);

  // The names of the sockets for messages, such as "/run/corvane/corvane.sock, 127.0.0.1:9188".
  const std::string& Names() const { return m_Names; }
  // The file of the first Unix socket; empty if there is none.
  const std::filesystem::path& UnixSocket() const { return m_UnixSocket; }
  // Transfers ownership of the sockets to the caller. Call once.
  std::vector<Base::Descriptor> TakeSockets() { return std::move(m_Sockets); }
  // Sets the mode of the socket file and, as root, its group. Does nothing for sockets passed by
  // the service manager. Call when the groups may have changed. Throws `Console::Failure`.
  void SetFileAccess(const Http::Permissions& permissions) const;
  // Removes the socket file. Call before closing the sockets, so that it cannot remove the file of
  // another service.
  void RemoveFile() { m_File.Remove(); }

 private:
  // Removes the file when destroyed.
  class File {
   public:
    File() = default;
    ~File() { Remove(); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    void Remove();

    std::filesystem::path m_Path;  // empty: none
  };

  void Add(Base::Descriptor socket, const std::string& name);
  void OpenUnix(const std::filesystem::path& path, const Http::Permissions& permissions);
  void OpenTcp(const std::string& address);
  void CheckTcp(const std::string& name, const ListenSettings& settings) const;

  std::vector<Base::Descriptor> m_Sockets;
  std::string m_Names;
  std::filesystem::path m_UnixSocket;
  File m_File;
};

}  // namespace Service
