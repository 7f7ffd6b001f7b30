// The functions of the card library, as the plug-in calls them. The program exports them, so that
// the dynamic linker resolves the plug-in's calls to them instead of to the card library. Outside
// the plug-in process, they only call the library.
#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "console/plugin/CardError.h"
#include "host/vsl_abstraction.h"
#include "service/CardGuard.h"
#include "service/LibraryFunction.h"
#include "service/ReadAhead.h"

using Service::CallKind;
using Service::CardGuard;
using Service::GuardedCard;
using Service::GuardedHandle;
using Service::GuardedHandlePtr;
using Service::kNotResponding;

namespace {

void SetError(vsl_error_record* error, const std::string& text) {
  if (error == nullptr) return;
  const std::size_t length = std::min(text.size(), sizeof error->text - 1);
  std::memcpy(error->text, text.data(), length);
  error->text[length] = '\0';
}

vsl_code NotResponding(vsl_error_record* error) {
  SetError(error, "the card is not responding; the command may still take effect");
  return kNotResponding;
}

// Records a failed call, because the plug-in does not report its reason.
vsl_code Recorded(const char* function, vsl_code code, const vsl_error_record* error) {
  if (code != 0) Console::RecordCardError(function, code, error == nullptr ? "" : error->text);
  return code;
}

// The result of a call that may return after the caller has given up.
template <class T>
struct Result {
  T m_Value{};
  vsl_error_record m_Error{};
};

// Runs a call with the library's handle. Returns null if the card does not respond, or did not
// respond to an earlier call with this handle.
template <class T, class Work>
std::shared_ptr<Result<T>> Answer(const GuardedHandlePtr& handle, const Work& work,
                                  CallKind kind = CallKind::Reading) {
  if (handle->m_IsDetached) return nullptr;
  const auto result = std::make_shared<Result<T>>();
  const auto call = [handle, work, result] {
    result->m_Value = work(handle->m_Real.load(), &result->m_Error);
  };
  if (handle->m_pCard->Run(call, kind)) return result;
  handle->m_IsDetached = true;
  return nullptr;
}

// Like `Answer`, for a call whose result is a code. Returns `kNotResponding` if the card does not
// respond.
template <class Work>
vsl_code Command(const GuardedHandlePtr& handle, vsl_error_record* error, const Work& work,
                 CallKind kind = CallKind::Reading) {
  const auto result = Answer<vsl_code>(handle, work, kind);
  if (!result) return NotResponding(error);
  if (result->m_Value != 0) SetError(error, result->m_Error.text);
  return result->m_Value;
}

// Strings are copied, because the library may overwrite them.
template <class T>
using Stored = std::conditional_t<std::is_same_v<T, const char*>, std::string, T>;

template <class T>
Stored<T> ToStored(T value) {
  if constexpr (std::is_same_v<T, const char*>) {
    return value == nullptr ? "" : value;
  } else {
    return value;
  }
}

template <class T>
T FromStored(GuardedHandle& handle, const Stored<T>& value) {
  if constexpr (std::is_same_v<T, const char*>) {
    handle.m_Text = value;
    return handle.m_Text.c_str();
  } else {
    return value;
  }
}

// Reads a value from the card. If the card does not respond, returns the value last read, if any.
template <class T>
T ReadValue(const char* name, T (*real)(void*, vsl_error_record*), void* pointer,
            vsl_error_record* error) {
  const GuardedHandlePtr handle = CardGuard::Instance().Find(pointer);
  if (!handle) return real(pointer, error);
  const std::string key = handle->m_Prefix + name;
  const auto result =
      Answer<Stored<T>>(handle, [real](void* card, vsl_error_record* record) -> Stored<T> {
        return ToStored<T>(real(card, record));
      });
  if (result) {
    handle->m_pCard->Remember(key, result->m_Value);
    return FromStored<T>(*handle, result->m_Value);
  }
  const std::any stored = handle->m_pCard->Recall(key);
  const auto* value = std::any_cast<Stored<T>>(&stored);
  return FromStored<T>(*handle, value == nullptr ? Stored<T>() : *value);
}

// Runs a command with the library's handle. A pointer that is not guarded is such a handle itself.
template <class Work>
vsl_code CommandFor(void* pointer, vsl_error_record* error, const Work& work) {
  const GuardedHandlePtr handle = CardGuard::Instance().Find(pointer);
  return handle ? Command(handle, error, work, CallKind::Change) : work(pointer, error);
}

GuardedHandlePtr MakeHandle(std::shared_ptr<GuardedCard> card, std::string prefix) {
  auto handle = std::make_shared<GuardedHandle>();
  handle->m_pCard = std::move(card);
  handle->m_Prefix = std::move(prefix);
  return handle;
}

// Closes and destroys the library's handle once the card responds. The plug-in no longer uses it.
void DestroyLater(const GuardedHandlePtr& handle) {
  handle->m_pCard->RunWhenResponding([handle] {
    void* real = handle->m_Real.exchange(nullptr);
    vsl_error_record error;
    if (real == nullptr) return;
    if (handle->m_IsOpen.exchange(false)) REAL(vsl_close)(real, &error);
    REAL(vsl_destroy)(&real, &error);
  });
}

using Create = vsl_code (*)(void*, void**, vsl_error_record*);

// Creates a handle from a card's handle.
GuardedHandlePtr CreateFrom(const GuardedHandlePtr& card, Create create, const char* prefix,
                            vsl_code& code, vsl_error_record* error) {
  auto made = MakeHandle(card->m_pCard, prefix);
  code = Command(card, error, [create, made](void* real, vsl_error_record* record) {
    void* handle = nullptr;
    const vsl_code result = create(real, &handle, record);
    if (result == 0) made->m_Real = handle;
    return result;
  });
  if (code == kNotResponding) made->m_IsDetached = true;
  return made;
}

// Creates a handle for reading, which also succeeds if the card does not respond.
vsl_code CreateReader(Create create, const char* prefix, void* iom, void** out,
                      vsl_error_record* error) {
  const GuardedHandlePtr card = CardGuard::Instance().Find(iom);
  if (!card || out == nullptr) return create(iom, out, error);
  vsl_code code = 0;
  const GuardedHandlePtr made = CreateFrom(card, create, prefix, code, error);
  if (code != 0 && code != kNotResponding) return code;
  *out = CardGuard::Instance().Add(made);
  return 0;
}

// Creates a job, which fails if the card does not respond.
vsl_code CreateJob(Create create, void* iom, void** out, vsl_error_record* error) {
  const GuardedHandlePtr card = CardGuard::Instance().Find(iom);
  if (!card || out == nullptr) return create(iom, out, error);
  vsl_code code = 0;
  const GuardedHandlePtr made = CreateFrom(card, create, "", code, error);
  if (code == 0) {
    *out = CardGuard::Instance().Add(made);
  } else if (code == kNotResponding) {
    DestroyLater(made);
  }
  return code;
}

vsl_code CreateByName(const GuardedHandlePtr& handle, const std::string& path,
                      vsl_error_record* record) {
  void* real = nullptr;
  const vsl_code code = REAL(vsl_iom_create_by_name)(path.c_str(), &real, record);
  if (code == 0) handle->m_Real = real;
  return code;
}

// Lists all cards with the library. Returns the reason if it has not reached the end of the list.
std::string ListAll(const std::function<void(Service::ListedCard)>& add) {
  vsl_error_record error;
  vsl_error_record failure = {};  // written only by a failed call
  void* card = nullptr;
  while (REAL(vsl_iom_iterate)(&card, 1, &failure)) {
    if (!REAL(vsl_has_serial_number)(card, &error)) continue;
    const std::string serial = ToStored(REAL(vsl_serial_number)(card, &error));
    if (!REAL(vsl_has_device_path)(card, &error)) continue;
    add({ToStored(REAL(vsl_device_path)(card, &error)), serial});
  }
  const std::string reason = failure.text;
  return card != nullptr && reason.empty() ? "unknown error" : reason;
}

std::string OpenProblem(vsl_code code, const std::string& text) {
  return fmt::format("the card cannot be opened: {} (error {})", text, code);
}

// Whether the plug-in may get a handle of the card. If not, it would wait for this card in every
// scan, or discard the values of all cards.
bool IsReadable(const GuardedHandlePtr& handle) {
  GuardedCard& card = *handle->m_pCard;
  if (card.WasRead() && !card.IsOmitted()) return true;
  const bool isReadable = !handle->m_IsDetached && Service::ReadAhead(handle);
  if (isReadable && !card.IsOmitted()) {
    card.SetRead();
    return true;
  }
  card.SetOmitted(isReadable);
  return false;
}

// Whether a card exists although no handle can be created, for example because this process cannot
// open files. A card that is unknown or has been removed is not searched for in every scan.
bool Exists(const std::string& path) {
  CardGuard& guard = CardGuard::Instance();
  return guard.Card(path)->IsKnown() && guard.IsListed(path, ListAll);
}

vsl_code CreateCard(const std::string& path, void** out, vsl_error_record* error) {
  const auto handle = MakeHandle(CardGuard::Instance().Card(path), "");
  const auto result = std::make_shared<Result<vsl_code>>();
  const bool isAnswered = handle->m_pCard->Run(
      [handle, path, result] { result->m_Value = CreateByName(handle, path, &result->m_Error); });
  const bool isFailed = isAnswered && result->m_Value != 0;
  if (isFailed && !Exists(path)) {
    handle->m_pCard->SetMissing();
    SetError(error, result->m_Error.text);
    return result->m_Value;
  }
  if (isFailed) {
    handle->m_pCard->SetProblem(OpenProblem(result->m_Value, result->m_Error.text));
  }
  handle->m_IsDetached = !isAnswered || isFailed;
  if (IsReadable(handle)) {
    *out = CardGuard::Instance().Add(handle);
    return 0;
  }
  DestroyLater(handle);
  return NotResponding(error);
}

// Opens a card. If a card that was read before cannot be opened, the plug-in would discard the
// values of all cards. This therefore returns success, and the card keeps the values last read.
vsl_code Open(const GuardedHandlePtr& handle, vsl_error_record* error) {
  vsl_error_record reason;
  const vsl_code code = Command(handle, &reason, [handle](void* real, vsl_error_record* record) {
    const vsl_code opened = REAL(vsl_open)(real, record);
    handle->m_IsOpen = opened == 0;
    return opened;
  });
  if (code != kNotResponding) {
    handle->m_pCard->SetProblem(code == 0 ? "" : OpenProblem(code, reason.text));
  }
  if (code == 0) return 0;
  handle->m_IsDetached = true;
  if (handle->m_pCard->WasRead()) return 0;
  SetError(error, reason.text);
  return code;
}

vsl_code Close(const GuardedHandlePtr& handle, vsl_error_record* error) {
  if (handle->m_IsDetached) return 0;
  return Command(handle, error, [handle](void* real, vsl_error_record* record) {
    handle->m_IsOpen = false;
    return REAL(vsl_close)(real, record);
  });
}

// Returns a handle with which only the serial number and the path of the card can be read.
GuardedHandlePtr MakeListedHandle(const Service::ListedCard& listed) {
  auto handle = MakeHandle(CardGuard::Instance().Card(listed.m_DevicePath), "listed.");
  handle->m_IsDetached = true;
  for (const char* name : {"has_serial_number", "has_device_path"}) {
    handle->m_pCard->Remember(handle->m_Prefix + name, true);
  }
  handle->m_pCard->Remember(handle->m_Prefix + "serial_number", listed.m_SerialNumber);
  handle->m_pCard->Remember(handle->m_Prefix + "device_path", listed.m_DevicePath);
  return handle;
}

// Lists the cards on another thread, and then hands them out one by one. Used by one thread at a
// time, because the library allows only one list.
bool NextListed(void** iom) {
  static std::vector<Service::ListedCard> listed;
  static std::size_t next;
  if (*iom == nullptr) {
    listed = CardGuard::Instance().ListCards(ListAll);
    next = 0;
  }
  CardGuard::Instance().Remove(*iom);
  *iom = nullptr;
  if (next == listed.size()) return false;
  *iom = CardGuard::Instance().Add(MakeListedHandle(listed[next++]));
  return true;
}

std::string VolumePrefix(int position) {
  return "volume" + std::to_string(position) + ".";
}

bool NextVolume(const GuardedHandlePtr& card, void** vsu, std::uint32_t which) {
  const GuardedHandlePtr last = *vsu == nullptr ? nullptr : CardGuard::Instance().Find(*vsu);
  const int position = last ? last->m_Position + 1 : 0;
  const auto volume = MakeHandle(card->m_pCard, VolumePrefix(position));
  volume->m_Position = position;
  void* const lastReal = last ? last->m_Real.load() : nullptr;
  const auto result =
      Answer<bool>(card, [volume, lastReal, which](void* real, vsl_error_record* record) {
        void* next = lastReal;
        const bool any = REAL(vsl_vsu_iterate)(real, &next, which, record);
        if (any) volume->m_Real = next;
        return any;
      });
  const std::string key = volume->m_Prefix + "exists";
  if (result) card->m_pCard->Remember(key, result->m_Value);
  const std::any stored = card->m_pCard->Recall(key);
  const auto* exists = std::any_cast<bool>(&stored);
  volume->m_IsDetached = !result;
  *vsu = nullptr;
  if (exists == nullptr || !*exists) return false;
  *vsu = CardGuard::Instance().Add(volume);
  card->m_Volumes.push_back(*vsu);
  return true;
}

}  // namespace

