// Values that the plug-in reads from a card for each report.
#pragma once

#include "host/PluginInterface.h"

namespace Console {

// Whether the adapter has a value that the plug-in omits if it cannot open the card. All other
// values are from the last scan.
bool HasValueFromCard(const PI::CObject& adapter);

}  // namespace Console
