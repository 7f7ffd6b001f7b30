// Handles of the card library, one type per kind, and functions that use them.
//
// The library accepts every handle as a void pointer. The plug-in calls it only through these
// functions and, for attributes, those in CardLibrary.h, so that passing the wrong kind of handle
// does not compile.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

#include "Corvane/Src/Cancellation.h"
#include "Corvane/Src/CardNumbers.h"
#include "host/vsl_abstraction.h"

namespace NAMESPACE_Corvane {

// The types of result codes and of pointers to error records. Deduced from one function, because
// their names may differ between versions of the library's header.
template <class Code, class Record>
Code CodeOf(Code (*)(void*, Record*));
template <class Code, class Record>
Record* RecordOf(Code (*)(void*, Record*));
using CardCode = decltype(CodeOf(vsl_open));
using ErrorRecordPointer = decltype(RecordOf(vsl_open));

// The library's reason for a failed call. The library writes a record only on failure, but one
// trace line prints the record's text after a success; therefore `Text` never reads past the end of
// the record.
class ErrorRecord {
 public:
  ErrorRecord() { m_Bytes[kErrorTextOffset] = '\0'; }
  // Returns a zeroed record, for calls that may read it.
  static ErrorRecord Zeroed() {
    ErrorRecord record;
    std::memset(record.m_Bytes, 0, sizeof record.m_Bytes);
    return record;
  }

  operator ErrorRecordPointer() {
    return static_cast<ErrorRecordPointer>(static_cast<void*>(m_Bytes));
  }
  std::string Text() const {
    const char* text = m_Bytes + kErrorTextOffset;
    return std::string(text, strnlen(text, kErrorRecordSize - kErrorTextOffset));
  }

 private:
  alignas(std::uint64_t) char m_Bytes[kErrorRecordSize];
};

namespace HandleKind {
struct Card;
struct Adapter;  // the card's PCIe adapter
struct Format;
struct Job;  // attach or detach; a format is also a job
struct Unit;
}  // namespace HandleKind

// A non-owning handle. The only conversion is from a format handle to a job handle.
template <class Kind>
class HandleRef {
 public:
  explicit HandleRef(void* raw = nullptr) : m_Raw(raw) {}
  template <class Other, std::enable_if_t<std::is_same_v<Kind, HandleKind::Job> &&
                                              std::is_same_v<Other, HandleKind::Format>,
                                          int> = 0>
  HandleRef(HandleRef<Other> format) : m_Raw(format.Raw()) {}

  void* Raw() const { return m_Raw; }

 private:
  void* m_Raw;
};

using CardRef = HandleRef<HandleKind::Card>;
using AdapterRef = HandleRef<HandleKind::Adapter>;
using FormatRef = HandleRef<HandleKind::Format>;
using JobRef = HandleRef<HandleKind::Job>;
using UnitRef = HandleRef<HandleKind::Unit>;

// An owning handle. Functions call `Destroy` when they have finished with a handle; the destructor
// is for unwinding. If the thread is canceled inside the library, `Destroy` lets the stack unwind,
// whereas the destructor defers the cancellation.
//
// `destroyRecord`, which may be null, receives the error of vsl_destroy().
template <class Kind>
class Handle {
 public:
  explicit Handle(ErrorRecordPointer destroyRecord = nullptr) : m_pDestroyRecord(destroyRecord) {}
  ~Handle() {
    if (!m_Owned) return;
    const CancellationBlocked blocked;
    Destroy();
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  // Calls `make` with the address of the handle, and returns its code. The handle is owned if the
  // code is 0.
  template <class Make>
  CardCode Create(Make make) {
    const CardCode code = make(&m_Raw);
    m_Owned = code == 0;
    return code;
  }

  // Takes ownership of the handle even though its creation may have failed, so that `Destroy`
  // passes it to the library.
  void Adopt() { m_Owned = true; }
  // Gives up ownership without destroying the handle.
  void Release() { m_Owned = false; }

  // Destroys the handle if it is owned.
  void Destroy() {
    if (!m_Owned) return;
    m_Owned = false;
    vsl_destroy(&m_Raw, m_pDestroyRecord);
  }

  void*& Raw() { return m_Raw; }
  template <class Other,
            std::enable_if_t<std::is_convertible_v<HandleRef<Kind>, HandleRef<Other>>, int> = 0>
  operator HandleRef<Other>() const {
    return HandleRef<Kind>(m_Raw);
  }

 private:
  void* m_Raw = nullptr;
  ErrorRecordPointer m_pDestroyRecord;
  bool m_Owned = false;
};

// The owning handle of a card. The destructor closes an open card before it destroys the handle.
class CardHandle : public Handle<HandleKind::Card> {
 public:
  using Handle::Handle;
  ~CardHandle() {
    if (!m_IsOpen) return;
    const CancellationBlocked blocked;
    ErrorRecord error;
    Close(error);
  }

