// An event in the forms in which commands show it.
#pragma once

#include <vector>

#include "console/Answer.h"
#include "console/History.h"
#include "console/Model.h"

namespace Console {

// The columns of a row, wide enough for every event: they are also drawn one by one as they come.
const std::vector<Column>& EventColumns();

// `object` is what the event is about, or null when that has gone.
Row EventRow(const Object* object, const LoggedEvent& event);
Json EventJson(const Object* object, const LoggedEvent& event);

// "information", "warning", "error" or "unknown".
const char* SeverityName(std::uint32_t severity);

// How bad the event is.
Tone EventTone(const LoggedEvent& event);

}  // namespace Console
