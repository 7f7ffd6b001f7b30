#include "host/PluginInterface.h"
#include "hostkit/Units.h"
#include "hostkit/ValueTypes.h"

namespace PI {

CChoiceData::~CChoiceData() = default;
CStringData::~CStringData() = default;
CMultiValueData::~CMultiValueData() = default;
CMultiLongData::~CMultiLongData() = default;
CXMLData::~CXMLData() = default;
CMultiStringData::~CMultiStringData() = default;

CProperty::CProperty(_PROPERTY_ID id, bool writable)
    : m_PropertyID(id),
      m_NameID(id),
      m_Visible(1),
      m_SortKey(0),
      m_Indicator(0),
      m_ValueType(HostKit::VALUE_TYPE_NONE),
      m_Format(0),
      m_Units(HostKit::UNITS_NONE),
      m_UnitsFixed(true),
      m_Writable(writable) {}

CProperty::CProperty(const CProperty& other) = default;
CProperty& CProperty::operator=(const CProperty& other) = default;
CProperty::~CProperty() = default;

void CProperty::SetValue(const char* text) {
  SetValue(std::string(text != nullptr ? text : ""));
}

void CProperty::SetValue(const std::string& text) {
  m_ValueType = HostKit::VALUE_TYPE_STRING;
  m_Value.m_String.m_Text = text;
}

void CProperty::SetValue(bool value) {
  m_ValueType = HostKit::VALUE_TYPE_BOOL;
  m_Value.m_Bool = value;
}

void CProperty::SetValue(float value) {
  m_ValueType = HostKit::VALUE_TYPE_FLOAT;
  m_Value.m_Float = value;
}

void CProperty::SetValue(unsigned long value) {
  m_ValueType = HostKit::VALUE_TYPE_NUMBER;
  m_Value.m_Number = value;
}

void CProperty::SetValue(int value, const std::vector<int>& allowed) {
  m_ValueType = HostKit::VALUE_TYPE_CHOICE;
  m_Value.m_Choice.m_Value = value;
  m_Value.m_Choice.m_Allowed = allowed;
}

void CProperty::SetValue(int value, int minimum, int maximum, unsigned int step) {
  m_ValueType = HostKit::VALUE_TYPE_RANGE;
  m_Value.m_Integer = value;
  m_Value.m_Minimum = minimum;
  m_Value.m_Maximum = maximum;
  m_Value.m_Step = step;
}

void CProperty::SetValue(std::vector<int>& values, std::vector<int>& allowed) {
  m_ValueType = HostKit::VALUE_TYPE_MULTI_CHOICE;
  m_Value.m_MultiValue.m_Values = values;
  m_Value.m_MultiValue.m_Allowed = allowed;
}

void CProperty::GetValue(int& value, std::vector<int>& allowed) {
  value = m_Value.m_Choice.m_Value;
  allowed = m_Value.m_Choice.m_Allowed;
}

void CProperty::GetValue(int& value, int& minimum, int& maximum, unsigned int& step) {
  value = m_Value.m_Integer;
  minimum = m_Value.m_Minimum;
  maximum = m_Value.m_Maximum;
  step = m_Value.m_Step;
}

void CProperty::GetValueRange(int& value) const {
  value = m_Value.m_Integer;
}

}  // namespace PI
