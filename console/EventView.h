// An event in the forms in which commands show it.
#pragma once

#include <vector>

#include "console/Answer.h"
#include "console/Model.h"

namespace Console {

// The columns of a row, wide enough for every event: they are also drawn one by one as they come.
const std::vector<Column>& EventColumns();

Row EventRow(const Model& model, const PI::CEvent& event);
Json EventJson(const Model& model, const PI::CEvent& event);

// "information", "warning", "error" or "unknown".
const char* SeverityName(std::uint32_t severity);

// How bad the event is.
Tone EventTone(const PI::CEvent& event);

}  // namespace Console
