// Events as table rows and JSON.
#pragma once

#include <vector>

#include "console/model/Model.h"
#include "console/plugin/EventLogClient.h"
#include "console/render/CommandResult.h"

namespace Console {

// Returns the columns of event rows, wide enough for every event, because rows may be drawn one at
// a time.
const std::vector<Column>& EventColumns();

// Return an event as a table row and as an element of the JSON output. `object` is the object of
// the event, or null if the object was removed: the row then contains the serial number or, if the
// log has none, the object id, and the JSON contains null for `object` and `id`. The results do not
// refer to the arguments.
Row EventRow(const Object* object, const LoggedEvent& event);
Json EventJson(const Object* object, const LoggedEvent& event);

}  // namespace Console
