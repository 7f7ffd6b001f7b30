// The reasons that an adapter tells with its status: how good the status can be with each, and what
// a person can do about it.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/texts/TextRow.h"

namespace HostKit {

inline constexpr PI::_VALUE_ID kOkStatus = PI::Value::OK;
inline constexpr PI::_VALUE_ID kWarningStatus = PI::Value::WARNING;
inline constexpr PI::_VALUE_ID kFailedStatus = PI::Value::FAILED;

inline constexpr std::array kReasonTexts{
    ReasonRow{PI::Value::STOPPED, kFailedStatus,
              "Restart the machine; if the card is stopped again, have it replaced."},
    ReasonRow{PI::Value::DETACHED, kWarningStatus,
              "Attach the card to make its drive available to the system."},
    ReasonRow{PI::Value::MISSING_MIDPROM, kFailedStatus,
              "Have the card replaced: it lacks a part of its identity."},
    ReasonRow{PI::Value::UNSUPPORTED_NAND, kFailedStatus,
              "Update firmware and driver; if that does not help, have the card replaced."},
    ReasonRow{PI::Value::DRIVER_OUT_OF_DATE, kFailedStatus,
              "Update the driver to one that knows this card."},
    ReasonRow{PI::Value::ATTACHED, kOkStatus, "Nothing: the drive is available to the system."},
    ReasonRow{PI::Value::FIRMWARE_OUT_OF_DATE, kFailedStatus,
              "Update the firmware of the card, then restart the machine."},
    ReasonRow{PI::Value::INSUFFICIENT_POWER, kFailedStatus,
              "Connect the card's external power, or move it to a slot that gives more."},
    ReasonRow{PI::Value::DUAL_PLANE_FAIL, kFailedStatus,
              "Save the data and have the card replaced."},
    ReasonRow{PI::Value::FORCED, kFailedStatus,
              "Somebody asked for minimal mode: take that setting back and restart the machine."},
    ReasonRow{
        PI::Value::INTERNAL, kFailedStatus,
        "Restart the machine; if it stays so, update the firmware or have the card replaced."},
    ReasonRow{PI::Value::CARD_LIMIT_EXCEEDED, kFailedStatus,
              "Take cards out until the driver can serve the rest."},
    ReasonRow{PI::Value::UNSUPPORTED_OS, kFailedStatus,
              "Run an operating system and kernel that the driver supports."},
    ReasonRow{PI::Value::INSUFFICIENT_MEMORY, kFailedStatus,
              "Give the machine more memory, or free some before the card is attached."},
    ReasonRow{PI::Value::SMP_BOOTLOADER_MODE, kFailedStatus,
              "Update the firmware of the card again: its last update did not end."},
    ReasonRow{PI::Value::MINIMAL_MODE, kFailedStatus,
              "See the driver's messages in the kernel log for what keeps the card from its work."},
    ReasonRow{PI::Value::THROT_BY_USER, kOkStatus,
              "Somebody asked for slow writes: take that setting back when it is not needed."},
    ReasonRow{PI::Value::THROT_NO_METADATA_BLOCKS, kOkStatus,
              "Save the data and have the card replaced."},
    ReasonRow{PI::Value::THROT_NO_MEMORY, kOkStatus,
              "Free memory on the machine: the driver needs more than it gets."},
    ReasonRow{PI::Value::THROT_CHIP_FAILURE, kOkStatus,
              "Save the data and have the card replaced."},
    ReasonRow{PI::Value::THROT_WEAROUT, kOkStatus,
              "Plan for a new card: this one has few writes left."},
    ReasonRow{PI::Value::THROT_POWER, kOkStatus,
              "Connect the card's external power, or move it to a slot that gives more."},
    ReasonRow{
        PI::Value::THROT_INTERNAL, kOkStatus,
        "Restart the machine; if it stays so, update the firmware or have the card replaced."},
    ReasonRow{PI::Value::THROT_POWER_LIMIT, kOkStatus,
              "Raise the card's power limit if its slot can give more."},
    ReasonRow{PI::Value::THROT_GROOMER_FAILURE, kOkStatus,
              "Write less for a while; if it stays so, save the data and have the card replaced."},
    ReasonRow{PI::Value::HARDWARE_FAILURE, kFailedStatus, "Have the card replaced."},
    ReasonRow{PI::Value::GENERAL_CHANNEL_INIT_FAIL, kFailedStatus,
              "Switch the machine off and on; if it stays so, have the card replaced."},
    ReasonRow{
        PI::Value::INTERNAL_ERROR, kFailedStatus,
        "Restart the machine; if the error returns, save the data and have the card replaced."},
    ReasonRow{PI::Value::INCOMPATIBLE_PCI_BANDWIDTH, kFailedStatus,
              "Move the card to a slot with as many lanes and as fast a link as it needs."},
    ReasonRow{PI::Value::PARTIAL_WRITE_THROTTLING, kFailedStatus,
              "Look for the cause among the other reasons, and write less until it is gone."},
    ReasonRow{PI::Value::COMPLETE_WRITE_THROTTLING, kFailedStatus,
              "Stop writing, save the data, and look for the cause among the other reasons."},
    ReasonRow{PI::Value::TEMPERATURE_NEAR_ERROR, kFailedStatus,
              "Check fans and airflow now, and take load off the card before it switches itself "
              "off."},
    ReasonRow{PI::Value::TEMPERATURE_ABOVE_ERROR, kFailedStatus,
              "Cool the card at once: take its load away, and repair fans and airflow."},
    ReasonRow{PI::Value::INTERNAL_VOLTAGE_OUT_OF_RANGE, kFailedStatus,
              "Check the machine's power supply; if it is well, have the card replaced."},
    ReasonRow{PI::Value::AUXILIARY_VOLTAGE_OUT_OF_RANGE, kFailedStatus,
              "Check the machine's power supply and the card's external power cable."},
    ReasonRow{PI::Value::FLASHBACK, kFailedStatus,
              "Save the data: a flash chip has failed. Have the card replaced soon."},
    ReasonRow{PI::Value::NONCORRECTABLE_PCI_ERRORS, kFailedStatus,
              "Seat the card anew or move it to another slot; if they go on, have it replaced."},
    ReasonRow{PI::Value::TEMPERATURE_ABOVE_WARN, kWarningStatus,
              "Check fans and airflow around the card, or take load off it."},
    ReasonRow{PI::Value::NEAR_WEARING_OUT, kWarningStatus,
              "Plan for a new card: this one has few writes left."},
    ReasonRow{PI::Value::NONOPTIMAL_PCI_BANDWIDTH, kWarningStatus,
              "The card works, but a slot with more lanes or a faster link would serve it better."},
    ReasonRow{PI::Value::CORRECTABLE_PCI_ERRORS, kWarningStatus,
              "Seat the card anew when the machine is next switched off; no data was harmed."},
    ReasonRow{
        PI::Value::NO_POWERLOSS_PROTECTION, kWarningStatus,
        "Do not rely on the card when power fails: have it replaced, or protect the machine."},
    ReasonRow{PI::Value::POWER_WRITE_REGULATION, kWarningStatus,
              "Connect the card's external power, or raise its power limit if its slot can give "
              "more."},
    ReasonRow{PI::Value::TEMPERATURE_WRITE_REGULATION, kWarningStatus,
              "Check fans and airflow around the card: it writes more slowly until it is cooler."},
    ReasonRow{PI::Value::LIFESPAN_WRITE_REGULATION, kWarningStatus,
              "Write less to this card, or plan for a new one sooner."},
    ReasonRow{
        PI::Value::MINIMAL, kWarningStatus,
        "See the other reasons for what keeps the card in minimal mode: its data is safe, but "
        "not available."},
    ReasonRow{PI::Value::PCI_OVERPOWER, kWarningStatus,
              "Lower the card's power limit, or move it to a slot that gives more."},
    ReasonRow{PI::Value::LEB_MAP_MISSING, kWarningStatus,
              "Attach the card, which makes the map anew and takes longer than usual."},
    ReasonRow{PI::Value::UPDATE_IN_PROGRESS, kWarningStatus,
              "Wait until the update has ended, and do not switch the machine off."},
    ReasonRow{PI::Value::RESERVES_DEPLETED, kWarningStatus,
              "Save the data and have the card replaced: soon it can only be read."},
    ReasonRow{PI::Value::UNACTIVATED_FIRMWARE, kOkStatus,
              "Restart the machine when it suits: the new firmware becomes active then."},
};

static_assert(NumbersRise(kReasonTexts));

}  // namespace HostKit
