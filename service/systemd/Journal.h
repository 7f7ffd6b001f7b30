// Entries of the systemd journal, with structured fields.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Systemd {

// Field values may contain any bytes; field names consist of capital letters, digits and
// underscores.
struct JournalEntry {
  std::string m_Message;
  int m_Priority = 6;  // as in syslog(3): 3 error, 4 warning, 5 notice, 6 information
  std::vector<std::pair<std::string, std::string>> m_Fields = {};
};

// Whether standard error is connected to the journal, according to JOURNAL_STREAM. Thread-safe
// while no thread changes the environment.
bool IsJournalUsed();

// Adds the entry to the journal. Returns false if the journal cannot be reached. Thread-safe.
bool SendToJournal(const JournalEntry& entry);

}  // namespace Systemd
