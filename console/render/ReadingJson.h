// Measured values and limits of reasons in JSON.
#pragma once

#include "console/model/Health.h"
#include "console/render/CommandResult.h"

namespace Console {

// Returns the name and value of a reading; null if there is none.
Json ReadingJson(const Reading& reading);

}  // namespace Console
