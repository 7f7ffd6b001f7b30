// The table rows for an object's operations.
#pragma once

#include <cstdint>
#include <vector>

#include "Corvane/Src/HostNumbers.h"
#include "host/PluginInterface.h"

namespace NAMESPACE_Corvane {

// One operation. The plug-in does not interpret the fields after the first; it passes them to the
// host.
struct OperationRow {
  PI::_OPERATION_ID m_OperationID;
  std::uint32_t m_Class;
  std::uint32_t m_Access;
  std::uint32_t m_Scope;
  std::uint32_t m_Flags;
  bool m_Async;
  std::int32_t m_Timeout;
  std::uint32_t m_ConfirmKind;
  std::uint32_t m_ConfirmText;
};

// Appends the operation, without parameters, and returns a reference to it.
inline PI::COperation& AppendOperation(const OperationRow& row,
                                       std::vector<PI::COperation>& operations) {
  PI::COperation& operation = operations.emplace_back();
  operation.m_OperationID = row.m_OperationID;
  operation.m_NameID = row.m_OperationID;
  operation.m_Class = row.m_Class;
  operation.m_Access = row.m_Access;
  operation.m_Scope = row.m_Scope;
  operation.m_Flags = row.m_Flags;
  operation.m_Async = row.m_Async;
  operation.m_Timeout = row.m_Timeout;
  operation.m_ConfirmKind = row.m_ConfirmKind;
  operation.m_ConfirmText = row.m_ConfirmText;
  return operation;
}

}  // namespace NAMESPACE_Corvane
