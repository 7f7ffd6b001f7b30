// The console's way to base/TrustedPath.h until it includes that itself.
#pragma once

#include "base/TrustedPath.h"

namespace HostKit {

using Base::ResolveTrusted;
using Base::TrustedPath;

}  // namespace HostKit
