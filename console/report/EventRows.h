// An event in the forms in which commands show it.
#pragma once

#include <vector>

#include "console/model/Model.h"
#include "console/plugin/EventHistory.h"
#include "console/render/CommandResult.h"

namespace Console {

// The columns of a row, wide enough for every event: they are also drawn one by one as they come.
const std::vector<Column>& EventColumns();

// `object` is what the event is about, or null when that has gone.
Row EventRow(const Object* object, const LoggedEvent& event);
Json EventJson(const Object* object, const LoggedEvent& event);

}  // namespace Console