vsl_code vsl_init(uint64_t flags, vsl_error_record* err) {
  return REAL(vsl_init)(flags, err);
}

// The library must not be stopped while a call is running.
void vsl_fini(void) {
  if (!CardGuard::Instance().HasStuckCards()) REAL(vsl_fini)();
}

bool vsl_iom_iterate(void** iom, uint32_t which, vsl_error_record* err) {
  const bool isGuarded = CardGuard::Instance().IsEnabled() && iom != nullptr;
  return isGuarded ? NextListed(iom) : REAL(vsl_iom_iterate)(iom, which, err);
}

vsl_code vsl_iom_create_by_name(const char* path, void** iom, vsl_error_record* err) {
  const bool isGuarded = CardGuard::Instance().IsEnabled() && path != nullptr && iom != nullptr;
  const vsl_code code =
      isGuarded ? CreateCard(path, iom, err) : REAL(vsl_iom_create_by_name)(path, iom, err);
  return Recorded("vsl_iom_create_by_name", code, err);
}

vsl_code vsl_open(void* iom, vsl_error_record* err) {
  const GuardedHandlePtr handle = CardGuard::Instance().Find(iom);
  const vsl_code code = handle ? Open(handle, err) : REAL(vsl_open)(iom, err);
  return Recorded("vsl_open", code, err);
}

