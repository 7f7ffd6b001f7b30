// The sockets at which a service can be reached.
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
  bool m_AllowsOtherHosts = false;  // TCP at addresses other than those of the loopback interface
};

class Listeners {
 public:
  // Takes the service manager's sockets, or opens them and removes the socket file on destruction.
  // Throws `Console::Failure`. Call once, before any thread starts.
  Listeners(const ListenSettings& settings, const Http::Permissions& permissions);

  // Names for messages: "/run/corvane/corvane.sock, 127.0.0.1:9188".
  const std::string& Names() const { return m_Names; }
  // The sockets; once.
  std::vector<Base::Descriptor> Take() { return std::move(m_Sockets); }
  // Gives the socket's file to the group that may read, which may be new. Only root can.
  void ShareFile(const Http::Permissions& permissions) const;
  // Call before closing the sockets, so as not to remove another service's file.
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
  File m_File;
};

}  // namespace Service
