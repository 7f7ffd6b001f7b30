#include "host/PluginInterface.h"

namespace PI {

CEvent::CEvent() : m_ObjectID(0), m_EventID(Event::UNDEFINED), m_Severity(0), m_Time(0) {}
CEvent::CEvent(const CEvent& other) = default;
CEvent& CEvent::operator=(const CEvent& other) = default;
CEvent::~CEvent() = default;

void CEvent::SetPlaceHolder1(const std::string& text) {
  m_PlaceHolders[0] = text;
}
void CEvent::SetPlaceHolder2(const std::string& text) {
  m_PlaceHolders[1] = text;
}

CObject::CObject() : m_ID(0), m_ObjectType(0), m_ChangeCount(0), m_Locked(false) {}
CObject::CObject(const CObject& other) = default;
CObject& CObject::operator=(const CObject& other) = default;
CObject::~CObject() = default;

bool CObject::operator==(const CObject& other) const {
  return m_ID == other.m_ID && m_ObjectType == other.m_ObjectType;
}

CDrive::~CDrive() = default;
CContainer::~CContainer() = default;
CLogicalDrive::~CLogicalDrive() = default;
CLevel::~CLevel() = default;
CMigration::~CMigration() = default;
CPartition::~CPartition() = default;

COperation::COperation()
    : m_OperationID(OP_UNDEFINED),
      m_NameID(OP_UNDEFINED),
      m_Class(0),
      m_Access(0),
      m_Scope(0),
      m_ConfirmKind(0),
      m_ConfirmText(0),
      m_Timeout(0),
      m_Flags(0),
      m_Async(false) {}
COperation::COperation(const COperation& other) = default;
COperation& COperation::operator=(const COperation& other) = default;
COperation::~COperation() = default;

}  // namespace PI

IPLUGINAPI::~IPLUGINAPI() = default;
