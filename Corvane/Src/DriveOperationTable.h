// The list of operations of a physical drive.
#pragma once

#include <vector>

#include "Corvane/Src/DeviceRecords.h"
#include "Corvane/Src/FormatParameters.h"
#include "Corvane/Src/OperationTable.h"
#include "host/PluginInterface.h"

namespace NAMESPACE_Corvane {

// Listed only if the drive's `m_DriveFlag` is set, which it never is. Formatting has no row. A host
// can still execute all three operations by number.
constexpr OperationRow kDriveOperations[] = {
    {PI::OP_MAKE_ONLINE, 1, 2, 1, 1, false, -1, 3, 22031},
    {PI::OP_MAKE_OFFLINE, 1, 2, 1, 1, false, -1, 3, 22029},
};

// Appends the operations of the drive; a format includes its parameters.
inline void AppendDriveOperations(const CFusionIOPhysicalDrive& drive,
                                  std::vector<PI::COperation>& operations) {
  for (const OperationRow& row : kDriveOperations) {
    const bool isFormat = row.m_OperationID == PI::OP_FORMAT_DEVICE;
    if (!isFormat && !drive.m_DriveFlag) continue;
    PI::COperation& operation = AppendOperation(row, operations);
    if (isFormat) AppendFormatParameters(drive, operation.m_Properties);
  }
}

}  // namespace NAMESPACE_Corvane
