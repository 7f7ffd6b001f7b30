// The log of the service: the journal if systemd started it, else standard error.
//
// Any thread may call these functions, while no thread changes the environment. None throws, except
// `std::bad_alloc`.
#pragma once

#include <string>

#include "hostkit/EventLog.h"
#include "service/http/Message.h"
#include "service/systemd/Journal.h"

namespace Service {

// Something that an administrator should know.
void LogWarning(const std::string& text);

// An event of the plug-in.
void LogEvent(const HostKit::LoggedEvent& event);

// A client's request to change something, such as "SET_PROPERTY". It is logged before it is
// carried out.
void LogChange(const Http::Peer& client, const std::string& change);

// The entries of these. The message has no control characters.
Systemd::JournalEntry EntryOf(const HostKit::LoggedEvent& event);
Systemd::JournalEntry EntryOf(const Http::Peer& client, const std::string& change);

}  // namespace Service
