// The records in which a plug-in and its host speak, and the one interface between them.
//
// Declarations only: the host's plug-in interface library brings the members. Records are plain
// values; they may be used on any thread, each object on one thread at a time. Setters cannot
// fail but by running out of memory. The destructor is a record's only virtual member. What the
// host kit does where a host is free to do as it likes stands in hostkit/: units in Units.h, value
// types in ValueTypes.h, lifetimes in Lifetime.h, ini files in ConfigFile.h.
//
// A field marked "carried" is filled for the host or by it, and has no meaning to a plug-in.
#pragma once

#include <array>
#include <boost/filesystem/path.hpp>
#include <boost/function.hpp>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/Identifiers.h"
#include "host/Visibility.h"

namespace PI {

// Which value holder of a property counts, `CProperty::m_ValueType`. A plug-in tests for choice
// and range only; the other kinds are between the setters and the host.
enum _VALUE_TYPE : std::uint32_t { VALUE_TYPE_CHOICE = 3, VALUE_TYPE_RANGE = 7 };

// One value out of a set.
class HOST_API CChoiceData {
 public:
  virtual ~CChoiceData();

  std::int32_t m_Value = 0;
  std::vector<std::int32_t> m_Allowed;
};

class HOST_API CStringData {
 public:
  virtual ~CStringData();

  std::string m_Text;
};

// Several values out of a set.
class HOST_API CMultiValueData {
 public:
  virtual ~CMultiValueData();

  std::vector<std::int32_t> m_Values;
  std::vector<std::int32_t> m_Allowed;
};

class HOST_API CMultiLongData {
 public:
  virtual ~CMultiLongData();

  std::vector<std::int64_t> m_Values;
};

// An XML document of the host's toolkit, as text. Carried.
class HOST_API CXMLData {
 public:
  virtual ~CXMLData();

  std::string m_Document;
};

class HOST_API CMultiStringData {
 public:
  virtual ~CMultiStringData();

  std::vector<std::string> m_Texts;
};

// One named, typed value.
//
// The constructor leaves the value holders empty and the display fields at the host's defaults:
// visible, no sort key, indicator, format or unit, units fixed. The last setter called decides
// which holder counts.
class HOST_API CProperty {
 public:
  // `id` becomes both `m_PropertyID` and `m_NameID`. `writable` tells the host whether it may send
  // the property back through `CMD_SET_PROPERTY`.
  CProperty(_PROPERTY_ID id, bool writable);
  CProperty(const CProperty& other);
  CProperty& operator=(const CProperty& other);
  virtual ~CProperty();

  // A null pointer is an empty text.
  void SetValue(const char* text);
  void SetValue(const std::string& text);
  void SetValue(bool value);
  void SetValue(float value);
  void SetValue(unsigned long value);
  // A choice.
  void SetValue(int value, const std::vector<int>& allowed);
  // An integer with a range. The value is kept as given, also outside the range.
  void SetValue(int value, int minimum, int maximum, unsigned int step);
  // Several values out of a set. Both vectors are copied.
  void SetValue(std::vector<int>& values, std::vector<int>& allowed);

  // Read a choice, or an integer with a range, whatever `m_ValueType` says.
  void GetValue(int& value, std::vector<int>& allowed);
  void GetValue(int& value, int& minimum, int& maximum, unsigned int& step);
  void GetValueRange(int& value) const;

  std::uint32_t m_PropertyID;  // what a `CMD_GET_PROPERTY` request selects on
  std::uint32_t m_NameID;      // the name shown; for an operation's parameter, which one it is
  std::uint32_t m_Visible;
  std::uint32_t m_SortKey;    // position in the host's display, 23000 up
  std::uint32_t m_Indicator;  // color class of a state value, 24000 up
  std::uint32_t m_ValueType;  // a `_VALUE_TYPE`
  std::uint32_t m_Format;     // how a float is shown
  _UNITS m_Units;
  bool m_UnitsFixed;
  bool m_Writable;

