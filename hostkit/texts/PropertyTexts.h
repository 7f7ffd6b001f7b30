// Captions of properties and short names, and symbols of units.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/Units.h"
#include "hostkit/texts/TextRow.h"

namespace HostKit {

inline constexpr std::array kPropertyTexts{
    TextRow{PI::Property::VENDOR, "Vendor"},
    TextRow{PI::Property::VENDOR_API_VERSION, "Vendor API version"},
    TextRow{PI::Property::POLL_INTERVAL, "Poll interval"},
    TextRow{PI::Property::NAME, "Name"},
    TextRow{PI::Property::STATUS, "Status"},
    TextRow{PI::Property::DRIVER_VERSION, "Driver version"},
    TextRow{PI::Property::FIRMWARE_VERSION, "Firmware version"},
    TextRow{PI::Property::SERIAL_NUMBER, "Serial number"},
    TextRow{PI::Property::MEMORY_SIZE, "Memory size"},
    TextRow{PI::Property::PCI_BUS, "PCI bus"},
    TextRow{PI::Property::PCI_DEVICE, "PCI device"},
    TextRow{PI::Property::PCI_FUNCTION, "PCI function"},
    TextRow{PI::Property::ACTIVITY, "Activity"},
    TextRow{PI::Property::TYPE, "Type"},
    TextRow{PI::Property::PHYSICAL_SIZE, "Physical size"},
    TextRow{PI::Property::CONFIGURABLE_SIZE, "Configurable size"},
    TextRow{PI::Property::PCI_SLOT, "PCI slot"},
    TextRow{PI::Property::PRODUCT, "Product"},
    TextRow{PI::Property::MANUFACTURE_DATE, "Date of manufacture"},
    TextRow{PI::Property::VERSION, "Version"},
    TextRow{PI::Property::RANGE_PARAM, "Number within a range"},
    TextRow{PI::Property::CHOICE_PARAM, "Choice"},
    TextRow{PI::Property::ADAPTER_NUMBER, "Adapter number"},
    TextRow{PI::Property::PORT_NUMBER, "Port number"},
    TextRow{PI::Property::DEVICE_NUMBER, "Device number"},
    TextRow{PI::Property::UNIQUE_ID, "Unique ID"},
    TextRow{PI::Property::HARDWARE_TYPE, "Hardware type"},
    TextRow{PI::Property::ADDITIONAL_STATUS, "Additional status"},
    TextRow{PI::Property::OS_DEVICE, "Operating system device"},
    TextRow{PI::Property::DRIVER_NAME, "Driver name"},
    TextRow{PI::Property::HIGH_WARNING_TEMPERATURE, "Warning temperature"},
    TextRow{PI::Property::HIGH_CRITICAL_TEMPERATURE, "Critical temperature"},
    TextRow{PI::Property::CHIP_TEMPERATURE, "Chip temperature"},
    TextRow{PI::Property::BLOCK_SIZE, "Block size"},
    TextRow{PI::Property::FORMATTED_SIZE, "Formatted size"},
    TextRow{PI::Property::FORMATTED_PERCENTAGE, "Formatted percentage"},
    TextRow{PI::Property::FORMATTING, "Formatting"},
    TextRow{PI::Property::SIZE, "Size"},
    TextRow{PI::Property::WRITE_THROTTLING, "Write throttling"},
    TextRow{PI::Property::PCI_SEGMENT, "PCI segment"},
    TextRow{PI::Property::ESTIMATED_LIFETIME, "Estimated end of life"},
    TextRow{PI::Property::REMAINING_RESERVE_SPACE, "Remaining reserve space"},
    TextRow{PI::Property::RESERVE_STATUS, "Reserve status"},
    TextRow{PI::Property::RESERVE_WARNING_THRESHOLD, "Reserve warning threshold"},
    TextRow{PI::Property::BYTES_READ, "Data read"},
    TextRow{PI::Property::BYTES_WRITTEN, "Data written"},
    TextRow{PI::Property::RATED_ENDURANCE_PERCENT, "Rated endurance used"},
    TextRow{PI::Property::EXTERNAL_POWER_REQUIREMENT, "External power requirement"},
    TextRow{PI::Property::EXTERNAL_POWER_CONNECTED, "External power connected"},
    TextRow{PI::Property::SLOT_POWER, "Slot power"},
    TextRow{PI::Property::POWER_LIMIT, "Power limit"},
    TextRow{PI::ShortName::BUS, "Bus"},
    TextRow{PI::ShortName::DEVICE, "Device"},
    TextRow{PI::ShortName::FUNCTION, "Function"},
    TextRow{PI::ShortName::ID, "Id"},
    TextRow{PI::ShortName::REMAINING_RESERVE_SPACE, "Remaining space"},
    TextRow{PI::ShortName::SEGMENT, "Segment"},
    TextRow{PI::ShortName::SLOT, "Slot"},
    TextRow{PI::ShortName::WARNING_THRESHOLD, "Warning threshold"},
};

inline constexpr std::array kUnitSymbols{
    TextRow{PI::UNITS_DEGREES_CELSIUS, "°C"},
    TextRow{UNITS_KILOBYTES, "KiB"},
    TextRow{PI::UNITS_MEGABYTES, "MiB"},
    TextRow{UNITS_GIGABYTES, "GiB"},
    TextRow{UNITS_TERABYTES, "TiB"},
    TextRow{UNITS_PETABYTES, "PiB"},
    TextRow{PI::UNITS_SECONDS, "s"},
    TextRow{PI::UNITS_PERCENT, "%"},
    TextRow{PI::UNITS_BYTES, "B"},
    TextRow{PI::UNITS_WATTS, "W"},
};

static_assert(NumbersRise(kPropertyTexts) && NumbersRise(kUnitSymbols));

}  // namespace HostKit
