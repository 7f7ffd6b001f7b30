// The kit's numbers for the value holders of a property, `CProperty::m_ValueType`. Plug-ins rely on
// choice and range; the other numbers are used only by the kit and by programs built on it.
#pragma once

#include "host/PluginInterface.h"

namespace HostKit {

// Which holder has the value, after which setter.
enum ValueType : std::uint32_t {
  VALUE_TYPE_NONE = 0,                        // no setter was called
  VALUE_TYPE_STRING = 1,                      // `m_String`
  VALUE_TYPE_BOOL = 2,                        // `m_Bool`
  VALUE_TYPE_CHOICE = PI::VALUE_TYPE_CHOICE,  // `m_Choice`
  VALUE_TYPE_NUMBER = 4,                      // `m_Number`
  VALUE_TYPE_FLOAT = 5,                       // `m_Float`
  VALUE_TYPE_MULTI_CHOICE = 6,                // `m_MultiValue`
  VALUE_TYPE_RANGE = PI::VALUE_TYPE_RANGE     // `m_Integer`, with its range
};

}  // namespace HostKit
