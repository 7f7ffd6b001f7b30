// The handles that the library has given out, and what was done wrong with them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cardsim/api/LentText.h"
#include "cardsim/store/State.h"

namespace CardSim {

enum class HandleKind : unsigned int {
  Card,
  Walked,
  Adapter,
  Format,
  Attach,
  Detach,
  Volume,
  Count
};

constexpr std::size_t kHandleKinds = static_cast<std::size_t>(HandleKind::Count);

// A set of kinds.
using Kinds = unsigned int;
constexpr Kinds Only(HandleKind kind) {
  return 1U << static_cast<unsigned int>(kind);
}
constexpr Kinds kAnyKind = (1U << kHandleKinds) - 1;
constexpr Kinds kJobs =
    Only(HandleKind::Attach) | Only(HandleKind::Detach) | Only(HandleKind::Format);

// Ended also while it is being started or waited for: it is then in the hands of that call alone.
enum class JobPhase { Prepared, Started, Ended };

// What a job handle was told, and where its job stands.
struct JobPlan {
  JobPhase phase = JobPhase::Prepared;
  bool force = false;                    // of a detach
  std::optional<std::uint64_t> bytes;    // of a format
  std::optional<std::uint64_t> percent;  // of a format, of its normal largest size
  std::optional<std::uint64_t> sector;   // of a format
  std::uint64_t largest = 0;             // of a format: its normal largest size
  std::uint64_t limit = 0;               // of a format: the largest size in its size mode
  JobMark mark;
  std::uint32_t milliseconds = 0;
};

struct Handle {
  HandleKind kind = HandleKind::Card;
  void* self = nullptr;
  std::uint64_t sequence = 0;  // order of making
  unsigned int life = 0;       // which vsl_init it was made after
  bool isOpen = false;
  std::uint64_t cardId = 0;
  std::shared_ptr<const Card> card;  // as it was when last named or opened
  std::size_t position = 0;          // of a walked card or a volume
  void* parent = nullptr;            // of a volume: its card's handle
  std::vector<void*> volumes;        // of a card: what was walked through it
  LentText text;                     // the last one that a call on the handle gave out
  JobPlan plan;
};

// Handles are numbers in the clothes of pointers: kind and number can be told of one that was
// destroyed long ago, no value is ever used twice, and following one faults at once. Not
// synchronised: its owner is.
class Ledger {
 public:
  // A new handle of that kind for `card`.
  std::shared_ptr<Handle> Make(HandleKind kind, std::shared_ptr<const Card> card,
                               unsigned int life);
  // None when the handle was never made or has been destroyed.
  std::shared_ptr<Handle> Find(void* handle) const;
  // Ends a handle, and with a card's handle its volumes.
  void Remove(Handle& handle) noexcept;

  // Gives out a copy of a text, which lives until `EndText`.
  const char* Lend(Handle& handle, std::string_view text);
  // Ends the text that the handle gave out, if it did; of every handle without an argument.
  void EndText(void* handle) noexcept;
  void EndTexts() noexcept;

  // "card#1", "null", or "unknown" for what this ledger never made.
  std::string Describe(void* handle) const;
  // Whether it made the handle, destroyed or not.
  bool WasMade(void* handle) const;
  std::vector<std::string> Open() const;

  void NoteMisuse(std::string line);
  const std::vector<std::string>& Misuse() const { return m_Misuse; }

  // Forgets all; gives the handles whose jobs were under way.
  std::vector<std::shared_ptr<Handle>> Reset();

 private:
  std::unordered_map<void*, std::shared_ptr<Handle>> m_Handles;
  std::uint64_t m_Made[kHandleKinds] = {};
  std::uint64_t m_Sequence = 0;
  std::uint64_t m_Epoch = 1;
  std::vector<std::string> m_Misuse;
  EndedTexts m_EndedTexts;
};

}  // namespace CardSim
