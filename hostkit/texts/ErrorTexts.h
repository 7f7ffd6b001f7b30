// What went wrong with a command, for people.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/texts/Rows.h"

namespace HostKit {

inline constexpr std::array kErrorTexts{
    TextRow{PI::SUCCESS, "The command was carried out."},
    TextRow{PI::ERR_GENERAL, "The command could not be carried out."},
    TextRow{PI::ERR_NO_SUPPORTED_HARDWARE, "No supported adapter was found in this machine."},
    TextRow{PI::ERR_INVALID_COMMAND, "The plug-in does not know this command."},
    TextRow{PI::ERR_COMMAND_ERROR, "The adapter did not carry out the command."},
    TextRow{PI::ERR_INVALID_PROPERTY, "The object has no such property, or it cannot be changed."},
    TextRow{PI::ERR_INVALID_OPERATION, "The object does not allow this operation now."},
    TextRow{PI::ERR_MEMORY_ERROR, "There is nowhere to put the result of the command."},
    TextRow{PI::ERR_INVALID_OBJECT_ID, "There is no object with this id."},
    TextRow{PI::ERR_LOCK_INITIALIZATION_FAILED, "The plug-in could not set up its locks."},
    TextRow{PI::ERR_API_INITIALIZATION_FAILED,
            "The adapters' management library could not be started."},
    TextRow{PI::ERR_ADAPTER_BUSY, "The adapter is still busy with an earlier operation."},
    TextRow{PI::ERR_LOCATE_IN_PROGRESS, "The locating light of the adapter is already on."},
    TextRow{PI::ERR_NO_LOCATE_STARTED, "The locating light of the adapter is not on."},
    TextRow{PI::ERR_PHYSICALDRIVE_NOT_AVAILABLE,
            "The physical drive is not available for this operation."},
};

static_assert(NumbersRise(kErrorTexts));

}  // namespace HostKit
