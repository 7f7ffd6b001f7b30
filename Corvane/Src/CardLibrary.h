// The card library as the plug-in sees it: error records, handles that end themselves, and
// attributes that may be absent.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

#include "Corvane/Src/CardNumbers.h"
#include "host/vsl_abstraction.h"

namespace NAMESPACE_Corvane {

// Where the library says why a call failed. The text is read only where it was ended: the library
// leaves the record alone on success, and one trace prints it then.
class ErrorRecord {
 public:
  ErrorRecord() { *TextBegin() = '\0'; }
  // All zero, for calls that may read it.
  static ErrorRecord Zeroed() {
    ErrorRecord record;
    record.m_Record = {};
    return record;
  }

  operator vsl_error_record*() { return &m_Record; }
  std::string Text() const {
    const char* text = const_cast<ErrorRecord*>(this)->TextBegin();
    return std::string(text, strnlen(text, kErrorRecordSize - kErrorTextAt));
  }

 private:
  // The library's header may name the members as it likes.
  char* TextBegin() { return reinterpret_cast<char*>(&m_Record) + kErrorTextAt; }

  static_assert(sizeof(vsl_error_record) == kErrorRecordSize);
  vsl_error_record m_Record;
};

// A handle of any kind, destroyed with this object when the call that made it succeeded.
//
// The destroying call reports into `destroyRecord`, or nowhere.
class Handle {
 public:
  explicit Handle(vsl_error_record* destroyRecord = nullptr) : m_pDestroyRecord(destroyRecord) {}
  // A thread that is cancelled inside the library unwinds through this one.
  ~Handle() noexcept(false) { Destroy(); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  // Runs `make`, which gets the address of the handle, and gives its code.
  template <class Make>
  vsl_code Create(Make make) {
    const vsl_code code = make(&m_Handle);
    m_Owned = code == 0;
    return code;
  }

  // Destroy it although its creation failed.
  void Adopt() { m_Owned = true; }
  // Leave it to the library.
  void Release() { m_Owned = false; }

  void Destroy() {
    if (!m_Owned) return;
    m_Owned = false;
    vsl_destroy(&m_Handle, m_pDestroyRecord);
  }

  void*& Get() { return m_Handle; }

 private:
  void* m_Handle = nullptr;
  vsl_error_record* m_pDestroyRecord;
  bool m_Owned = false;
};

// The two functions behind one attribute.
#define VSL(name) vsl_has_##name, vsl_##name
#define VSL_FORMAT(name) vsl_iom_format_has_##name, vsl_iom_format_##name

// Reads attributes of a handle that someone else keeps.
class AttributeReader {
 public:
  AttributeReader(void* handle, vsl_error_record* error) : m_Handle(handle), m_pError(error) {}

  bool Has(bool (*has)(void*, vsl_error_record*)) const { return has(m_Handle, m_pError); }

  // For an attribute that the card is known to have.
  template <class T>
  T Get(T (*read)(void*, vsl_error_record*)) const {
    return read(m_Handle, m_pError);
  }

  // Nothing when the card does not have the attribute.
  template <class T>
  std::optional<T> Read(bool (*has)(void*, vsl_error_record*),
                        T (*read)(void*, vsl_error_record*)) const {
    if (!has(m_Handle, m_pError)) return std::nullopt;
    return read(m_Handle, m_pError);
  }

  // A text is the library's until the next call, so it is copied here.
  std::optional<std::string> Read(bool (*has)(void*, vsl_error_record*),
                                  const char* (*read)(void*, vsl_error_record*)) const {
    if (!has(m_Handle, m_pError)) return std::nullopt;
    const char* text = read(m_Handle, m_pError);
    return text == nullptr ? std::string() : std::string(text);
  }

  // Leaves `field` as it is when the card does not have the attribute, and says so.
  template <class T, class Field>
  bool ReadInto(Field& field, bool (*has)(void*, vsl_error_record*),
                T (*read)(void*, vsl_error_record*)) const {
    const auto value = Read(has, read);
    if (value) field = *value;
    return value.has_value();
  }

 private:
  void* m_Handle;
  vsl_error_record* m_pError;
};

// Cuts a number of the card toward zero. What no integer can hold becomes the nearest one, and
// what is no number 0.
inline std::int32_t Truncated(float value) {
  if (std::isnan(value)) return 0;
  constexpr float kLimit = 2147483648.0F;
  if (value >= kLimit) return std::numeric_limits<std::int32_t>::max();
  if (value < -kLimit) return std::numeric_limits<std::int32_t>::min();
  return static_cast<std::int32_t>(value);
}

constexpr std::uint64_t MiB(std::uint64_t bytes) {
  return bytes >> 20;
}

}  // namespace NAMESPACE_Corvane
