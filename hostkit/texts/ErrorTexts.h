// What went wrong with a command, for people, and what to do about it.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/texts/TextRow.h"

namespace HostKit {

inline constexpr std::array kErrorTexts{
    ErrorRow{PI::SUCCESS, "The command was carried out.", ""},
    ErrorRow{PI::ERR_GENERAL, "The command could not be carried out.",
             "Run it again with --trace 2,16 to see what the card library said."},
    ErrorRow{PI::ERR_NO_SUPPORTED_HARDWARE, "No supported adapter was found in this machine.",
             "Look whether the card is seated and its driver loaded: lspci shows it, the kernel "
             "log tells of it."},
    ErrorRow{PI::ERR_INVALID_COMMAND, "The plug-in does not know this command.",
             "Host and plug-in do not fit: use versions that belong together."},
    ErrorRow{PI::ERR_COMMAND_ERROR, "The adapter did not carry out the command.",
             "Run it again with --trace 2,16 to see what the card library said; then look at the "
             "kernel log."},
    ErrorRow{PI::ERR_INVALID_PROPERTY, "The object has no such property, or it cannot be changed.",
             "See which properties the object has and which can be changed: corvane-host show."},
    ErrorRow{PI::ERR_INVALID_OPERATION, "The object does not allow this operation now.",
             "See which operations are possible now: corvane-host op list; the card may have to be "
             "attached or detached first."},
    ErrorRow{PI::ERR_MEMORY_ERROR, "There is nowhere to put the result of the command.",
             "The host asked in a wrong way; tell its maker."},
    ErrorRow{PI::ERR_INVALID_OBJECT_ID, "There is no object with this id.",
             "The object may have gone: see which ones there are with corvane-host tree."},
    ErrorRow{PI::ERR_LOCK_INITIALIZATION_FAILED, "The plug-in could not set up its locks.",
             "Free memory on the machine and start again."},
    ErrorRow{
        PI::ERR_API_INITIALIZATION_FAILED, "The adapters' management library could not be started.",
        "Look whether the cards' driver is loaded, and whether this user may reach its devices."},
    ErrorRow{PI::ERR_ADAPTER_BUSY, "The adapter is still busy with an earlier operation.",
             "Wait until the adapter has finished, and ask again."},
    ErrorRow{PI::ERR_LOCATE_IN_PROGRESS, "The locating light of the adapter is already on.",
             "Nothing: the light is on. Switch it off when the card is found."},
    ErrorRow{PI::ERR_NO_LOCATE_STARTED, "The locating light of the adapter is not on.",
             "Nothing: the light is off already."},
    ErrorRow{PI::ERR_PHYSICALDRIVE_NOT_AVAILABLE,
             "The physical drive is not available for this operation.",
             "See the drive's status; its card may have to be attached or detached first."},
};

constexpr bool ErrorsAdvise() {
  for (const ErrorRow& row : kErrorTexts) {
    if (row.m_Number != PI::SUCCESS && *row.m_Advice == 0) return false;
  }
  return true;
}

static_assert(NumbersRise(kErrorTexts) && ErrorsAdvise());

}  // namespace HostKit
