// A card that has been seen on this machine.
#pragma once

#include "console/model/CardRecords.h"

namespace Service {

using Console::KnownCard;

}  // namespace Service
