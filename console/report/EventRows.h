// Events as table rows and JSON.
#pragma once

#include <vector>

#include "console/model/Model.h"
#include "console/plugin/EventLogClient.h"
#include "console/render/CommandResult.h"

namespace Console {

// The columns of a row, wide enough for every event, because rows may be drawn one at a time.
const std::vector<Column>& EventColumns();

// The event as a row of those columns, and as an object with the fields of the JSON output.
// `object` is the object of the event, or null if it is gone: the row then has the serial number
// from the log, else the id, and the JSON object has null for `object` and `id`. Both use the
// arguments only during the call.
Row EventRow(const Object* object, const LoggedEvent& event);
Json EventJson(const Object* object, const LoggedEvent& event);

}  // namespace Console
