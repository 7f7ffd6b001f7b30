// The exceptions that leave a statement of a plug-in.
#pragma once

#include <cxxabi.h>

#include <exception>
#include <new>

#include "host/Database.h"

namespace HostKit {

// In a handler: throws the current exception as the layer's. The layer above catches no other, so
// any other would end the host. Cancellations pass.
[[noreturn]] inline void ThrowAsDatabaseException() {
  try {
    try {
      throw;
    } catch (const DBEXCEPTION::DatabaseException&) {
      throw;
    } catch (const abi::__forced_unwind&) {
      throw;
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception& exception) {
      throw DBEXCEPTION::DatabaseException(exception.what());
    } catch (...) {
      throw DBEXCEPTION::DatabaseException("unknown error");
    }
  } catch (const std::bad_alloc&) {
    // Also if copying a text ran out of memory. This text is short enough to need none.
    throw DBEXCEPTION::DatabaseException("out of memory");
  }
}

}  // namespace HostKit
