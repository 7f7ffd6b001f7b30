// The records, and calculations on them. A property keeps its value as text and, for choices and
// ranges, as numbers.
#include <algorithm>
#include <utility>

#include "host/PluginInterface.h"

namespace PI {
namespace {

// Value types: the first two are those that a plug-in must recognize.
constexpr unsigned int kChoice = 3;
constexpr unsigned int kRange = 7;
constexpr unsigned int kText = 100;

constexpr unsigned int kMegabytes = 21002;

void Store(CProperty& property, unsigned int type, std::string text, std::vector<int> numbers) {
  property.m_ValueType = type;
  property.m_OwnText = std::move(text);
  property.m_OwnNumbers = std::move(numbers);
}

// Returns the value, followed by the allowed values.
std::vector<int> Joined(std::vector<int> values, const std::vector<int>& allowed) {
  values.insert(values.end(), allowed.begin(), allowed.end());
  return values;
}

}  // namespace

CProperty::CProperty(_PROPERTY_ID id, bool writable)
    : m_PropertyID(static_cast<unsigned int>(id)),
      m_NameID(m_PropertyID),
      m_OwnWritable(writable) {}
CProperty::~CProperty() = default;

bool CProperty::SetValue(const char* text) {
  return SetValue(std::string(text == nullptr ? "" : text));
}
bool CProperty::SetValue(const std::string& text) {
  Store(*this, kText, text, {});
  return true;
}
bool CProperty::SetValue(bool value) {
  return SetValue(value ? "yes" : "no");
}
bool CProperty::SetValue(float value) {
  return SetValue(std::to_string(value));
}
bool CProperty::SetValue(unsigned long value) {
  return SetValue(std::to_string(value));
}
bool CProperty::SetValue(int value, const std::vector<int>& allowed) {
  Store(*this, kChoice, std::to_string(value), Joined({value}, allowed));
  return true;
}
bool CProperty::SetValue(int value, int minimum, int maximum, unsigned int step) {
  Store(*this, kRange, std::to_string(value), {value, minimum, maximum, static_cast<int>(step)});
  return true;
}
bool CProperty::SetValue(std::vector<int>& values, std::vector<int>& allowed) {
  Store(*this, kText, std::to_string(values.size()) + " values", Joined(values, allowed));
  return true;
}

bool CProperty::GetValue(int& value, std::vector<int>& allowed) {
  if (m_ValueType != kChoice) return false;
  value = m_OwnNumbers.front();
  allowed.assign(m_OwnNumbers.begin() + 1, m_OwnNumbers.end());
  return true;
}
bool CProperty::GetValue(int& value, int& minimum, int& maximum, unsigned int& step) {
  if (m_ValueType != kRange) return false;
  value = m_OwnNumbers[0];
  minimum = m_OwnNumbers[1];
  maximum = m_OwnNumbers[2];
  step = static_cast<unsigned int>(m_OwnNumbers[3]);
  return true;
}
bool CProperty::GetValueRange(int& value) const {
  if (m_ValueType != kRange) return false;
  value = m_OwnNumbers.front();
  return true;
}

CEvent::~CEvent() = default;
void CEvent::SetPlaceHolder1(const std::string& text) {
  m_OwnTexts.resize(std::max<std::size_t>(m_OwnTexts.size(), 2));
  m_OwnTexts[0] = text;
}
void CEvent::SetPlaceHolder2(const std::string& text) {
  m_OwnTexts.resize(std::max<std::size_t>(m_OwnTexts.size(), 2));
  m_OwnTexts[1] = text;
}

CObject::CObject() = default;
CObject::CObject(const CObject&) = default;
CObject& CObject::operator=(const CObject&) = default;
CObject::~CObject() = default;
bool CObject::operator==(const CObject& other) const {
  return m_ID == other.m_ID && m_ObjectType == other.m_ObjectType;
}

COperation::~COperation() = default;
CAdapterID::~CAdapterID() = default;

CGlobalAdapterID::~CGlobalAdapterID() = default;
std::map<std::string, std::vector<int>> CGlobalAdapterID::AllHostsAdaptersUniqueIDs;
// The same location always gets the same number.
void CGlobalAdapterID::GenerateUniqueAdapterNumber() {}
int CGlobalAdapterID::GetGlobalAdapterNumber() const {
  return static_cast<int>(m_Bus << 8U | m_Device << 3U | m_Function);
}

bool CPluginHelper::ConvertBytesToOtherUnit(unsigned long bytes, float& value, _UNITS& unit) {
  value = static_cast<float>(bytes >> 20U);
  unit = kMegabytes;
  return true;
}
// Assumes that the card keeps wearing at the same rate.
void CPluginHelper::ComputeRemainingLifeTime(unsigned long usedHours, unsigned long,
                                             unsigned int usedPercent, unsigned long,
                                             unsigned long& remainingHours) {
  const unsigned long used = std::clamp(usedPercent, 1U, 100U);
  remainingHours = usedHours * (100 - used) / used;
}

// This host has no configuration.
void CConfigFile::SetFileName(boost::filesystem::path name) {
  m_OwnName = std::move(name);
}
int CConfigFile::ReadKeyValue(const std::string&, std::string&, int, int) {
  return 1;
}
unsigned int CConfigFile::WriteKeyValue(const std::string&, const std::string&, int, int) {
  return 1;
}

}  // namespace PI

IPLUGINAPI::~IPLUGINAPI() = default;
void OwnNotify::operator()(IPLUGINAPI* plugin) const {
  if (m_OwnCall != nullptr) m_OwnCall(plugin);
}
