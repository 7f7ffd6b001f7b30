// What leaves a statement of a plug-in.
#pragma once

#include <cxxabi.h>

#include <exception>
#include <new>

#include "host/Database.h"

namespace HostKit {

// In a handler: throws what is being handled as the layer's exception. The layer above knows no
// other one, and whatever else leaves a statement ends the host.
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
    // Also when it was the copy of a text that found none. This one is short enough to need none.
    throw DBEXCEPTION::DatabaseException("out of memory");
  }
}

}  // namespace HostKit
