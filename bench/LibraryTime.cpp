// Intercepts the plug-in's calls to the card library with wrappers that measure the time and call
// the library's function. The loader finds the definitions in the executable first.
#include "bench/LibraryTime.h"

#include <dlfcn.h>

#include <atomic>

#include "host/vsl_abstraction.h"

namespace CorvaneBench {
namespace {

std::atomic<Clock::rep> g_TimeInCalls{0};

class CallTimer {
 public:
  CallTimer() = default;
  ~CallTimer() { g_TimeInCalls += (Clock::now() - m_Begin).count(); }
  CallTimer(const CallTimer&) = delete;
  CallTimer& operator=(const CallTimer&) = delete;

 private:
  const Clock::time_point m_Begin = Clock::now();
};

template <class Function>
Function* Next(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

Clock::duration TimeInLibrary() {
  return Clock::duration(g_TimeInCalls.load());
}

}  // namespace CorvaneBench

#define WRAP(result, name, parameters, arguments)             \
  extern "C" result name parameters {                         \
    static const auto next = CorvaneBench::Next(name, #name); \
    const CorvaneBench::CallTimer timer;                      \
    return next arguments;                                    \
  }
#define WRAP_READ(type, name) WRAP(type, name, (void* handle, vsl_error_record* err), (handle, err))
#define WRAP_NUMBER(name, Number) \
  WRAP(vsl_code, name, (void* handle, Number number, vsl_error_record* err), (handle, number, err))
#define WRAP_CREATE(name) \
  WRAP(vsl_code, name, (void* handle, void** out, vsl_error_record* err), (handle, out, err))

#define WRAP_CARD_PAIR(type, name) WRAP_READ(bool, vsl_has_##name) WRAP_READ(type, vsl_##name)
VSL_CARD_ATTRIBUTES(WRAP_CARD_PAIR)
#define WRAP_FORMAT_PAIR(type, name)         \
  WRAP_READ(bool, vsl_iom_format_has_##name) \
  WRAP_READ(type, vsl_iom_format_##name)
VSL_FORMAT_ATTRIBUTES(WRAP_FORMAT_PAIR)
WRAP_READ(std::uint16_t, vsl_pci_device_id)
WRAP_READ(std::uint32_t, vsl_reserve_status)
WRAP_READ(bool, vsl_iom_format_has_size_mode)
WRAP_READ(std::uint32_t, vsl_vsu_state)
WRAP_READ(bool, vsl_has_vsu_state)

WRAP(vsl_code, vsl_init, (std::uint64_t flags, vsl_error_record* err), (flags, err))
WRAP(void, vsl_fini, (), ())
WRAP(bool, vsl_iom_iterate, (void** iom, std::uint32_t which, vsl_error_record* err),
     (iom, which, err))
WRAP(bool, vsl_vsu_iterate, (void* iom, void** vsu, std::uint32_t which, vsl_error_record* err),
     (iom, vsu, which, err))
WRAP(vsl_code, vsl_iom_create_by_name, (const char* path, void** iom, vsl_error_record* err),
     (path, iom, err))
WRAP(vsl_code, vsl_destroy, (void** handle, vsl_error_record* err), (handle, err))
WRAP_READ(vsl_code, vsl_open)
WRAP_READ(vsl_code, vsl_close)
WRAP_READ(vsl_code, vsl_op_start)
WRAP_READ(vsl_code, vsl_op_wait_for_result)
WRAP_CREATE(vsl_adapter_create)
WRAP_CREATE(vsl_iom_attach_create)
WRAP_CREATE(vsl_iom_detach_create)
WRAP_CREATE(vsl_iom_format_create)
WRAP_NUMBER(vsl_set_beacon_state, std::uint32_t)
WRAP_NUMBER(vsl_set_vsu_state, std::uint32_t)
WRAP_NUMBER(vsl_iom_detach_set_force, std::uint32_t)
WRAP_NUMBER(vsl_iom_format_set_size_mode, std::uint32_t)
WRAP_NUMBER(vsl_iom_format_set_size_bytes, std::uint64_t)
WRAP_NUMBER(vsl_iom_format_set_size_pct, std::uint32_t)
WRAP_NUMBER(vsl_iom_format_set_sector_size_bytes, std::uint32_t)
