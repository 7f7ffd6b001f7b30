// A base class for singletons.
#pragma once

#include <memory>

#include "models/Visibility.h"

// `Kind` derives from `Singleton<Kind>`, declares it a friend and has a private constructor.
template <class Kind>
class CORVANE_API Singleton {
 public:
  // Returns the instance, never null. The first call creates it. Thread-safe. The caller shares
  // ownership, so the instance may outlive the static objects of this library.
  static std::shared_ptr<Kind> instance() {
    static const std::shared_ptr<Kind> only(new Kind);
    return only;
  }
};
