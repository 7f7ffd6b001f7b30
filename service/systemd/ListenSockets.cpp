#include "service/systemd/ListenSockets.h"

#include <systemd/sd-daemon.h>

#include <system_error>

namespace Systemd {

std::vector<Base::Descriptor> TakeListenSockets() {
  const int count = sd_listen_fds(1);
  if (count < 0) throw std::system_error(-count, std::generic_category(), "LISTEN_FDS");
  std::vector<Base::Descriptor> sockets;
  for (int i = 0; i < count; ++i) sockets.emplace_back(SD_LISTEN_FDS_START + i);
  return sockets;
}

}  // namespace Systemd
