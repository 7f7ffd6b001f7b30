// A minimal libmicrohttpd server that sends the same reply to every request on a Unix socket. Runs
// until end of file on standard input.
//
// Usage: bench_reply SOCKET BYTES
#include <microhttpd.h>

#include <cstdio>
#include <iostream>
#include <optional>
#include <string>

#include "service/http/Listen.h"

namespace {

MHD_Result Reply(void* closure, MHD_Connection* connection, const char*, const char*, const char*,
                 const char*, size_t*, void**) {
  return MHD_queue_response(connection, 200, static_cast<MHD_Response*>(closure));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const Base::Descriptor listener = Http::ListenUnix(argv[1], 0600, std::nullopt);
  std::string body(std::stoul(argv[2]), 'x');
  MHD_Response* const response =
      MHD_create_response_from_buffer(body.size(), body.data(), MHD_RESPMEM_PERSISTENT);
  MHD_Daemon* const daemon =
      MHD_start_daemon(MHD_USE_EPOLL_INTERNAL_THREAD, 0, nullptr, nullptr, Reply, response,
                       MHD_OPTION_LISTEN_SOCKET, listener.Get(), MHD_OPTION_END);
  if (daemon == nullptr) return 1;
  std::cout << "ready" << std::endl;
  while (std::getchar() != EOF) continue;
  MHD_quiesce_daemon(daemon);  // stops accepting; `listener` closes the socket
  MHD_stop_daemon(daemon);
  MHD_destroy_response(response);
}
