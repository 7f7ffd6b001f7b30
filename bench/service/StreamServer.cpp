// Serves the service's event stream to more clients than the service itself allows. Each line of
// standard input is a number of events to log. Runs until end of file.
//
// Usage: bench_streams SOCKET STREAMS    STREAMS: maximum number of clients
#include <unistd.h>

#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/EventLog.h"
#include "service/EventFeed.h"
#include "service/Heap.h"
#include "service/http/Listen.h"
#include "service/http/Server.h"

namespace {

Http::Settings SettingsFor(std::size_t streams) {
  Http::Settings settings;
  settings.m_Permissions.m_Users = {geteuid()};
  settings.m_Limits.m_Connections = settings.m_Limits.m_Streams = streams;
  return settings;
}

void LogEvents(std::size_t count) {
  HostKit::LoggedEvent event{};
  event.m_Time = 1795239062000;
  event.m_Severity = 2;
  event.m_EventID = 10967;
  event.m_SerialNumber = "FA00000001";
  event.m_SourceName = "SanDisk Flash Adapter 2.4TB (1)";
  event.m_Message = "The temperature is above the warning threshold.";
  HostKit::AppendEvents(std::vector<HostKit::LoggedEvent>(count, event));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  Service::ShareOneHeap();  // as the service does
  Service::SnapshotStore store;
  Service::EventFeed feed(store);
  const Http::Handler open = [&feed](const Http::Request&) { return feed.Open(std::nullopt); };
  std::vector<Base::Descriptor> listeners;
  listeners.push_back(Http::ListenUnix(argv[1], 0600, std::nullopt));
  const Http::Server server({{Http::Method::Get, "/", Http::Access::Read, open}},
                            SettingsFor(std::stoul(argv[2])), std::move(listeners));
  std::cout << "ready" << std::endl;
  for (std::size_t count = 0; std::cin >> count;) {
    LogEvents(count);
    store.Publish({});
  }
}
