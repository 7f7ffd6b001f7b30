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
  std::string m_User;                    // who acknowledged it
  std::uint64_t m_Time = 0;              // when it was acknowledged
  std::optional<std::uint64_t> m_Until;  // expiry; empty: never expires
  std::string m_Note;
};

enum class AcknowledgeResult { Done, UnknownCard, UnknownReason, NotMissing };

// Whether `Console::AcknowledgeableReasons` contains the reason.
bool IsAcknowledgeable(const std::string& reason);

// Whether acknowledging the reason would hide the removal of a card: it must be refused while the
// card is present.
bool HidesRemoval(const std::string& reason, bool isPresent);

// An acknowledgment stays in effect when its reason ends and recurs. It ends when it expires, when
// it is removed, or when the card is forgotten.

// Stores the acknowledgment. Replaces an earlier one of the same card and reason.
AcknowledgeResult WriteAcknowledgment(HostKit::Connection& connection,
                                      const Acknowledgment& acknowledgment);

// Returns false if no such acknowledgment was in effect at `nowMs`.
bool RemoveAcknowledgment(HostKit::Connection& connection, const std::string& serial,
                          const std::string& reason, std::uint64_t nowMs);

// Returns the acknowledgments in effect at `nowMs`, ordered by card and reason.
std::vector<Acknowledgment> ReadAcknowledgments(HostKit::Connection& connection,
                                                std::uint64_t nowMs);

}  // namespace Service
