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
#include "cardsim/api/LibraryLock.h"
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

// Also `Ended` while a call starts or waits for the job.
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
  // Set when the handle is created.
  HandleKind kind = HandleKind::Card;
  void* self = nullptr;
  std::uint64_t sequence = 0;   // order of creation
  unsigned int startCount = 0;  // the vsl_init it was created after
  std::uint64_t cardId = 0;
  std::size_t position = 0;  // of an iterated card or a volume
  void* parent = nullptr;    // of a volume: its card's handle

  bool isOpen HOST_GUARDED_BY(g_LibraryLock) = false;
  // As of when it was last named or opened.
  std::shared_ptr<const Card> card HOST_GUARDED_BY(g_LibraryLock);
  // Of a card: its volume handles.
  std::vector<void*> volumes HOST_GUARDED_BY(g_LibraryLock);
  // The last string returned by a call with the handle.
  LentText text HOST_GUARDED_BY(g_LibraryLock);
  JobPlan plan HOST_GUARDED_BY(g_LibraryLock);
};

// The handles by value. A handle is an integer cast to a pointer: its kind and number are known
// even long after it was destroyed, values are never reused, and dereferencing one crashes
// immediately.
class HandleLedger {
 public:
  // A new handle of that kind for `card`. `startCount`: how often the library was started.
  std::shared_ptr<Handle> Make(HandleKind kind, std::shared_ptr<const Card> card,
                               unsigned int startCount) HOST_REQUIRES(g_LibraryLock);
  // Null if the handle was never created or has been destroyed.
  std::shared_ptr<Handle> Find(void* handle) const HOST_REQUIRES(g_LibraryLock);
  // Destroys a handle and, for that of a card, its volumes.
  void Remove(Handle& handle) noexcept HOST_REQUIRES(g_LibraryLock);

  // Returns a copy of `text`, valid until the next `Lend` or `ExpireText` for the handle.
  const char* Lend(Handle& handle, std::string_view text) HOST_REQUIRES(g_LibraryLock);
  // Expires the string of that handle, if it has one, or of all handles.
  void ExpireText(void* handle) noexcept HOST_REQUIRES(g_LibraryLock);
  void ExpireTexts() noexcept HOST_REQUIRES(g_LibraryLock);

  // "card#1", "null", or "unknown" for a value that was never created here.
  std::string Describe(void* handle) const HOST_REQUIRES(g_LibraryLock);
  // Whether the handle was created here, destroyed or not.
  bool WasMade(void* handle) const HOST_REQUIRES(g_LibraryLock);
  // The handles that callers have to destroy, in order of creation.
  std::vector<std::string> Open() const HOST_REQUIRES(g_LibraryLock);

  // Keeps the line, unless there are 1000 already.
  void NoteMisuse(std::string line) HOST_REQUIRES(g_LibraryLock);
  const std::vector<std::string>& Misuse() const HOST_REQUIRES(g_LibraryLock) { return m_Misuse; }

  // Forgets everything. Returns the numbers of the running jobs, which the caller must abandon.
  std::vector<std::uint64_t> Reset() HOST_REQUIRES(g_LibraryLock);

 private:
  std::unordered_map<void*, std::shared_ptr<Handle>> m_Handles HOST_GUARDED_BY(g_LibraryLock);
  std::uint64_t m_Made[kHandleKinds] HOST_GUARDED_BY(g_LibraryLock) = {};
  std::uint64_t m_Sequence HOST_GUARDED_BY(g_LibraryLock) = 0;
  std::uint64_t m_Epoch HOST_GUARDED_BY(g_LibraryLock) = 1;
  std::vector<std::string> m_Misuse HOST_GUARDED_BY(g_LibraryLock);
  ExpiredTexts m_ExpiredTexts HOST_GUARDED_BY(g_LibraryLock);
};

}  // namespace CardSim
