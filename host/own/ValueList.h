// Lists of the values of choices. Identifiers.h generates enumerators from them, and the host kit
// its captions and advice.
//
// The host defines the numbers: entries may be added, but never renumbered.
#pragma once

// clang-format off

// Values of choices: identifier, number, name and caption. The identifier equals the name, except
// for names that are not valid in C++, such as "512B".
#define PI_VALUES(X) \
  X(OK, 40024, "OK", "OK") \
  X(BUSY, 40025, "BUSY", "Busy") \
  X(_512B, 40046, "512B", "512 bytes") \
  X(_1K, 40047, "1K", "1 KiB") \
  X(_2K, 40048, "2K", "2 KiB") \
  X(_4K, 40049, "4K", "4 KiB") \
  X(_8K, 40050, "8K", "8 KiB") \
  X(FAILED, 40095, "FAILED", "Failed") \
  X(AVAILABLE, 40099, "AVAILABLE", "Available") \
  X(IDLE, 40102, "IDLE", "Idle") \
  X(STOPPED, 40128, "STOPPED", "Stopped") \
  X(WARNING, 40150, "WARNING", "Warning") \
  X(AVAILABLE_SMART, 40180, "AVAILABLE_SMART", "Available, failure predicted") \
  X(PCI_X, 40199, "PCI_X", "PCI-X") \
  X(PCI_EXPRESS, 40200, "PCI_EXPRESS", "PCI Express") \
  X(NONE, 40252, "NONE", "None") \
  X(LOGICAL_DRIVE_DEGRADED, 40266, "LOGICAL_DRIVE_DEGRADED", "Logical drive degraded") \
  X(HDD, 40292, "HDD", "Hard disk") \
  X(SSD, 40293, "SSD", "Solid-state drive") \
  X(CUSTOM, 40300, "CUSTOM", "Custom") \
  X(DETACHED, 40387, "DETACHED", "Detached") \
  X(ATTACHING, 40388, "ATTACHING", "Attaching") \
  X(MISSING_MIDPROM, 40389, "MISSING_MIDPROM", "Midprom missing") \
  X(UNSUPPORTED_NAND, 40390, "UNSUPPORTED_NAND", "Flash memory not supported") \
  X(DETACHING, 40391, "DETACHING", "Detaching") \
  X(DRIVER_OUT_OF_DATE, 40392, "DRIVER_OUT_OF_DATE", "Driver out of date") \
  X(ATTACHED, 40393, "ATTACHED", "Attached") \
  X(FIRMWARE_OUT_OF_DATE, 40394, "FIRMWARE_OUT_OF_DATE", "Firmware out of date") \
  X(INSUFFICIENT_POWER, 40395, "INSUFFICIENT_POWER", "Not enough power") \
  X(DUAL_PLANE_FAIL, 40396, "DUAL_PLANE_FAIL", "Dual-plane failure") \
  X(FORCED, 40397, "FORCED", "Forced") \
  X(INTERNAL, 40398, "INTERNAL", "Internal reason") \
  X(CARD_LIMIT_EXCEEDED, 40399, "CARD_LIMIT_EXCEEDED", "Too many cards in this machine") \
  X(UNSUPPORTED_OS, 40400, "UNSUPPORTED_OS", "Operating system not supported") \
  X(INSUFFICIENT_MEMORY, 40401, "INSUFFICIENT_MEMORY", "Not enough memory") \
  X(SMP_BOOTLOADER_MODE, 40402, "SMP_BOOTLOADER_MODE", "SMP in boot loader mode") \
  X(MINIMAL_MODE, 40403, "MINIMAL_MODE", "Minimal mode") \
  X(MAXIMUM_CAPACITY, 40404, "MAXIMUM_CAPACITY", "Maximum capacity") \
  X(FACTORY_CAPACITY, 40405, "FACTORY_CAPACITY", "Factory capacity") \
  X(IMPROVED_PERFORMANCE, 40406, "IMPROVED_PERFORMANCE", "Improved performance") \
  X(HIGH_PERFORMANCE, 40407, "HIGH_PERFORMANCE", "High performance") \
  X(PARTIAL, 40410, "PARTIAL", "Partial") \
  X(COMPLETE, 40411, "COMPLETE", "Complete") \
  X(THROT_BY_USER, 40412, "THROT_BY_USER", "Writes throttled by the user") \
  X(THROT_NO_METADATA_BLOCKS, 40413, "THROT_NO_METADATA_BLOCKS", "Writes throttled: no metadata blocks left") \
  X(THROT_NO_MEMORY, 40414, "THROT_NO_MEMORY", "Writes throttled: not enough memory") \
  X(THROT_CHIP_FAILURE, 40415, "THROT_CHIP_FAILURE", "Writes throttled: chip failure") \
  X(THROT_WEAROUT, 40416, "THROT_WEAROUT", "Writes throttled: worn out") \
  X(THROT_POWER, 40417, "THROT_POWER", "Writes throttled: power") \
  X(THROT_INTERNAL, 40418, "THROT_INTERNAL", "Writes throttled: internal reason") \
  X(THROT_POWER_LIMIT, 40419, "THROT_POWER_LIMIT", "Writes throttled: power limit reached") \
  X(THROT_GROOMER_FAILURE, 40420, "THROT_GROOMER_FAILURE", "Writes throttled: groomer failure") \
  X(HARDWARE_FAILURE, 40421, "HARDWARE_FAILURE", "Hardware failure") \
  X(GENERAL_CHANNEL_INIT_FAIL, 40422, "GENERAL_CHANNEL_INIT_FAIL", "Channel initialization failed") \
  X(INTERNAL_ERROR, 40449, "INTERNAL_ERROR", "Internal error") \
  X(INCOMPATIBLE_PCI_BANDWIDTH, 40450, "INCOMPATIBLE_PCI_BANDWIDTH", "PCI bandwidth not compatible") \
  X(PARTIAL_WRITE_THROTTLING, 40451, "PARTIAL_WRITE_THROTTLING", "Writes throttled") \
  X(COMPLETE_WRITE_THROTTLING, 40452, "COMPLETE_WRITE_THROTTLING", "Writes throttled almost completely") \
  X(TEMPERATURE_NEAR_ERROR, 40453, "TEMPERATURE_NEAR_ERROR", "Temperature close to its maximum") \
  X(TEMPERATURE_ABOVE_ERROR, 40454, "TEMPERATURE_ABOVE_ERROR", "Temperature above its maximum") \
  X(INTERNAL_VOLTAGE_OUT_OF_RANGE, 40455, "INTERNAL_VOLTAGE_OUT_OF_RANGE", "Internal voltage out of range") \
  X(AUXILIARY_VOLTAGE_OUT_OF_RANGE, 40456, "AUXILIARY_VOLTAGE_OUT_OF_RANGE", "Auxiliary voltage out of range") \
  X(FLASHBACK, 40457, "FLASHBACK", "Flashback error") \
  X(NONCORRECTABLE_PCI_ERRORS, 40458, "NONCORRECTABLE_PCI_ERRORS", "Uncorrectable PCI errors") \
  X(TEMPERATURE_ABOVE_WARN, 40459, "TEMPERATURE_ABOVE_WARN", "Temperature above its warning threshold") \
  X(NEAR_WEARING_OUT, 40460, "NEAR_WEARING_OUT", "Nearly worn out") \
  X(NONOPTIMAL_PCI_BANDWIDTH, 40461, "NONOPTIMAL_PCI_BANDWIDTH", "PCI bandwidth not optimal") \
  X(CORRECTABLE_PCI_ERRORS, 40462, "CORRECTABLE_PCI_ERRORS", "PCI errors corrected") \
  X(NO_POWERLOSS_PROTECTION, 40463, "NO_POWERLOSS_PROTECTION", "No protection against power loss") \
  X(POWER_WRITE_REGULATION, 40464, "POWER_WRITE_REGULATION", "Writes regulated to limit power") \
  X(TEMPERATURE_WRITE_REGULATION, 40465, "TEMPERATURE_WRITE_REGULATION", "Writes regulated because of temperature") \
  X(LIFESPAN_WRITE_REGULATION, 40466, "LIFESPAN_WRITE_REGULATION", "Writes regulated to reach planned lifetime") \
  X(MINIMAL, 40467, "MINIMAL", "Running in minimal mode") \
  X(PCI_OVERPOWER, 40468, "PCI_OVERPOWER", "Power draw above the slot's rating") \
  X(LEB_MAP_MISSING, 40469, "LEB_MAP_MISSING", "Block map missing") \
  X(UPDATE_IN_PROGRESS, 40470, "UPDATE_IN_PROGRESS", "Update in progress") \
  X(RESERVES_DEPLETED, 40471, "RESERVES_DEPLETED", "Reserve space used up") \
  X(HEALTHY, 40473, "HEALTHY", "Healthy") \
  X(DEPLETED, 40474, "DEPLETED", "Used up") \
  X(PINNED_CACHE, 40479, "PINNED_CACHE", "Pinned cache") \
  X(PCI_EXPRESS_SSD_AIC, 40480, "PCI_EXPRESS_SSD_AIC", "PCI Express solid-state add-in card") \
  X(OPTIONAL, 40484, "OPTIONAL", "Optional") \
  X(REQUIRED, 40485, "REQUIRED", "Required") \
  X(UNACTIVATED_FIRMWARE, 40486, "UNACTIVATED_FIRMWARE", "New firmware not active yet")

