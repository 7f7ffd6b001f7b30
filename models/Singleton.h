// A class of which there is one instance.
#pragma once

#include <memory>

#include "models/Visibility.h"

// `Kind` derives from this, declares it a friend and makes its own constructor private.
template <class Kind>
class CORVANE_API Singleton {
 public:
  // The one instance, never null, created by the first call. From any thread. The caller shares
  // ownership, so the instance may outlive this library's static objects.
  static std::shared_ptr<Kind> instance() {
    static const std::shared_ptr<Kind> only(new Kind);
    return only;
  }
};
