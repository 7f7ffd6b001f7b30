#include "service/systemd/Journal.h"

#include <sys/stat.h>
#include <sys/uio.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <cstdlib>

namespace Systemd {

bool IsJournalUsed() {
  const char* const stream = secure_getenv("JOURNAL_STREAM");
  struct stat status = {};
  if (stream == nullptr || fstat(STDERR_FILENO, &status) != 0) return false;
  return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
}

bool SendToJournal(const JournalEntry& entry) {
  std::vector<std::string> fields = {"MESSAGE=" + entry.m_Message,
                                     "PRIORITY=" + std::to_string(entry.m_Priority),
                                     "SYSLOG_IDENTIFIER=corvane-host"};
  for (const auto& [name, value] : entry.m_Fields) fields.push_back(name + "=" + value);
  std::vector<iovec> parts;
  for (std::string& field : fields) parts.push_back({field.data(), field.size()});
  return sd_journal_sendv(parts.data(), static_cast<int>(parts.size())) == 0;
}

}  // namespace Systemd
