// Lists of the properties and of their short names. Identifiers.h generates enumerators from them,
// and the host kit its captions and explanations.
//
// The host defines the numbers: entries may be added, but never renumbered.
#pragma once

// clang-format off

// Properties of objects, and types of operation parameters (RANGE_PARAM, CHOICE_PARAM): name,
// number, caption, meaning.
#define PI_PROPERTIES(X) \
  X(VENDOR, 30003, "Vendor", \
    "The vendor of the product.") \
  X(VENDOR_API_VERSION, 30004, "Vendor API version", \
    "The version of the vendor's library that manages the cards.") \
  X(POLL_INTERVAL, 30005, "Poll interval", \
    "The time between two full scans of the cards.") \
  X(NAME, 30007, "Name", \
    "The name of the object; other cards may have the same name.") \
  X(STATUS, 30017, "Status", \
    "Whether the object is healthy; the additional status says why it is not.") \
  X(DRIVER_VERSION, 30018, "Driver version", \
    "The version of the card's driver.") \
  X(FIRMWARE_VERSION, 30020, "Firmware version", \
    "The version of the firmware on the card.") \
  X(SERIAL_NUMBER, 30022, "Serial number", \
    "The serial number, unique among the vendor's cards.") \
  X(MEMORY_SIZE, 30035, "Memory size", \
    "The capacity of the card when it left the factory.") \
  X(PCI_BUS, 30037, "PCI bus", \
    "The number of the card's PCI bus.") \
  X(PCI_DEVICE, 30038, "PCI device", \
    "The card's device number on its PCI bus.") \
  X(PCI_FUNCTION, 30039, "PCI function", \
    "The card's function number within its PCI device.") \
  X(ACTIVITY, 30054, "Activity", \
    "What the card is doing, such as attaching.") \
  X(TYPE, 30056, "Type", \
    "How the drive is connected, such as PCI Express.") \
  X(PHYSICAL_SIZE, 30059, "Physical size", \
    "The capacity of the drive when it left the factory.") \
  X(CONFIGURABLE_SIZE, 30060, "Configurable size", \
    "The largest capacity that formatting can set.") \
  X(PCI_SLOT, 30062, "PCI slot", \
    "The slot that the card is plugged into.") \
  X(PRODUCT, 30063, "Product", \
    "The vendor's name for the product.") \
  X(MANUFACTURE_DATE, 30097, "Date of manufacture", \
    "When the card was made.") \
  X(VERSION, 30099, "Version", \
    "The version of the plug-in.") \
  X(RANGE_PARAM, 30116, "Number within a range", \
    "A parameter of an operation: a number within a range.") \
  X(CHOICE_PARAM, 30118, "Choice", \
    "A parameter of an operation: one of several values.") \
  X(ADAPTER_NUMBER, 30120, "Adapter number", \
    "The number that the plug-in uses for the adapter, counting from 0.") \
  X(PORT_NUMBER, 30122, "Port number", \
    "The adapter's port that the drive is connected to.") \
  X(DEVICE_NUMBER, 30125, "Device number", \
    "The number of the drive on its adapter.") \
  X(UNIQUE_ID, 30137, "Unique ID", \
    "A string that identifies the object across restarts.") \
  X(HARDWARE_TYPE, 30158, "Hardware type", \
    "How the card is connected to the machine.") \
  X(ADDITIONAL_STATUS, 30165, "Additional status", \
    "The reasons for the status, and the card's state.") \
  X(OS_DEVICE, 30247, "Operating system device", \
    "The device file that controls the card.") \
  X(DRIVER_NAME, 30266, "Driver name", \
    "The name of the card's driver.") \
  X(HIGH_WARNING_TEMPERATURE, 30354, "Warning temperature", \
    "The temperature above which the card reports a warning.") \
  X(HIGH_CRITICAL_TEMPERATURE, 30355, "Critical temperature", \
    "The highest temperature permitted for the card.") \
  X(CHIP_TEMPERATURE, 30442, "Chip temperature", \
    "The current temperature of the card's chip.") \
  X(BLOCK_SIZE, 30460, "Block size", \
    "The sector size: the smallest unit that is read or written.") \
  X(FORMATTED_SIZE, 30461, "Formatted size", \
    "The capacity set by the last format.") \
  X(FORMATTED_PERCENTAGE, 30462, "Formatted percentage", \
    "The formatted capacity as a percentage of the factory capacity.") \
  X(FORMATTING, 30463, "Formatting", \
    "A parameter of a format: the capacity to set.") \
  X(SIZE, 30464, "Size", \
    "A parameter of a format: with CUSTOM, the capacity as a percentage of the factory capacity.") \
  X(WRITE_THROTTLING, 30468, "Write throttling", \
    "Whether the card throttles writes, and how much.") \
  X(PCI_SEGMENT, 30479, "PCI segment", \
    "The number of the card's PCI segment.") \
  X(ESTIMATED_LIFETIME, 30483, "Estimated end of life", \
    "The date when the card will be worn out at the average write rate so far.") \
  X(REMAINING_RESERVE_SPACE, 30486, "Remaining reserve space", \
    "How much of the spare flash memory, which replaces worn-out flash memory, is left.") \
  X(RESERVE_STATUS, 30487, "Reserve status", \
    "Whether enough spare flash memory is left.") \
  X(RESERVE_WARNING_THRESHOLD, 30488, "Reserve warning threshold", \
    "The level of spare flash memory below which the card reports a warning.") \
  X(BYTES_READ, 30489, "Data read", \
    "How much data has been read from the card over its lifetime.") \
  X(BYTES_WRITTEN, 30490, "Data written", \
    "How much data has been written to the card over its lifetime.") \
  X(RATED_ENDURANCE_PERCENT, 30494, "Rated endurance used", \
    "How much of the rated write endurance is used; it may exceed 100 percent.") \
  X(EXTERNAL_POWER_REQUIREMENT, 30501, "External power requirement", \
    "Whether the card needs its own power cable.") \
  X(EXTERNAL_POWER_CONNECTED, 30502, "External power connected", \
    "Whether the card's own power cable is connected.") \
  X(SLOT_POWER, 30503, "Slot power", \
    "The power that the card currently draws from its slot.") \
  X(POWER_LIMIT, 30504, "Power limit", \
    "The maximum power that the card may draw from its slot.")

// Short display names of properties: name, number, caption, meaning.
#define PI_SHORT_NAMES(X) \
  X(BUS, 35016, "Bus", \
    "Short for the PCI bus.") \
  X(DEVICE, 35020, "Device", \
    "Short for the PCI device.") \
  X(FUNCTION, 35022, "Function", \
    "Short for the PCI function.") \
  X(ID, 35023, "Id", \
    "A number that identifies something.") \
  X(REMAINING_RESERVE_SPACE, 35034, "Remaining space", \
    "Short for the remaining reserve space.") \
  X(SEGMENT, 35039, "Segment", \
    "Short for the PCI segment.") \
  X(SLOT, 35040, "Slot", \
    "Short for the PCI slot.") \
  X(WARNING_THRESHOLD, 35045, "Warning threshold", \
    "Short for the reserve's warning threshold.")

// clang-format on
