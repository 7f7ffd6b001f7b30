// What a host may do to a physical drive, as far as it is listed.
#pragma once

#include <vector>

#include "Corvane/Src/DeviceRecords.h"
#include "Corvane/Src/FormatParameters.h"
#include "Corvane/Src/OperationTable.h"
#include "host/PluginInterface.h"

namespace NAMESPACE_Corvane {

// Shown on a drive with `m_DriveFlag`, which no drive has. Formatting has no row: a host that wants
// it, or these two, asks by number.
constexpr OperationRow kDriveOperations[] = {
    {PI::OP_MAKE_ONLINE, 1, 2, 1, 1, false, -1, 3, 22031},
    {PI::OP_MAKE_OFFLINE, 1, 2, 1, 1, false, -1, 3, 22029},
};

// Appends what the drive is listed with; a format comes with its parameters.
inline void AppendDriveOperations(const CFusionIOPhysicalDrive& drive,
                                  std::vector<PI::COperation>& operations) {
  for (const OperationRow& row : kDriveOperations) {
    const bool isFormat = row.m_OperationID == PI::OP_FORMAT_DEVICE;
    if (!isFormat && !drive.m_DriveFlag) continue;
    PI::COperation operation = MakeOperation(row);
    if (isFormat) AppendFormatParameters(drive, operation.m_Properties);
    operations.push_back(operation);
  }
}

}  // namespace NAMESPACE_Corvane
