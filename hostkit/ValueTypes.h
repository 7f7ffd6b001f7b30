// The kit's numbers for the value holders of a property, `CProperty::m_ValueType`. Plug-ins rely on
// choice and range; the other numbers are used only by the kit and by programs built on it.
#pragma once

#include "host/PluginInterface.h"

namespace HostKit {

// Which holder has the value, after which setter.
enum ValueType : std::uint32_t {
  VALUE_TYPE_NONE = 0,  // no setter was called
  VALUE_TYPE_STRING = 1,
  VALUE_TYPE_BOOL = 2,
  VALUE_TYPE_CHOICE = PI::VALUE_TYPE_CHOICE,
  VALUE_TYPE_NUMBER = 4,
  VALUE_TYPE_FLOAT = 5,
  VALUE_TYPE_MULTI_CHOICE = 6,
  VALUE_TYPE_RANGE = PI::VALUE_TYPE_RANGE
};

}  // namespace HostKit
