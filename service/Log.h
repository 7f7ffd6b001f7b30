// The log of the service: the journal under systemd, otherwise standard error.
//
// These functions are thread-safe while no thread changes the environment. They throw only
// `std::bad_alloc`.
#pragma once

#include <string>

#include "base/HeldLocks.h"
#include "hostkit/EventLog.h"
#include "service/http/Message.h"
#include "service/systemd/Journal.h"

namespace Service {

// Logs a warning for the administrator.
void LogWarning(const std::string& text) HOST_BLOCKS;

// Logs an event of the plug-in.
void LogEvent(const HostKit::LoggedEvent& event) HOST_BLOCKS;

// Logs a client's request for a change, such as "forgetCard/FA00000001". Call before making the
// change.
void LogChange(const Http::Peer& client, const std::string& change) HOST_BLOCKS;

// Logs a request for a change that was refused, and the cause.
void LogRefusal(const Http::Peer& client, const std::string& change,
                const std::string& cause) HOST_BLOCKS;

// Logs the end of a job.
void LogJobEnd(const std::string& text, const std::string& serial) HOST_BLOCKS;

// Return the journal entries of an event and of a change. The messages contain no control
// characters.
Systemd::JournalEntry EntryOf(const HostKit::LoggedEvent& event);
Systemd::JournalEntry EntryOf(const Http::Peer& client, const std::string& change,
                              const std::string& refusal = "");

}  // namespace Service