// Values that are reasons for an adapter's status, in the order of their numbers: value, the least
// severe status that the reason allows, meaning, and advice.
#define PI_REASONS(X) \
  X(STOPPED, kFailedStatus, \
    "The card has been stopped and does not work.", \
    "Restart the machine; if the card is stopped again, have it replaced.") \
  X(DETACHED, kWarningStatus, \
    "The card's drive is not available to the system.", \
    "Attach the card to make its drive available to the system.") \
  X(MISSING_MIDPROM, kFailedStatus, \
    "Minimal mode: the memory that holds the card's identity cannot be read.", \
    "Have the card replaced: part of its identity cannot be read.") \
  X(UNSUPPORTED_NAND, kFailedStatus, \
    "Minimal mode: the firmware or the driver does not support the card's flash memory.", \
    "Update the firmware and the driver; if that does not help, have the card replaced.") \
  X(DRIVER_OUT_OF_DATE, kFailedStatus, \
    "Minimal mode: the driver is too old for the card.", \
    "Update the driver to a version that supports this card.") \
  X(ATTACHED, kOkStatus, \
    "The card's drive is available to the system.", \
    "No action needed: the drive is available to the system.") \
  X(FIRMWARE_OUT_OF_DATE, kFailedStatus, \
    "Minimal mode: the firmware is too old for the driver.", \
    "Update the firmware of the card, then restart the machine.") \
  X(INSUFFICIENT_POWER, kFailedStatus, \
    "Minimal mode: the card does not get enough power.", \
    "Connect the card's external power, or move the card to a slot that provides more.") \
  X(DUAL_PLANE_FAIL, kFailedStatus, \
    "Minimal mode: the card cannot use its flash memory as configured.", \
    "Back up the data and have the card replaced.") \
  X(FORCED, kFailedStatus, \
    "Minimal mode: requested when the driver was loaded.", \
    "Minimal mode was requested: remove that setting and restart the machine.") \
  X(INTERNAL, kFailedStatus, \
    "Minimal mode: the card has an internal fault.", \
    "Restart the machine; if that does not help, update the firmware or have the card " \
    "replaced.") \
  X(CARD_LIMIT_EXCEEDED, kFailedStatus, \
    "Minimal mode: the machine has more cards than the driver supports.", \
    "Remove cards until the driver supports the rest.") \
  X(UNSUPPORTED_OS, kFailedStatus, \
    "Minimal mode: the driver does not support this operating system.", \
    "Run an operating system and kernel that the driver supports.") \
  X(INSUFFICIENT_MEMORY, kFailedStatus, \
    "Minimal mode: the machine does not have enough memory for the driver.", \
    "Add memory to the machine, or free some before attaching the card.") \
  X(SMP_BOOTLOADER_MODE, kFailedStatus, \
    "Minimal mode: the card's management processor is waiting for its firmware.", \
    "Update the firmware of the card again: the last update was not completed.") \
  X(MINIMAL_MODE, kFailedStatus, \
    "The card can be managed, but its data cannot be accessed.", \
    "Check the kernel log for the driver's messages about the cause.") \
  X(THROT_BY_USER, kOkStatus, \
    "Writes are throttled because a user requested it.", \
    "Change the throttling setting of the card to restore full write speed.") \
  X(THROT_NO_METADATA_BLOCKS, kOkStatus, \
    "Writes are throttled: the card has no blocks left for metadata.", \
    "Back up the data and have the card replaced.") \
  X(THROT_NO_MEMORY, kOkStatus, \
    "Writes are throttled: the driver does not have enough memory.", \
    "Free up memory on the machine so that the driver can allocate more.") \
  X(THROT_CHIP_FAILURE, kOkStatus, \
    "Writes are throttled: a flash chip has failed.", \
    "Back up the data and have the card replaced.") \
  X(THROT_WEAROUT, kOkStatus, \
    "Writes are throttled: the flash memory is worn out.", \
    "Plan for a replacement: the card has few writes left.") \
  X(THROT_POWER, kOkStatus, \
    "Writes are throttled: the card does not get enough power.", \
    "Connect the card's external power, or move the card to a slot that provides more.") \
  X(THROT_INTERNAL, kOkStatus, \
    "Writes are throttled because of an internal condition of the card.", \
    "Restart the machine; if that does not help, update the firmware or have the card " \
    "replaced.") \
  X(THROT_POWER_LIMIT, kOkStatus, \
    "Writes are throttled: the card has reached its power limit.", \
    "Raise the card's power limit if its slot can provide more.") \
  X(THROT_GROOMER_FAILURE, kOkStatus, \
    "Writes are throttled: garbage collection on the card cannot keep up.", \
    "Reduce the write load; if that does not help, back up the data and have the card " \
    "replaced.") \
  X(HARDWARE_FAILURE, kFailedStatus, \
    "A hardware component of the card has failed.", \
    "Have the card replaced.") \
  X(GENERAL_CHANNEL_INIT_FAIL, kFailedStatus, \
    "The card could not initialize the channels to its flash memory.", \
    "Power-cycle the machine; if that does not help, have the card replaced.") \
  X(INTERNAL_ERROR, kFailedStatus, \
    "The card has an internal error.", \
    "Restart the machine; if the error recurs, back up the data and have the card replaced.") \
  X(INCOMPATIBLE_PCI_BANDWIDTH, kFailedStatus, \
    "The slot has too few lanes, or is too slow, for the card to work.", \
    "Move the card to a slot with enough lanes and a fast enough link.") \
  X(PARTIAL_WRITE_THROTTLING, kFailedStatus, \
    "The card is throttling writes.", \
    "Check the other status reasons to find the cause; reduce the write load until it is fixed.") \
  X(COMPLETE_WRITE_THROTTLING, kFailedStatus, \
    "The card is throttling writes almost completely.", \
    "Stop writing, back up the data, and check the other status reasons to find the cause.") \
  X(TEMPERATURE_NEAR_ERROR, kFailedStatus, \
    "The card is close to its maximum temperature.", \
    "Check fans and airflow now, and reduce the load on the card.") \
  X(TEMPERATURE_ABOVE_ERROR, kFailedStatus, \
    "The card is above its maximum temperature.", \
    "Cool the card immediately: stop its load, and fix fans and airflow.") \
  X(INTERNAL_VOLTAGE_OUT_OF_RANGE, kFailedStatus, \
    "A voltage inside the card is too high or too low.", \
    "Check the machine's power supply; if it is fine, have the card replaced.") \
  X(AUXILIARY_VOLTAGE_OUT_OF_RANGE, kFailedStatus, \
    "The voltage of the card's auxiliary supply is too high or too low.", \
    "Check the machine's power supply and the card's external power cable.") \
  X(FLASHBACK, kFailedStatus, \
    "A flash chip has failed, and the card has lost its redundancy.", \
    "Back up the data: a flash chip has failed. Have the card replaced soon.") \
  X(NONCORRECTABLE_PCI_ERRORS, kFailedStatus, \
    "Transfers between machine and card have failed, and retries have not succeeded.", \
    "Reseat the card or move it to another slot; if the errors continue, have it replaced.") \
  X(TEMPERATURE_ABOVE_WARN, kWarningStatus, \
    "The card is above its warning temperature.", \
    "Check fans and airflow around the card, or reduce its load.") \
  X(NEAR_WEARING_OUT, kWarningStatus, \
    "The rated write endurance of the card is nearly used up.", \
    "Plan for a replacement: the card has few writes left.") \
  X(NONOPTIMAL_PCI_BANDWIDTH, kWarningStatus, \
    "The slot has fewer lanes, or is slower, than the card could use.", \
    "The card works, but would be faster in a slot with more lanes or a faster link.") \
  X(CORRECTABLE_PCI_ERRORS, kWarningStatus, \
    "Transfers between machine and card have failed, but retries have succeeded.", \
    "Reseat the card when the machine is next switched off; no data was lost.") \
  X(NO_POWERLOSS_PROTECTION, kWarningStatus, \
    "Data that is being written during a power failure may be lost.", \
    "Do not rely on the card during a power failure: have it replaced, or use a UPS.") \
  X(POWER_WRITE_REGULATION, kWarningStatus, \
    "The card writes more slowly to stay within its power limit.", \
    "Connect the card's external power, or raise its power limit if its slot can provide more.") \
  X(TEMPERATURE_WRITE_REGULATION, kWarningStatus, \
    "The card writes more slowly to limit its temperature.", \
    "Check fans and airflow around the card: it writes more slowly until it has cooled down.") \
  X(LIFESPAN_WRITE_REGULATION, kWarningStatus, \
    "The card writes more slowly to reach its planned lifetime.", \
    "Reduce the write load on this card, or plan to replace it sooner.") \
  X(MINIMAL, kWarningStatus, \
    "The card can be managed, but its data cannot be accessed.", \
    "Check the other status reasons to find the cause: the data is safe, but not " \
    "available.") \
  X(PCI_OVERPOWER, kWarningStatus, \
    "The card draws more power from its slot than the slot is rated for.", \
    "Lower the card's power limit, or move the card to a slot that provides more.") \
  X(LEB_MAP_MISSING, kWarningStatus, \
    "The block map, which says where data is stored, was not saved at the last detach.", \
    "Attach the card; that rebuilds the block map and takes longer than usual.") \
  X(UPDATE_IN_PROGRESS, kWarningStatus, \
    "The card's firmware is being updated.", \
    "Wait until the update has finished, and do not switch the machine off.") \
  X(RESERVES_DEPLETED, kWarningStatus, \
    "The spare flash memory that replaces worn-out flash memory is used up.", \
    "Back up the data and have the card replaced: it will soon be read-only.") \
  X(UNACTIVATED_FIRMWARE, kOkStatus, \
    "New firmware is installed on the card, but the old firmware is still running.", \
    "Restart the machine at a convenient time to activate the new firmware.")

// clang-format on
