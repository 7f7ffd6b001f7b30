// The host's records, with more members than a plug-in uses, in a different order and with
// different integer types of the same width.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "sdk/numbers.h"
#include "sdk/own/export.h"

namespace PI {

class OWN_EXPORT CProperty {
 public:
  CProperty(_PROPERTY_ID, bool);
  virtual ~CProperty();
  CProperty(const CProperty&) = default;
  CProperty& operator=(const CProperty&) = default;

  bool SetValue(const char*);
  bool SetValue(const std::string&);
  bool SetValue(bool);
  bool SetValue(float);
  bool SetValue(unsigned long);
  bool SetValue(int, const std::vector<int>&);
  bool SetValue(int, int, int, unsigned int);
  bool SetValue(std::vector<int>&, std::vector<int>&);
  bool GetValue(int&, std::vector<int>&);
  bool GetValue(int&, int&, int&, unsigned int&);
  bool GetValueRange(int&) const;

  _UNITS m_Units = 0;
  bool m_UnitsFixed = true;
  unsigned int m_ValueType = 0;
  std::string m_OwnText;
  std::vector<int> m_OwnNumbers;
  unsigned int m_PropertyID;
  unsigned int m_NameID;
  unsigned int m_Visible = 1;
  unsigned int m_SortKey = 0;
  unsigned int m_Indicator = 0;
  unsigned int m_Format = 0;
  bool m_OwnWritable;
};

class OWN_EXPORT CEvent {
 public:
  virtual ~CEvent();

  void SetPlaceHolder1(const std::string&);
  void SetPlaceHolder2(const std::string&);

  unsigned long long m_Time = 0;
  unsigned long long m_ObjectID = 0;
  unsigned int m_Severity = 0;
  unsigned int m_EventID = 0;
  std::vector<std::string> m_OwnTexts;
  std::string m_SourceName;
};

class COperation;

class OWN_EXPORT CObject {
 public:
  CObject();
  CObject(const CObject&);
  CObject& operator=(const CObject&);
  virtual ~CObject();

  bool operator==(const CObject&) const;

  std::string m_OwnComment;
  unsigned long long m_ID = 0;
  std::vector<unsigned long long> m_Children;
  std::vector<unsigned long long> m_Parents;
  unsigned int m_ObjectType = 0;
  unsigned long long m_ChangeCount = 0;
  std::vector<CProperty> m_Properties;
  std::vector<COperation> m_Operations;
  bool m_Locked = false;
};

class OWN_EXPORT COperation {
 public:
  virtual ~COperation();

  std::vector<CEvent> m_Events;
  std::vector<CProperty> m_Properties;
  std::vector<CObject> m_OwnObjects;
  int m_Timeout = 0;
  unsigned int m_OperationID = 0;
  unsigned int m_NameID = 0;
  unsigned int m_Class = 0;
  unsigned int m_Access = 0;
  unsigned int m_Scope = 0;
  unsigned int m_Flags = 0;
  unsigned int m_ConfirmKind = 0;
  unsigned int m_ConfirmText = 0;
  bool m_Async = false;
};

class OWN_EXPORT CAdapterID {
 public:
  virtual ~CAdapterID();

  int m_GlobalNumber = 0;
  unsigned int m_AdapterNumber = 0;
  unsigned int m_Segment = 0;
  unsigned int m_Bus = 0;
  unsigned int m_Device = 0;
  unsigned int m_Function = 0;
  std::string m_OwnName;
};

class OWN_EXPORT CGlobalAdapterID {
 public:
  virtual ~CGlobalAdapterID();

  void GenerateUniqueAdapterNumber();
  int GetGlobalAdapterNumber() const;

  std::string m_HostName;
  unsigned int m_Segment = 0;
  unsigned int m_Bus = 0;
  unsigned int m_Device = 0;
  unsigned int m_Function = 0;

  static std::map<std::string, std::vector<int>> AllHostsAdaptersUniqueIDs;
};

struct OWN_EXPORT CPluginHelper {
  static bool ConvertBytesToOtherUnit(unsigned long, float&, _UNITS&);
  static void ComputeRemainingLifeTime(unsigned long, unsigned long, unsigned int, unsigned long,
                                       unsigned long&);
};

}  // namespace PI
