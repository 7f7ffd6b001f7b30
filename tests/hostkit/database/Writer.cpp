// Writes rows and events until killed, to the database set by the environment.
#include <string>

#include "hostkit/EventLog.h"
#include "models/Adapter.h"
#include "orm/storage.h"

int main() {
  const auto storage = getDatabasePointer();
  RaidDataModels::Adapter row;
  row.hostName = "localhost";
  row.name = std::string(2000, 'x');
  for (row.adapterNumber = 1;; ++row.adapterNumber) {
    storage->insert(row);
    PI::CEvent event;
    event.m_SourceName = std::to_string(row.adapterNumber);
    HostKit::AppendEvents({HostKit::LogEntryFor(event)});
  }
}
