// The units that the kit has besides those in host/Identifiers.h, and how it scales byte counts.
//
// `CPluginHelper::ConvertBytesToOtherUnit` gives the largest unit, from bytes to 2^50 bytes in
// steps of 1024, in which the count is at least 1; nothing at all is 0 bytes. It has a unit for any
// count.
#pragma once

#include "host/Identifiers.h"

namespace HostKit {

constexpr PI::_UNITS UNITS_NONE{0};
constexpr PI::_UNITS UNITS_KILOBYTES{21001};
constexpr PI::_UNITS UNITS_GIGABYTES{21003};
constexpr PI::_UNITS UNITS_TERABYTES{21004};
constexpr PI::_UNITS UNITS_PETABYTES{21005};

}  // namespace HostKit