vsl_code vsl_close(void* iom, vsl_error_record* err) {
  const GuardedHandlePtr handle = CardGuard::Instance().Find(iom);
  return handle ? Close(handle, err) : REAL(vsl_close)(iom, err);
}

vsl_code vsl_destroy(void** handle, vsl_error_record* err) {
  const GuardedHandlePtr found = handle == nullptr ? nullptr : CardGuard::Instance().Find(*handle);
  if (!found) return REAL(vsl_destroy)(handle, err);
  CardGuard::Instance().Remove(*handle);
  DestroyLater(found);
  return 0;
}

vsl_code vsl_adapter_create(void* iom, void** adapter, vsl_error_record* err) {
  return CreateReader(REAL(vsl_adapter_create), "adapter.", iom, adapter, err);
}

vsl_code vsl_iom_format_create(void* iom, void** format, vsl_error_record* err) {
  const vsl_code code = CreateReader(REAL(vsl_iom_format_create), "format.", iom, format, err);
  return Recorded("vsl_iom_format_create", code, err);
}

vsl_code vsl_iom_attach_create(void* iom, void** job, vsl_error_record* err) {
  const vsl_code code = CreateJob(REAL(vsl_iom_attach_create), iom, job, err);
  return Recorded("vsl_iom_attach_create", code, err);
}

