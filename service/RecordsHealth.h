// Whether the stored records of the known cards can be read.
#pragma once

#include <string>
#include <utility>

#include "base/Mutex.h"

namespace Service {

// Thread-safe.
class RecordsHealth {
 public:
  // Sets why the records cannot be read; empty if they can be read.
  void Set(std::string cause) {
    const Base::MutexLock lock(m_Lock);
    m_Cause = std::move(cause);
  }
  std::string Cause() const {
    const Base::MutexLock lock(m_Lock);
    return m_Cause;
  }

 private:
  mutable Base::Mutex m_Lock;
  std::string m_Cause HOST_GUARDED_BY(m_Lock);
};

}  // namespace Service
