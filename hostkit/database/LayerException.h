// Conversion of the exceptions thrown by a plug-in's statement.
#pragma once

#include <cxxabi.h>

#include <exception>
#include <new>

#include "host/Database.h"

namespace HostKit {

// Call in a catch handler. Throws the current exception as a `DatabaseException`: the persistence
// layer catches no other type, so any other exception would terminate the host. A thread
// cancellation continues unchanged.
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
    // Also reached if copying a message ran out of memory. This message is too short to need an
    // allocation.
    throw DBEXCEPTION::DatabaseException("out of memory");
  }
}

}  // namespace HostKit
