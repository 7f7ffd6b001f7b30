// The values of `CProperty::m_ValueType`, which identify the member that holds a property's value.
// Plug-ins rely on the numbers for choice and range; the others are used only by the kit and by
// programs built on it.
#pragma once

#include "host/PluginInterface.h"

namespace HostKit {

// The member that the last call to `SetValue` wrote.
enum ValueType : std::uint32_t {
  VALUE_TYPE_NONE = 0,                        // `SetValue` was not called
  VALUE_TYPE_STRING = 1,                      // `m_String`
  VALUE_TYPE_BOOL = 2,                        // `m_Bool`
  VALUE_TYPE_CHOICE = PI::VALUE_TYPE_CHOICE,  // `m_Choice`
  VALUE_TYPE_NUMBER = 4,                      // `m_Number`
  VALUE_TYPE_FLOAT = 5,                       // `m_Float`
  VALUE_TYPE_MULTI_CHOICE = 6,                // `m_MultiValue`
  VALUE_TYPE_RANGE = PI::VALUE_TYPE_RANGE     // `m_Integer`, with its range
};

}  // namespace HostKit
