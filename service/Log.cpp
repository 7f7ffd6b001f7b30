#include "service/Log.h"

#include <fmt/format.h>

#include <cstdio>
#include <fstream>
#include <utility>

#include "base/Lookup.h"
#include "base/Printable.h"
#include "host/PluginInterface.h"
#include "hostkit/Texts.h"
#include "service/MessageCatalog.h"

namespace Service {
namespace {

using Systemd::JournalEntry;

constexpr int kWarning = 4;
constexpr int kNotice = 5;

// Journal priorities by severity.
constexpr std::pair<std::uint32_t, int> kPriorities[] = {
    {PI::SEVERITY_INFORMATION, 6},
    {PI::SEVERITY_WARNING, kWarning},
    {PI::SEVERITY_ERROR, 3},
};

// The process may have exited and its PID been reused.
std::string CommandName(pid_t process) {
  std::string name;
  std::ifstream file(fmt::format("/proc/{}/comm", process));
  std::getline(file, name);
  return name.empty() ? "unknown" : Base::Printable(name);
}

void Write(const JournalEntry& entry) {
  Base::RequireNoLock("writing to the log");
  if (Systemd::IsJournalUsed() && Systemd::SendToJournal(entry)) return;
  const std::string line = fmt::format("corvane-host: {}\n", entry.m_Message);
  std::fwrite(line.data(), 1, line.size(), stderr);  // a message that cannot be written is lost
}

}  // namespace

void LogWarning(const std::string& text) {
  Write({Base::Printable(text), kWarning});
}

void LogEvent(const HostKit::LoggedEvent& event) {
  Write(EntryOf(event));
}

void LogChange(const Http::Peer& client, const std::string& change) {
  Write(EntryOf(client, change));
}

void LogRefusal(const Http::Peer& client, const std::string& change, const std::string& cause) {
  Write(EntryOf(client, change, cause.empty() ? "the request is invalid" : cause));
}

void LogJobEnd(const std::string& text, const std::string& serial) {
  Write({Base::Printable(text), kNotice, {{"CORVANE_SERIAL_NUMBER", serial}}});
}

JournalEntry EntryOf(const HostKit::LoggedEvent& event) {
  return {Base::Printable(event.m_Message),
          Base::Lookup(kPriorities, event.m_Severity, kNotice),
          {{"MESSAGE_ID", MessageIdOf(event.m_EventID)},
           {"CORVANE_EVENT", HostKit::NameOf(HostKit::Family::Event, event.m_EventID)},
           {"CORVANE_EVENT_ID", std::to_string(event.m_EventID)},
           {"CORVANE_SERIAL_NUMBER", event.m_SerialNumber},
           {"CORVANE_SOURCE", event.m_SourceName}}};
}

JournalEntry EntryOf(const Http::Peer& client, const std::string& change,
                     const std::string& refusal) {
  const std::string command = CommandName(client.m_Process);
  JournalEntry entry = {fmt::format("{} requested by uid {}, pid {} ({})", Base::Printable(change),
                                    client.m_User, client.m_Process, command),
                        kNotice,
                        {{"CORVANE_CHANGE", change},
                         {"CORVANE_CLIENT_UID", std::to_string(client.m_User)},
                         {"CORVANE_CLIENT_PID", std::to_string(client.m_Process)},
                         {"CORVANE_CLIENT_COMM", command}}};
  if (refusal.empty()) return entry;
  entry.m_Message += " was refused: " + Base::Printable(refusal);
  entry.m_Fields.emplace_back("CORVANE_REFUSAL", refusal);
  return entry;
}

}  // namespace Service
