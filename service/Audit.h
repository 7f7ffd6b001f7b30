// Descriptions of changes for the log of the service.
#pragma once

#include <string>

#include "console/plugin/PluginCommand.h"
#include "service/JobTable.h"
#include "service/Snapshot.h"

namespace Service {

// Returns the operation or property, the object and the arguments: "OP_FORMAT_DEVICE on a1/d0
// (FA00000002, 0x0130000000000004), FORMATTING=CUSTOM, SIZE=80". The id is written as everywhere
// else. Parts that the snapshot does not know are left out.
std::string ChangeText(const Snapshot& snapshot, const Console::PluginCommand& command);

// Returns the operation, the card, the user and the result of a job that has ended: "format of a1
// (FA00000002) by root has failed after 0:12: the card rejected the command".
std::string JobEndText(const Snapshot& snapshot, const Job& job);

// Returns the cause in a problem document; empty if there is none.
std::string CauseOf(const nlohmann::ordered_json& problem);

}  // namespace Service