  struct {
    CChoiceData m_Choice;
    CStringData m_String;
    std::int32_t m_Integer = 0;
    std::int32_t m_Minimum = 0;
    std::int32_t m_Maximum = 0;
    std::uint32_t m_Step = 0;
    std::uint64_t m_Number = 0;
    float m_Float = 0;
    bool m_Bool = false;
    CMultiValueData m_MultiValue;
    CMultiLongData m_MultiLong;
    CXMLData m_XML;
    CMultiStringData m_MultiString;
  } m_Value;
};

// One entry of the host's event log. The constructor leaves it undefined, without severity.
class HOST_API CEvent {
 public:
  CEvent();
  CEvent(const CEvent& other);
  CEvent& operator=(const CEvent& other);
  virtual ~CEvent();

  // The texts that the host puts into the event's message.
  void SetPlaceHolder1(const std::string& text);
  void SetPlaceHolder2(const std::string& text);

  std::uint64_t m_ObjectID;
  std::uint32_t m_EventID;   // an `_EVENT_ID`
  std::uint32_t m_Severity;  // a `_SEVERITY`
  std::uint64_t m_Time;      // `MBX::Misc::now()` at creation
  std::string m_SourceName;  // the object's name
  std::array<std::string, 14> m_PlaceHolders;
};

// One thing that can be done to an object, with its parameters and its results.
class COperation;

// Base of every object that the host sees. Two objects are equal when they are the same object:
// `m_ID` and `m_ObjectType` agree.
class HOST_API CObject {
 public:
  CObject();
  CObject(const CObject& other);
  CObject& operator=(const CObject& other);
  virtual ~CObject();

  bool operator==(const CObject& other) const;

  std::uint64_t m_ID;
  std::uint32_t m_ObjectType;  // an `_OBJECT_TYPE`
  std::vector<std::uint64_t> m_Parents;
  std::vector<std::uint64_t> m_Children;
  std::uint64_t m_ChangeCount;  // generation counter for the host
  bool m_Locked;
  std::vector<CProperty> m_Properties;
  std::vector<COperation> m_Operations;
};

// The records below up to `CPartition` exist so that an operation is complete. Carried.

class HOST_API CDrive {
 public:
  virtual ~CDrive();

  std::uint64_t m_ID = 0;
  std::uint64_t m_Offset = 0;
  std::vector<CProperty> m_Properties;
  std::uint64_t m_Size = 0;
  std::uint32_t m_Flags = 0;
};

class HOST_API CContainer {
 public:
  virtual ~CContainer();

  std::vector<CDrive> m_Drives;
};

class HOST_API CLogicalDrive {
 public:
  virtual ~CLogicalDrive();

  std::uint32_t m_Level = 0;
  std::vector<CProperty> m_Properties;
  std::uint64_t m_Size = 0;
  std::uint32_t m_Flags = 0;
  std::vector<CContainer> m_Containers;
  std::vector<std::uint64_t> m_Spares;
  std::vector<std::uint64_t> m_Candidates;
  std::vector<std::uint64_t> m_Members;
};

class HOST_API CLevel {
 public:
  virtual ~CLevel();

  std::uint32_t m_Level = 0;
  std::vector<std::uint32_t> m_Depths;
  std::uint32_t m_Flags = 0;
  std::vector<CProperty> m_Properties;
};

class HOST_API CMigration {
 public:
  virtual ~CMigration();

  std::uint32_t m_From = 0;
  std::uint32_t m_To = 0;
  std::vector<CProperty> m_Properties;
};

class HOST_API CPartition {
 public:
  virtual ~CPartition();

  std::uint64_t m_Offset = 0;
  std::uint64_t m_Size = 0;
  std::string m_Name;
  std::string m_MountPoint;
};

class HOST_API COperation {
 public:
  COperation();
  COperation(const COperation& other);
  COperation& operator=(const COperation& other);
  virtual ~COperation();

