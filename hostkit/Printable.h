// The console's way to base/Printable.h until it includes that itself.
#pragma once

#include "base/Printable.h"

namespace HostKit {

using Base::Printable;
using Base::PrintableJson;

}  // namespace HostKit
