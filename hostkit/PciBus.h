// The devices on the PCI bus.
#pragma once

#include <string>
#include <vector>

#include "host/Visibility.h"

namespace HostKit {

// Returns the addresses of the devices with one of these identities, such as "0000:3b:00.0", in
// ascending order. An identity is a vendor and a device ID as eight hexadecimal digits. Devices
// that cannot be read are skipped. Thread-safe.
HOST_API std::vector<std::string> FindPciDevices(const std::vector<std::string>& identities);

}  // namespace HostKit
