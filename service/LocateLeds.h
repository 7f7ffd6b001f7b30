// The locate LEDs that clients have switched on. A plug-in switches all LEDs off when it starts, so
// the service switches these on again after it has restarted the plug-in process.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "console/plugin/Session.h"

namespace Service {

// Cards are identified by serial number, because object ids change with the plug-in process, which
// is identified by its process ID. Thread-safe; no lock is held while the plug-in is called.
class LocateLeds {
 public:
  using Warn = std::function<void(const std::string&)>;

  // Records an operation that succeeded in `process`. Operations other than those of the LED, and
  // cards without a serial number, are ignored.
  void Record(const std::string& serial, std::uint32_t operation, pid_t process);
  // Forgets the LEDs of removed cards. `objects` contains all cards, except those with the serial
  // numbers `omitted`, which cannot be read.
  void ForgetRemoved(const std::vector<PI::CObject>& objects, const std::set<std::string>& omitted);
  // Switches on the LEDs that were switched on in another process, each at most once per process,
  // except those of the cards with the serial numbers `omitted`, which cannot be read.
  // An LED that cannot be switched on in three processes in a row is forgotten, and `warn` is
  // called with a message. Throws what the session throws.
  void Restore(Console::Session& session, const std::set<std::string>& omitted, pid_t process,
               const Warn& warn);
  std::size_t Count() const;

 private:
  struct Led {
    pid_t m_Process;     // the last process that switched it on or failed to
    int m_Failures = 0;  // number of processes in a row in which it could not be switched on
  };

  std::vector<std::string> SwitchedOff(pid_t process) const;
  bool NoteSuccess(const std::string& serial, pid_t process);
  void NoteFailure(const std::string& serial, pid_t process, const Warn& warn);

  mutable Base::Mutex m_Lock;
  std::map<std::string, Led> m_Leds HOST_GUARDED_BY(m_Lock);  // by serial number
};

}  // namespace Service
