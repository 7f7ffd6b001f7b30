// The kit's units in addition to those in host/Identifiers.h, and how it scales byte counts.
//
// `CPluginHelper::ConvertBytesToOtherUnit` selects the largest unit, from bytes to 2^50 bytes in
// steps of 1024, in which the count is at least 1; a count of 0 stays in bytes. It always succeeds.
#pragma once

#include "host/Identifiers.h"

namespace HostKit {

constexpr PI::_UNITS UNITS_NONE{0};           // a value without a unit
constexpr PI::_UNITS UNITS_KILOBYTES{21001};  // of 2^10 bytes
constexpr PI::_UNITS UNITS_GIGABYTES{21003};  // of 2^30 bytes
constexpr PI::_UNITS UNITS_TERABYTES{21004};  // of 2^40 bytes
constexpr PI::_UNITS UNITS_PETABYTES{21005};  // of 2^50 bytes

}  // namespace HostKit