vsl_code vsl_iom_detach_create(void* iom, void** job, vsl_error_record* err) {
  const vsl_code code = CreateJob(REAL(vsl_iom_detach_create), iom, job, err);
  return Recorded("vsl_iom_detach_create", code, err);
}

#define GUARDED_VALUE(type, name)                               \
  type name(void* handle, vsl_error_record* err) {              \
    return ReadValue<type>(&#name[4], REAL(name), handle, err); \
  }
#define GUARDED_PAIR(type, name)      \
  GUARDED_VALUE(bool, vsl_has_##name) \
  GUARDED_VALUE(type, vsl_##name)
VSL_CARD_ATTRIBUTES(GUARDED_PAIR)
#undef GUARDED_PAIR
#define GUARDED_PAIR(type, name)                 \
  GUARDED_VALUE(bool, vsl_iom_format_has_##name) \
  GUARDED_VALUE(type, vsl_iom_format_##name)
VSL_FORMAT_ATTRIBUTES(GUARDED_PAIR)
#undef GUARDED_PAIR
GUARDED_VALUE(uint16_t, vsl_pci_device_id)
GUARDED_VALUE(uint32_t, vsl_reserve_status)
GUARDED_VALUE(bool, vsl_iom_format_has_size_mode)
GUARDED_VALUE(uint32_t, vsl_vsu_state)
GUARDED_VALUE(bool, vsl_has_vsu_state)
#undef GUARDED_VALUE

#define GUARDED_SETTER(type, name)                                    \
  vsl_code name(void* handle, type value, vsl_error_record* err) {    \
    const auto call = [value](void* real, vsl_error_record* record) { \
      return REAL(name)(real, value, record);                         \
    };                                                                \
    return Recorded(#name, CommandFor(handle, err, call), err);       \
  }
GUARDED_SETTER(uint32_t, vsl_set_beacon_state)
GUARDED_SETTER(uint32_t, vsl_set_vsu_state)
GUARDED_SETTER(uint32_t, vsl_iom_detach_set_force)
GUARDED_SETTER(uint32_t, vsl_iom_format_set_size_mode)
GUARDED_SETTER(uint64_t, vsl_iom_format_set_size_bytes)
GUARDED_SETTER(uint32_t, vsl_iom_format_set_size_pct)
GUARDED_SETTER(uint32_t, vsl_iom_format_set_sector_size_bytes)
#undef GUARDED_SETTER

bool vsl_vsu_iterate(void* iom, void** vsu, uint32_t which, vsl_error_record* err) {
  const GuardedHandlePtr card = CardGuard::Instance().Find(iom);
  if (!card || vsu == nullptr) return REAL(vsl_vsu_iterate)(iom, vsu, which, err);
  return NextVolume(card, vsu, which);
}

vsl_code vsl_op_start(void* job, vsl_error_record* err) {
  const auto call = [](void* real, vsl_error_record* record) {
    return REAL(vsl_op_start)(real, record);
  };
  return Recorded("vsl_op_start", CommandFor(job, err, call), err);
}

// This call has no time limit, because a job may take any time.
vsl_code vsl_op_wait_for_result(void* job, vsl_error_record* err) {
  const GuardedHandlePtr handle = CardGuard::Instance().Find(job);
  if (handle && handle->m_IsDetached) {
    return Recorded("vsl_op_wait_for_result", NotResponding(err), err);
  }
  void* const real = handle ? handle->m_Real.load() : job;
  return Recorded("vsl_op_wait_for_result", REAL(vsl_op_wait_for_result)(real, err), err);
}
