// The reasons for an adapter's status: the best status with each, and what a person can do about
// it.
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
              "Have the card replaced: part of its identity cannot be read."},
    ReasonRow{PI::Value::UNSUPPORTED_NAND, kFailedStatus,
              "Update the firmware and the driver; if that does not help, have the card replaced."},
    ReasonRow{PI::Value::DRIVER_OUT_OF_DATE, kFailedStatus,
              "Update the driver to a version that supports this card."},
    ReasonRow{PI::Value::ATTACHED, kOkStatus,
              "No action needed: the drive is available to the system."},
    ReasonRow{PI::Value::FIRMWARE_OUT_OF_DATE, kFailedStatus,
              "Update the firmware of the card, then restart the machine."},
    ReasonRow{PI::Value::INSUFFICIENT_POWER, kFailedStatus,
              "Connect the card's external power, or move the card to a slot that provides more."},
    ReasonRow{PI::Value::DUAL_PLANE_FAIL, kFailedStatus,
              "Back up the data and have the card replaced."},
    ReasonRow{PI::Value::FORCED, kFailedStatus,
              "Minimal mode was requested: remove that setting and restart the machine."},
    ReasonRow{PI::Value::INTERNAL, kFailedStatus,
              "Restart the machine; if that does not help, update the firmware or have the card "
              "replaced."},
    ReasonRow{PI::Value::CARD_LIMIT_EXCEEDED, kFailedStatus,
              "Remove cards until the driver supports the rest."},
    ReasonRow{PI::Value::UNSUPPORTED_OS, kFailedStatus,
              "Run an operating system and kernel that the driver supports."},
    ReasonRow{PI::Value::INSUFFICIENT_MEMORY, kFailedStatus,
              "Add memory to the machine, or free some before attaching the card."},
    ReasonRow{PI::Value::SMP_BOOTLOADER_MODE, kFailedStatus,
              "Update the firmware of the card again: the last update was not completed."},
    ReasonRow{PI::Value::MINIMAL_MODE, kFailedStatus,
              "Check the kernel log for the driver's messages about the cause."},
    ReasonRow{PI::Value::THROT_BY_USER, kOkStatus,
              "Slow writes were requested: remove that setting when it is no longer needed."},
    ReasonRow{PI::Value::THROT_NO_METADATA_BLOCKS, kOkStatus,
              "Back up the data and have the card replaced."},
    ReasonRow{PI::Value::THROT_NO_MEMORY, kOkStatus,
              "Free memory on the machine: the driver needs more."},
    ReasonRow{PI::Value::THROT_CHIP_FAILURE, kOkStatus,
              "Back up the data and have the card replaced."},
    ReasonRow{PI::Value::THROT_WEAROUT, kOkStatus,
              "Plan for a replacement: the card has few writes left."},
    ReasonRow{PI::Value::THROT_POWER, kOkStatus,
              "Connect the card's external power, or move the card to a slot that provides more."},
    ReasonRow{PI::Value::THROT_INTERNAL, kOkStatus,
              "Restart the machine; if that does not help, update the firmware or have the card "
              "replaced."},
    ReasonRow{PI::Value::THROT_POWER_LIMIT, kOkStatus,
              "Raise the card's power limit if its slot can provide more."},
    ReasonRow{PI::Value::THROT_GROOMER_FAILURE, kOkStatus,
              "Write less for a while; if that does not help, back up the data and have the card "
              "replaced."},
    ReasonRow{PI::Value::HARDWARE_FAILURE, kFailedStatus, "Have the card replaced."},
    ReasonRow{PI::Value::GENERAL_CHANNEL_INIT_FAIL, kFailedStatus,
              "Power-cycle the machine; if that does not help, have the card replaced."},
    ReasonRow{
        PI::Value::INTERNAL_ERROR, kFailedStatus,
        "Restart the machine; if the error recurs, back up the data and have the card replaced."},
    ReasonRow{PI::Value::INCOMPATIBLE_PCI_BANDWIDTH, kFailedStatus,
              "Move the card to a slot with enough lanes and a fast enough link."},
    ReasonRow{PI::Value::PARTIAL_WRITE_THROTTLING, kFailedStatus,
              "Check the other reasons for the cause, and write less until it is resolved."},
    ReasonRow{PI::Value::COMPLETE_WRITE_THROTTLING, kFailedStatus,
              "Stop writing, back up the data, and check the other reasons for the cause."},
    ReasonRow{PI::Value::TEMPERATURE_NEAR_ERROR, kFailedStatus,
              "Check fans and airflow now, and reduce the load on the card before it switches "
              "itself off."},
    ReasonRow{PI::Value::TEMPERATURE_ABOVE_ERROR, kFailedStatus,
              "Cool the card immediately: stop its load, and fix fans and airflow."},
    ReasonRow{PI::Value::INTERNAL_VOLTAGE_OUT_OF_RANGE, kFailedStatus,
              "Check the machine's power supply; if it is fine, have the card replaced."},
    ReasonRow{PI::Value::AUXILIARY_VOLTAGE_OUT_OF_RANGE, kFailedStatus,
              "Check the machine's power supply and the card's external power cable."},
    ReasonRow{PI::Value::FLASHBACK, kFailedStatus,
              "Back up the data: a flash chip has failed. Have the card replaced soon."},
    ReasonRow{
        PI::Value::NONCORRECTABLE_PCI_ERRORS, kFailedStatus,
        "Reseat the card or move it to another slot; if the errors continue, have it replaced."},
    ReasonRow{PI::Value::TEMPERATURE_ABOVE_WARN, kWarningStatus,
              "Check fans and airflow around the card, or reduce its load."},
    ReasonRow{PI::Value::NEAR_WEARING_OUT, kWarningStatus,
              "Plan for a replacement: the card has few writes left."},
    ReasonRow{PI::Value::NONOPTIMAL_PCI_BANDWIDTH, kWarningStatus,
              "The card works, but would be faster in a slot with more lanes or a faster link."},
    ReasonRow{PI::Value::CORRECTABLE_PCI_ERRORS, kWarningStatus,
              "Reseat the card when the machine is next switched off; no data was lost."},
    ReasonRow{PI::Value::NO_POWERLOSS_PROTECTION, kWarningStatus,
              "Do not rely on the card during a power failure: have it replaced, or protect the "
              "machine."},
    ReasonRow{PI::Value::POWER_WRITE_REGULATION, kWarningStatus,
              "Connect the card's external power, or raise its power limit if its slot can provide "
              "more."},
    ReasonRow{
        PI::Value::TEMPERATURE_WRITE_REGULATION, kWarningStatus,
        "Check fans and airflow around the card: it writes more slowly until it has cooled down."},
    ReasonRow{PI::Value::LIFESPAN_WRITE_REGULATION, kWarningStatus,
              "Write less to this card, or plan to replace it sooner."},
    ReasonRow{PI::Value::MINIMAL, kWarningStatus,
              "Check the other reasons for the cause of minimal mode: the data is safe, but not "
              "available."},
    ReasonRow{PI::Value::PCI_OVERPOWER, kWarningStatus,
              "Lower the card's power limit, or move the card to a slot that provides more."},
    ReasonRow{PI::Value::LEB_MAP_MISSING, kWarningStatus,
              "Attach the card; that rebuilds the block map and takes longer than usual."},
    ReasonRow{PI::Value::UPDATE_IN_PROGRESS, kWarningStatus,
              "Wait until the update has finished, and do not switch the machine off."},
    ReasonRow{PI::Value::RESERVES_DEPLETED, kWarningStatus,
              "Back up the data and have the card replaced: it will soon be read-only."},
    ReasonRow{PI::Value::UNACTIVATED_FIRMWARE, kOkStatus,
              "Restart the machine at a convenient time to activate the new firmware."},
};

static_assert(NumbersRise(kReasonTexts));

}  // namespace HostKit
