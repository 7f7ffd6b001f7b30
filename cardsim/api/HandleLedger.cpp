#include "cardsim/api/HandleLedger.h"

#include <algorithm>
#include <utility>

namespace CardSim {
namespace {

constexpr const char* kKindNames[kHandleKinds] = {"card",   "iterated", "adapter", "format",
                                                  "attach", "detach",   "volume"};

// Makes every handle an invalid address: bits 63 to 48 of a valid address are all equal.
constexpr std::uint64_t kTag = 0x5ca9;
constexpr std::uint64_t kEpochMask = 0xfff;
// Limits the memory use if misuse is repeated for days.
constexpr std::size_t kMaxMisuseLines = 1000;

// The fields of a handle's value, from bit 63 down.
struct HandleValue {
  std::uint64_t tag;     // 16 bits
  std::uint64_t epoch;   // 12 bits
  std::uint64_t number;  // 32 bits
  std::uint64_t kind;    // 4 bits
};

void* Pack(const HandleValue& value) {
  const std::uint64_t bits =
      value.tag << 48 | value.epoch << 36 | (value.number & 0xffffffff) << 4 | value.kind;
  return reinterpret_cast<void*>(bits);
}

HandleValue Unpack(void* handle) {
  const auto bits = reinterpret_cast<std::uintptr_t>(handle);
  return {bits >> 48, bits >> 36 & kEpochMask, bits >> 4 & 0xffffffff, bits & 0xf};
}

}  // namespace

std::shared_ptr<Handle> HandleLedger::Make(HandleKind kind, std::shared_ptr<const Card> card,
                                           unsigned int startCount) {
  auto handle = std::make_shared<Handle>();
  const auto index = static_cast<std::size_t>(kind);
  handle->kind = kind;
  handle->self = Pack({kTag, m_Epoch, m_CreatedCounts[index] + 1, index});
  handle->startCount = startCount;
  handle->cardId = card->id;
  handle->card = std::move(card);
  m_Handles[handle->self] = handle;
  ++m_CreatedCounts[index];
  handle->sequence = ++m_Sequence;
  return handle;
}

std::shared_ptr<Handle> HandleLedger::Find(void* handle) const {
  const auto found = m_Handles.find(handle);
  return found == m_Handles.end() ? nullptr : found->second;
}

void HandleLedger::Remove(Handle& handle) noexcept {
  m_ExpiredStrings.Expire(handle.text);
  for (void* volume : handle.volumes) m_Handles.erase(volume);
  m_Handles.erase(handle.self);
}

const char* HandleLedger::CopyString(Handle& handle, std::string_view text) {
  m_ExpiredStrings.Expire(handle.text);
  handle.text = ReturnedString(text);
  return handle.text.Get();
}

void HandleLedger::ExpireString(void* handle) noexcept {
  const auto found = m_Handles.find(handle);
  if (found != m_Handles.end()) m_ExpiredStrings.Expire(found->second->text);
}

void HandleLedger::ExpireStrings() noexcept {
  for (const auto& [unused, handle] : m_Handles) m_ExpiredStrings.Expire(handle->text);
}

bool HandleLedger::WasCreated(void* handle) const {
  const HandleValue value = Unpack(handle);
  return value.tag == kTag && value.epoch == m_Epoch && value.kind < kHandleKinds &&
         value.number > 0 && value.number <= m_CreatedCounts[value.kind];
}

std::string HandleLedger::Describe(void* handle) const {
  if (handle == nullptr) return "null";
  if (!WasCreated(handle)) return "unknown";
  const HandleValue value = Unpack(handle);
  return std::string(kKindNames[value.kind]) + "#" + std::to_string(value.number);
}

std::vector<std::string> HandleLedger::OpenHandles() const {
  std::vector<const Handle*> open;
  for (const auto& [unused, handle] : m_Handles) {
    const bool owned = handle->kind != HandleKind::Iterated && handle->kind != HandleKind::Volume;
    if (owned) open.push_back(handle.get());
  }
  std::sort(open.begin(), open.end(),
            [](const Handle* a, const Handle* b) { return a->sequence < b->sequence; });
  std::vector<std::string> names;
  for (const Handle* handle : open) names.push_back(Describe(handle->self));
  return names;
}

void HandleLedger::RecordMisuse(std::string line) {
  if (m_Misuse.size() < kMaxMisuseLines) m_Misuse.push_back(std::move(line));
}

std::vector<std::uint64_t> HandleLedger::Reset() {
  std::vector<std::uint64_t> running;
  for (const auto& [unused, handle] : m_Handles) {
    if (handle->plan.phase == JobPhase::Started) running.push_back(handle->plan.record.number);
  }
  ExpireStrings();
  m_Handles.clear();
  std::fill(std::begin(m_CreatedCounts), std::end(m_CreatedCounts), 0);
  m_Epoch = (m_Epoch + 1) & kEpochMask;
  m_Misuse.clear();
  return running;
}

}  // namespace CardSim
