// A class of which there is one instance.
#pragma once

#include <memory>

#include "models/Visibility.h"

// `Kind` derives from this, makes it a friend and its own constructor private.
template <class Kind>
class CORVANE_API Singleton {
 public:
  // Made at the first call; any thread may make it.
  static std::shared_ptr<Kind> instance() {
    static const std::shared_ptr<Kind> only(new Kind);
    return only;
  }
};
