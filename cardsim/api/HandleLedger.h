// The handles that the library has returned, and their misuse.
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
  Iterated,
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

// Also `Ended` while a call starts or waits for the job: only that call uses the plan then.
enum class JobPhase { Prepared, Started, Ended };

// The options and progress of a job handle.
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
  std::uint64_t sequence = 0;   // order of creation
  unsigned int startCount = 0;  // the vsl_init it was created after
  bool isOpen = false;
  std::uint64_t cardId = 0;
  std::shared_ptr<const Card> card;  // as of when it was last named or opened
  std::size_t position = 0;          // of an iterated card or a volume
  void* parent = nullptr;            // of a volume: its card's handle
  std::vector<void*> volumes;        // of a card: its volume handles
  LentText text;                     // the last string returned by a call with the handle
  JobPlan plan;
};

// The handles by value. A handle is an integer cast to a pointer: its kind and number are known
// even long after it was destroyed, values are never reused, and dereferencing one faults at once.
// Not synchronized: the caller holds the library's lock.
class HandleLedger {
 public:
  // A new handle of that kind for `card`. `startCount`: how often the library was started.
  std::shared_ptr<Handle> Make(HandleKind kind, std::shared_ptr<const Card> card,
                               unsigned int startCount);
  // Null if the handle was never created or has been destroyed.
  std::shared_ptr<Handle> Find(void* handle) const;
  // Destroys a handle and, for that of a card, its volumes.
  void Remove(Handle& handle) noexcept;

  // Returns a copy of `text`, valid until the next `Lend` or `ExpireText` for the handle.
  const char* Lend(Handle& handle, std::string_view text);
  // Expires the string of that handle, if it has one, or of all handles.
  void ExpireText(void* handle) noexcept;
  void ExpireTexts() noexcept;

  // "card#1", "null", or "unknown" for a value that was never created here.
  std::string Describe(void* handle) const;
  // Whether the handle was created here, destroyed or not.
  bool WasMade(void* handle) const;
  // The handles that callers have to destroy, in order of creation.
  std::vector<std::string> Open() const;

  // Keeps the line, unless there are 1000 already.
  void NoteMisuse(std::string line);
  const std::vector<std::string>& Misuse() const { return m_Misuse; }

  // Forgets everything. Returns the handles whose jobs are running, which the caller must abandon.
  std::vector<std::shared_ptr<Handle>> Reset();

 private:
  std::unordered_map<void*, std::shared_ptr<Handle>> m_Handles;
  std::uint64_t m_Made[kHandleKinds] = {};
  std::uint64_t m_Sequence = 0;
  std::uint64_t m_Epoch = 1;
  std::vector<std::string> m_Misuse;
  ExpiredTexts m_ExpiredTexts;
};

}  // namespace CardSim
