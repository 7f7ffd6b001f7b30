// Text that is safe to write to a terminal.
#pragma once

#include "hostkit/Printable.h"

namespace Console {

using HostKit::Printable;

}  // namespace Console
