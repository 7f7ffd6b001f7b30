// Acknowledged problems.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/database/Connection.h"

namespace Service {

// Times are in milliseconds since the epoch.
struct Acknowledgment {
  std::string m_SerialNumber;            // of the card
  std::string m_Reason;                  // see `IsAcknowledgeable`
  std::string m_User;                    // who
  std::uint64_t m_Time = 0;              // when
  std::optional<std::uint64_t> m_Until;  // expiry; empty: never expires
  std::string m_Note;
};

enum class AcknowledgeResult { Done, UnknownCard, UnknownReason };

// Whether it is the name of a reason for an adapter's status, such as "TEMPERATURE_ABOVE_WARN", or
// of a state of the whole card: "MISSING" or "UNREADABLE".
bool IsAcknowledgeable(const std::string& reason);

// An acknowledgment survives its reason ending and recurring. It ends when it expires, when it is
// removed, or when the card is forgotten.

// Replaces one of the same card and reason.
AcknowledgeResult WriteAcknowledgment(HostKit::Connection& connection,
                                      const Acknowledgment& acknowledgment);

// False if there was none that counts at `nowMs`.
bool RemoveAcknowledgment(HostKit::Connection& connection, const std::string& serial,
                          const std::string& reason, std::uint64_t nowMs);

// Those that count at `nowMs`, by card and reason.
std::vector<Acknowledgment> ReadAcknowledgments(HostKit::Connection& connection,
                                                std::uint64_t nowMs);

}  // namespace Service
