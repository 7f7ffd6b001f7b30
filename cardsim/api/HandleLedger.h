// The handles that the library has returned, and the misuse of them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cardsim/api/LibraryLock.h"
#include "cardsim/api/ReturnedString.h"
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

// A set of handle kinds, one bit each.
using Kinds = unsigned int;
constexpr Kinds KindBit(HandleKind kind) {
  return 1U << static_cast<unsigned int>(kind);
}
constexpr Kinds kAnyKind = (1U << kHandleKinds) - 1;
constexpr Kinds kJobs =
    KindBit(HandleKind::Attach) | KindBit(HandleKind::Detach) | KindBit(HandleKind::Format);

// The phase is also `Ended` while a call starts the job or waits for it.
enum class JobPhase { Prepared, Started, Ended };

// The options and progress of a job handle.
struct JobPlan {
  JobPhase phase = JobPhase::Prepared;
  bool force = false;                    // of a detach
  std::optional<std::uint64_t> bytes;    // of a format
  std::optional<std::uint64_t> percent;  // of a format: percentage of `largest`
  std::optional<std::uint64_t> sector;   // of a format
  std::uint64_t largest = 0;             // of a format: the largest size without a size mode
  std::uint64_t limit = 0;               // of a format: the largest size in the selected mode
  JobRecord record;
  std::uint32_t milliseconds = 0;
};

struct Handle {
  // Set when the handle is created.
  HandleKind kind = HandleKind::Card;
  void* self = nullptr;         // the value that callers hold
  std::uint64_t sequence = 0;   // order of creation
  unsigned int startCount = 0;  // starts of the library before its creation
  std::uint64_t cardId = 0;
  std::size_t position = 0;  // of an iterated card or a volume
  void* parent = nullptr;    // of a volume: its card's handle

  bool isOpen HOST_GUARDED_BY(g_LibraryLock) = false;
  // The card as of the handle's creation, its last opening or the last change through it.
  std::shared_ptr<const Card> card HOST_GUARDED_BY(g_LibraryLock);
  // The volume handles, if this is a card handle.
  std::vector<void*> volumes HOST_GUARDED_BY(g_LibraryLock);
  // The last string returned by a call with the handle.
  ReturnedString text HOST_GUARDED_BY(g_LibraryLock);
  JobPlan plan HOST_GUARDED_BY(g_LibraryLock);
};

// The handles, keyed by the pointer value that callers hold. The value is an integer cast to a
// pointer. It encodes the handle's kind and number, so both are known even after the handle has
// been destroyed. Values are never reused, and dereferencing one crashes immediately.
class HandleLedger {
 public:
  // Creates a handle of this kind for `card`. `startCount` is the number of library starts so far.
  std::shared_ptr<Handle> Make(HandleKind kind, std::shared_ptr<const Card> card,
                               unsigned int startCount) HOST_REQUIRES(g_LibraryLock);
  // Returns null if the handle was never created or has been destroyed.
  std::shared_ptr<Handle> Find(void* handle) const HOST_REQUIRES(g_LibraryLock);
  // Destroys a handle and, if it is a card's, its volume handles.
  void Remove(Handle& handle) noexcept HOST_REQUIRES(g_LibraryLock);

  // Returns a copy of `text`, valid until the next `CopyString` or `ExpireString` for the handle.
  const char* CopyString(Handle& handle, std::string_view text) HOST_REQUIRES(g_LibraryLock);
  // Invalidate the string of that handle, if it has one, or the strings of all handles.
  void ExpireString(void* handle) noexcept HOST_REQUIRES(g_LibraryLock);
  void ExpireStrings() noexcept HOST_REQUIRES(g_LibraryLock);

  // Returns "card#1", "null", or "unknown" for a value that was never created here.
  std::string Describe(void* handle) const HOST_REQUIRES(g_LibraryLock);
  // Whether the handle was created here, even if it has been destroyed since.
  bool WasCreated(void* handle) const HOST_REQUIRES(g_LibraryLock);
  // Returns the handles that callers must still destroy, in order of creation.
  std::vector<std::string> OpenHandles() const HOST_REQUIRES(g_LibraryLock);

  // Records a line about misuse, unless there are already 1000.
  void RecordMisuse(std::string line) HOST_REQUIRES(g_LibraryLock);
  const std::vector<std::string>& Misuse() const HOST_REQUIRES(g_LibraryLock) { return m_Misuse; }

  // Clears the ledger. Returns the numbers of the running jobs, which the caller must abandon.
  std::vector<std::uint64_t> Reset() HOST_REQUIRES(g_LibraryLock);

 private:
  std::unordered_map<void*, std::shared_ptr<Handle>> m_Handles HOST_GUARDED_BY(g_LibraryLock);
  std::uint64_t m_CreatedCounts[kHandleKinds] HOST_GUARDED_BY(g_LibraryLock) = {};
  std::uint64_t m_Sequence HOST_GUARDED_BY(g_LibraryLock) = 0;
  std::uint64_t m_Epoch HOST_GUARDED_BY(g_LibraryLock) = 1;
  std::vector<std::string> m_Misuse HOST_GUARDED_BY(g_LibraryLock);
  ExpiredStrings m_ExpiredStrings HOST_GUARDED_BY(g_LibraryLock);
};

}  // namespace CardSim
