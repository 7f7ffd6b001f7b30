// The kit's numbers for the value holders of a property, `CProperty::m_ValueType`. Choice and range
// are the host's; the other kinds never leave the kit and what is built on it.
#pragma once

#include "host/PluginInterface.h"

namespace HostKit {

enum ValueType : std::uint32_t {
  VALUE_TYPE_NONE = 0,
  VALUE_TYPE_STRING = 1,
  VALUE_TYPE_BOOL = 2,
  VALUE_TYPE_CHOICE = PI::VALUE_TYPE_CHOICE,
  VALUE_TYPE_NUMBER = 4,
  VALUE_TYPE_FLOAT = 5,
  VALUE_TYPE_MULTI_CHOICE = 6,
  VALUE_TYPE_RANGE = PI::VALUE_TYPE_RANGE
};

}  // namespace HostKit
