// Formatting a drive: everything on it is lost, and there is no way back.
#pragma once

#include <cstdint>

#include "console/Answer.h"
#include "console/Context.h"

namespace Console {

struct FormatWish {
  std::int32_t m_Capacity = PI::Value::FACTORY_CAPACITY;  // a value of the vocabulary
  std::int32_t m_Percent = 100;                           // counts with CUSTOM alone
  std::uint32_t m_SectorSize = 0;                         // bytes; 0: as it is
};

// Shows the plan, asks for the serial number and formats; with --dry-run it ends after the plan.
// Throws `Failure`.
Answer FormatDrive(Context& context, const Model& model, const Object& drive, FormatWish wish);

}  // namespace Console