  CardCode Open(ErrorRecord& error) {
    const CardCode code = vsl_open(Raw(), error);
    m_IsOpen = code == 0;
    return code;
  }
  void Close(ErrorRecord& error) {
    m_IsOpen = false;
    vsl_close(Raw(), error);
  }

 private:
  bool m_IsOpen = false;
};

using AdapterHandle = Handle<HandleKind::Adapter>;
using FormatHandle = Handle<HandleKind::Format>;
using JobHandle = Handle<HandleKind::Job>;

// Create handles and return the library's code; 0 means success. Creating the handle of a card does
// not open the card.
inline CardCode CreateHandle(const std::string& devicePath, CardHandle& card, ErrorRecord& error) {
  return card.Create(
      [&](void** handle) { return vsl_iom_create_by_name(devicePath.c_str(), handle, error); });
}
inline CardCode CreateHandle(CardRef card, AdapterHandle& adapter, ErrorRecord& error) {
  return adapter.Create(
      [&](void** handle) { return vsl_adapter_create(card.Raw(), handle, error); });
}
inline CardCode CreateHandle(CardRef card, FormatHandle& format, ErrorRecord& error) {
  return format.Create(
      [&](void** handle) { return vsl_iom_format_create(card.Raw(), handle, error); });
}
// A library function that creates a job.
using CreateJob = CardCode (*)(void* iom, void** job, ErrorRecordPointer error);
inline CardCode CreateHandle(CardRef card, CreateJob create, JobHandle& job, ErrorRecord& error) {
  return job.Create([&](void** handle) { return create(card.Raw(), handle, error); });
}

// Cards. `NextCard` sets `card` to the next card, or to the first if it is null, and returns false
// after the last. The library owns the handle.
inline bool NextCard(CardRef& card, ErrorRecord& error) {
  void* raw = card.Raw();
  const bool any = vsl_iom_iterate(&raw, 1, error);
  card = CardRef(raw);
  return any;
}
inline std::uint16_t PciDeviceId(CardRef card, ErrorRecord& error) {
  return vsl_pci_device_id(card.Raw(), error);
}
inline bool LocateLEDIsOn(CardRef card, ErrorRecord& error) {
  return vsl_beacon_state(card.Raw(), error);
}
inline CardCode SetLocateLED(CardRef card, bool on, ErrorRecord& error) {
  return vsl_set_beacon_state(card.Raw(), on ? 1 : 0, error);
}

// Jobs.
inline CardCode SetForced(JobRef job, ErrorRecord& error) {
  return vsl_iom_detach_set_force(job.Raw(), 1, error);
}
inline CardCode Start(JobRef job, ErrorRecord& error) {
  return vsl_op_start(job.Raw(), error);
}
inline CardCode WaitForResult(JobRef job, ErrorRecord& error) {
  return vsl_op_wait_for_result(job.Raw(), error);
}

// Formats.
inline CardCode AllowOverformat(FormatRef format, ErrorRecord& error) {
  return vsl_iom_format_set_size_mode(format.Raw(), kSizeModeOverformat, error);
}
inline std::uint64_t MaxSizeBytes(FormatRef format, ErrorRecord& error) {
  return vsl_iom_format_max_size_bytes(format.Raw(), error);
}
inline CardCode SetSizeBytes(FormatRef format, std::uint64_t bytes, ErrorRecord& error) {
  return vsl_iom_format_set_size_bytes(format.Raw(), bytes, error);
}
inline CardCode SetSizePercent(FormatRef format, std::uint32_t percent, ErrorRecord& error) {
  return vsl_iom_format_set_size_pct(format.Raw(), percent, error);
}
inline CardCode SetSectorSize(FormatRef format, std::uint32_t bytes, ErrorRecord& error) {
  return vsl_iom_format_set_sector_size_bytes(format.Raw(), bytes, error);
}

// Storage units of a card, which the library's header calls volumes. `NextUnit` sets `unit` to the
// next unit, or to the first if it is null, and returns false after the last. The library owns the
// handle.
inline bool NextUnit(CardRef card, UnitRef& unit, ErrorRecord& error) {
  void* raw = unit.Raw();
  const bool any = vsl_vsu_iterate(card.Raw(), &raw, 1, error);
  unit = UnitRef(raw);
  return any;
}
inline std::uint32_t UnitState(UnitRef unit, ErrorRecord& error) {
  return vsl_vsu_state(unit.Raw(), error);
}
inline bool HasUnitState(UnitRef unit, ErrorRecord& error) {
  return vsl_has_vsu_state(unit.Raw(), error);
}
inline CardCode SetUnitState(UnitRef unit, std::uint32_t state, ErrorRecord& error) {
  return vsl_set_vsu_state(unit.Raw(), state, error);
}

}  // namespace NAMESPACE_Corvane
