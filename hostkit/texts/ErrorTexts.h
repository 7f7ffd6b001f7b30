// The message of each return code, with advice for each failure.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/texts/TextRow.h"

namespace HostKit {

inline constexpr std::array kErrorTexts{
    ErrorRow{PI::SUCCESS, "The command succeeded.", ""},
    ErrorRow{PI::ERR_GENERAL, "The command failed.",
             "Run the command again with --trace 2,16 to see the card library's message."},
    ErrorRow{
        PI::ERR_NO_SUPPORTED_HARDWARE, "No supported adapter was found in this machine.",
        "Check that the card is seated and its driver is loaded: see lspci and the kernel log."},
    ErrorRow{PI::ERR_INVALID_COMMAND, "The plug-in does not know this command.",
             "The host and the plug-in do not match: install matching versions."},
    ErrorRow{
        PI::ERR_COMMAND_ERROR, "The adapter rejected the command.",
        "Run the command again with --trace 2,16 to see the card library's message, then check the "
        "kernel log."},
    ErrorRow{
        PI::ERR_INVALID_PROPERTY, "The object has no such property, or it cannot be changed.",
        "To list the object's properties and which of them can be changed, run corvane-host show."},
    ErrorRow{PI::ERR_INVALID_OPERATION, "The object does not allow this operation now.",
             "To list the operations that are possible now, run corvane-host op list. The card may "
             "have to be attached or detached first."},
    ErrorRow{PI::ERR_MEMORY_ERROR, "There is not enough memory to create the plug-in.",
             "Free memory on the machine and start again."},
    ErrorRow{PI::ERR_INVALID_OBJECT_ID, "There is no object with this id.",
             "The object may have been removed: list the objects with corvane-host tree."},
    ErrorRow{PI::ERR_LOCK_INITIALIZATION_FAILED, "The plug-in could not set up its locks.",
             "Free memory on the machine and start again."},
    ErrorRow{PI::ERR_API_INITIALIZATION_FAILED,
             "The adapters' management library could not be started.",
             "Check that the cards' driver is loaded and that this user may access its devices."},
    ErrorRow{PI::ERR_ADAPTER_BUSY, "The adapter is still busy with an earlier operation.",
             "Wait until the adapter has finished, then try again."},
    ErrorRow{PI::ERR_LOCATE_IN_PROGRESS, "The adapter's locate LED is already on.",
             "No action needed. Switch the locate LED off when you have found the card."},
    ErrorRow{PI::ERR_NO_LOCATE_STARTED, "The adapter's locate LED is already off.",
             "No action needed."},
    ErrorRow{PI::ERR_PHYSICALDRIVE_NOT_AVAILABLE,
             "The physical drive is not available for this operation.",
             "Check the drive's status; its card may have to be attached or detached first."},
};

constexpr bool FailuresHaveAdvice() {
  for (const ErrorRow& row : kErrorTexts) {
    if (row.m_Number != PI::SUCCESS && *row.m_Advice == 0) return false;
  }
  return true;
}

static_assert(NumbersAreAscending(kErrorTexts) && FailuresHaveAdvice());

}  // namespace HostKit