  std::uint32_t m_OperationID;  // an `_OPERATION_ID`
  std::uint32_t m_NameID;
  std::uint32_t m_Class;                // carried
  std::vector<CProperty> m_Properties;  // parameters, known by their `m_NameID`
  std::vector<CLogicalDrive> m_LogicalDrives;
  std::vector<CLevel> m_Levels;
  std::vector<CMigration> m_Migrations;
  std::vector<CEvent> m_Events;  // result of `OP_GET_EVENTS`
  std::vector<CPartition> m_Partitions;
  std::vector<CObject> m_Objects;
  std::uint32_t m_Access;  // carried
  std::uint32_t m_Scope;   // carried
  std::uint32_t m_ConfirmKind;
  std::uint32_t m_ConfirmText;  // number of a host text, or 1
  std::int32_t m_Timeout;       // carried
  std::uint32_t m_Flags;        // carried
  bool m_Async;                 // carried
};

// The identity of one adapter as exchanged at start-up.
class HOST_API CAdapterID {
 public:
  CAdapterID();
  CAdapterID(const CAdapterID& other);
  CAdapterID& operator=(const CAdapterID& other);
  virtual ~CAdapterID();

  std::string m_Name;
  std::uint32_t m_Segment;
  std::uint32_t m_Bus;
  std::uint32_t m_Device;
  std::uint32_t m_Function;
  std::uint32_t m_AdapterNumber;
  std::int32_t m_GlobalNumber;  // -1: none given
};

// A number for an adapter that is unique among all plug-ins of all hosts.
class HOST_API CGlobalAdapterID {
 public:
  CGlobalAdapterID();
  virtual ~CGlobalAdapterID();

  // Assigns the number. May be called from any thread.
  void GenerateUniqueAdapterNumber();
  // The assigned number, or -1 before `GenerateUniqueAdapterNumber`.
  int GetGlobalAdapterNumber() const;

  std::string m_Name;
  std::uint32_t m_Segment;
  std::uint32_t m_Bus;
  std::uint32_t m_Device;
  std::uint32_t m_Function;
  std::uint32_t m_AdapterNumber;
  std::int32_t m_GlobalNumber;
  std::string m_HostName;

  // Host name to the numbers given out there. A plug-in makes sure that its host has an entry
  // before it asks for a number.
  static std::map<std::string, std::vector<std::int32_t>> AllHostsAdaptersUniqueIDs;
};

class HOST_API CPluginHelper {
 public:
  // Scales `bytes` into the largest fitting unit. A host may have no unit for a count: false, and
  // both outputs untouched.
  static bool ConvertBytesToOtherUnit(unsigned long bytes, float& value, _UNITS& unit);

  // Estimates in hours how long a card will last from its age in hours, the bytes written to it,
  // the per cent of its rated endurance that is used, and that endurance in units of 2^40 bytes.
  static void ComputeRemainingLifeTime(unsigned long usedHours, unsigned long bytesWritten,
                                       unsigned int usedPercent, unsigned long ratedTBytes,
                                       unsigned long& remainingHours);
};

// A plug-in's ini file. The host decides in which folder it lies. Keys stand in no section.
class HOST_API CConfigFile {
 public:
  CConfigFile();
  virtual ~CConfigFile();

  // Only the last part of `name` counts. Without a name there is no file, and none is written.
  void SetFileName(const boost::filesystem::path& name);
  // 0 when there is such a key; `value` is written only then. The two numbers must be -1.
  std::uint32_t ReadKeyValue(const std::string& key, std::string& value, int, int) const;
  // 0 on success.
  std::uint32_t WriteKeyValue(const std::string& key, const std::string& value, int, int);

 private:
  boost::filesystem::path m_FileName;
};

}  // namespace PI

// What a plug-in is to its host. The order of the virtual members is part of the interface.
class HOST_API IPLUGINAPI {
 public:
  // Carries out one command; see `_COMMAND` for the numbers. Gives `PI::SUCCESS` or a `PI::_ERROR`.
  // What `payload` points to depends on the command; it stays the caller's.
  virtual unsigned int Execute(PI::_COMMAND command, unsigned long objectId, void* payload) = 0;
  virtual ~IPLUGINAPI();

  std::uint32_t m_InterfaceVersion = 0;
  std::uint32_t m_ModuleID = 0;
  // Set by the host between `createIf` and `CMD_INITIALIZE`. Called on the plug-in's worker thread
  // when there is something to collect, with none of the plug-in's locks held.
  boost::function<void(IPLUGINAPI*)> m_HostNotify;
};
