// The records that a plug-in and its host exchange, and the one interface between them.
//
// Declarations only; the host's plug-in interface library defines the members. Records are plain
// values that own all they contain; copies are independent. They may be used on any thread, each
// object on one thread at a time. Their members throw nothing but std::bad_alloc. The destructor is
// a record's only virtual member.
//
// A host is free in units, value types, lifetimes and ini files; what the host kit does there is
// described in hostkit/Units.h, ValueTypes.h, Lifetime.h and ConfigFile.h.
//
// Fields marked "carried" are set for the host or by it, and have no meaning for a plug-in.
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

// Which value holder of a property is used, `CProperty::m_ValueType`. A plug-in tests for choice
// and range only; the numbers of the other kinds are the host's.
enum _VALUE_TYPE : std::uint32_t { VALUE_TYPE_CHOICE = 3, VALUE_TYPE_RANGE = 7 };

// One value identifier out of a set.
class HOST_API CChoiceData {
 public:
  virtual ~CChoiceData();

  std::int32_t m_Value = 0;             // a `_VALUE_ID`; not checked against the set
  std::vector<std::int32_t> m_Allowed;  // the set, in the order in which to offer it
};

// A text.
class HOST_API CStringData {
 public:
  virtual ~CStringData();

  std::string m_Text;
};

// Several value identifiers out of a set.
class HOST_API CMultiValueData {
 public:
  virtual ~CMultiValueData();

  std::vector<std::int32_t> m_Values;   // each a `_VALUE_ID`; not checked against the set
  std::vector<std::int32_t> m_Allowed;  // the set
};

// Several numbers. Carried.
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

// Several texts. Carried.
class HOST_API CMultiStringData {
 public:
  virtual ~CMultiStringData();

  std::vector<std::string> m_Texts;
};

// One named, typed value.
//
// The constructor leaves the value holders empty and the display fields at the host's defaults:
// visible, units fixed, and no sort key, indicator, format or unit. The setter called last decides
// which holder is used.
class HOST_API CProperty {
 public:
  // `id` becomes both `m_PropertyID` and `m_NameID`. `writable`: the host may send the property
  // back with `CMD_SET_PROPERTY`.
  CProperty(_PROPERTY_ID id, bool writable);
  CProperty(const CProperty& other);
  CProperty& operator=(const CProperty& other);
  virtual ~CProperty();

  // Each sets the holder of its kind, and `m_ValueType` to that kind. nullptr is an empty text.
  void SetValue(const char* text);
  void SetValue(const std::string& text);
  void SetValue(bool value);
  void SetValue(float value);
  void SetValue(unsigned long value);
  // A choice: `value` is one of the identifiers in `allowed`.
  void SetValue(int value, const std::vector<int>& allowed);
  // An integer with a range. The value is kept as given, even outside the range.
  void SetValue(int value, int minimum, int maximum, unsigned int step);
  // Several of the identifiers in `allowed`. Both vectors are copied and unchanged.
  void SetValue(std::vector<int>& values, std::vector<int>& allowed);

  // Read the holder of a choice, or of an integer with a range, whatever `m_ValueType` is: a reader
  // tests that first. All outputs are set.
  void GetValue(int& value, std::vector<int>& allowed);
  void GetValue(int& value, int& minimum, int& maximum, unsigned int& step);
  // The value of an integer with a range, without the range.
  void GetValueRange(int& value) const;

  std::uint32_t m_PropertyID;  // what `CMD_GET_PROPERTY` selects by
  std::uint32_t m_NameID;      // the name shown; which parameter, for a parameter of an operation
  std::uint32_t m_Visible;     // 0: for the host's logic, not for display
  std::uint32_t m_SortKey;     // position in the host's display, from 23000
  std::uint32_t m_Indicator;   // color class of a state value, from 24000
  std::uint32_t m_ValueType;   // a `_VALUE_TYPE`, or another number of the host's
  std::uint32_t m_Format;      // how a float is shown, a number of the host's
  _UNITS m_Units;              // of the value, when it has a unit
  bool m_UnitsFixed;           // carried
  bool m_Writable;             // as given to the constructor

  // The value holders. Which one is used, `m_ValueType` says.
  struct {
    CChoiceData m_Choice;
    CStringData m_String;
    std::int32_t m_Integer = 0;  // of a range
    std::int32_t m_Minimum = 0;  // the smallest value of the range
    std::int32_t m_Maximum = 0;  // the largest value of the range
    std::uint32_t m_Step = 0;    // between values of the range
    std::uint64_t m_Number = 0;  // without a range
    float m_Float = 0;           // to be shown as `m_Format` says
    bool m_Bool = false;
    CMultiValueData m_MultiValue;
    CMultiLongData m_MultiLong;      // carried
    CXMLData m_XML;                  // carried
    CMultiStringData m_MultiString;  // carried
  } m_Value;
};

// One entry of the host's event log. The constructor sets numbers to 0 or UNDEFINED and texts to
// empty.
class HOST_API CEvent {
 public:
  CEvent();
  CEvent(const CEvent& other);
  CEvent& operator=(const CEvent& other);
  virtual ~CEvent();

  // Set the first and the second text that the host inserts into the event's message.
  void SetPlaceHolder1(const std::string& text);
  void SetPlaceHolder2(const std::string& text);

  std::uint64_t m_ObjectID;                    // `CObject::m_ID` of the object that it is about
  std::uint32_t m_EventID;                     // an `_EVENT_ID`
  std::uint32_t m_Severity;                    // a `_SEVERITY`
  std::uint64_t m_Time;                        // `MBX::Misc::now()` at creation, in milliseconds
  std::string m_SourceName;                    // the object's name
  std::array<std::string, 14> m_PlaceHolders;  // %1 and so on in the message
};

class COperation;

// Base of every object that the host sees.
class HOST_API CObject {
 public:
  CObject();
  CObject(const CObject& other);
  CObject& operator=(const CObject& other);
  virtual ~CObject();

  // Whether both are records of the same object: `m_ID` and `m_ObjectType` are equal.
  bool operator==(const CObject& other) const;

  std::uint64_t m_ID;                     // unique among the objects of a plug-in; key of requests
  std::uint32_t m_ObjectType;             // an `_OBJECT_TYPE`
  std::vector<std::uint64_t> m_Parents;   // ids of the objects above
  std::vector<std::uint64_t> m_Children;  // ids of the objects below
  std::uint64_t m_ChangeCount;            // grows with each change that the host should see
  bool m_Locked;                          // a job is working on the object
  std::vector<CProperty> m_Properties;    // only in the copies that the host receives
  std::vector<COperation> m_Operations;   // only in the copies that the host receives
};

// The records up to `CPartition` exist because an operation contains them. All are carried.

// A part of a drive.
class HOST_API CDrive {
 public:
  virtual ~CDrive();

  std::uint64_t m_ID = 0;
  std::uint64_t m_Offset = 0;
  std::vector<CProperty> m_Properties;
  std::uint64_t m_Size = 0;
  std::uint32_t m_Flags = 0;
};

// Parts of drives that form one unit.
class HOST_API CContainer {
 public:
  virtual ~CContainer();

  std::vector<CDrive> m_Drives;
};

// A drive that the host presents, made of containers.
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

// A level of redundancy that an operation offers.
class HOST_API CLevel {
 public:
  virtual ~CLevel();

  std::uint32_t m_Level = 0;
  std::vector<std::uint32_t> m_Depths;
  std::uint32_t m_Flags = 0;
  std::vector<CProperty> m_Properties;
};

// A change from one level to another.
class HOST_API CMigration {
 public:
  virtual ~CMigration();

  std::uint32_t m_From = 0;
  std::uint32_t m_To = 0;
  std::vector<CProperty> m_Properties;
};

// A partition and where it is mounted.
class HOST_API CPartition {
 public:
  virtual ~CPartition();

  std::uint64_t m_Offset = 0;
  std::uint64_t m_Size = 0;
  std::string m_Name;
  std::string m_MountPoint;
};

// One thing that can be done to an object, with its parameters and its results. The constructor
// leaves it empty.
class HOST_API COperation {
 public:
  COperation();
  COperation(const COperation& other);
  COperation& operator=(const COperation& other);
  virtual ~COperation();

  std::uint32_t m_OperationID;          // an `_OPERATION_ID`
  std::uint32_t m_NameID;               // the name shown, the same number
  std::uint32_t m_Class;                // carried
  std::vector<CProperty> m_Properties;  // parameters, identified by their `m_NameID`
  std::vector<CLogicalDrive> m_LogicalDrives;
  std::vector<CLevel> m_Levels;
  std::vector<CMigration> m_Migrations;
  std::vector<CEvent> m_Events;  // result of `OP_GET_EVENTS`
  std::vector<CPartition> m_Partitions;
  std::vector<CObject> m_Objects;
  std::uint32_t m_Access;       // carried
  std::uint32_t m_Scope;        // carried
  std::uint32_t m_ConfirmKind;  // 1: no question before it; 2 or 3: `m_ConfirmText`
  std::uint32_t m_ConfirmText;  // number of the host text with the question, or 1
  std::int32_t m_Timeout;       // carried
  std::uint32_t m_Flags;        // carried
  bool m_Async;                 // carried
};

// The identity of one adapter, exchanged at startup: the plug-in reports where it is, and the host
// returns the number to show.
class HOST_API CAdapterID {
 public:
  CAdapterID();
  CAdapterID(const CAdapterID& other);
  CAdapterID& operator=(const CAdapterID& other);
  virtual ~CAdapterID();

  std::string m_Name;       // of the adapter, for people
  std::uint32_t m_Segment;  // the PCI location: segment, bus, device, function
  std::uint32_t m_Bus;
  std::uint32_t m_Device;
  std::uint32_t m_Function;
  std::uint32_t m_AdapterNumber;  // the plug-in's own number of the adapter
  std::int32_t m_GlobalNumber;    // the number to show; -1: none assigned
};

// Assigns an adapter a number that is unique among all plug-ins of all hosts.
class HOST_API CGlobalAdapterID {
 public:
  CGlobalAdapterID();
  virtual ~CGlobalAdapterID();

  // Assigns the number, from `m_HostName` and the PCI location; an adapter in the same place of the
  // same host always gets the same one. Several objects may do so at the same time, on different
  // threads.
  void GenerateUniqueAdapterNumber();
  // The assigned number, or -1 before `GenerateUniqueAdapterNumber`.
  int GetGlobalAdapterNumber() const;

  std::string m_Name;       // as in `CAdapterID`
  std::uint32_t m_Segment;  // the PCI location: segment, bus, device, function
  std::uint32_t m_Bus;
  std::uint32_t m_Device;
  std::uint32_t m_Function;
  std::uint32_t m_AdapterNumber;  // as in `CAdapterID`
  std::int32_t m_GlobalNumber;    // the assigned number, or -1
  std::string m_HostName;         // of the machine that the adapter is in

  // The numbers assigned so far, by host name. A plug-in makes sure that its host has an entry
  // before it asks for a number. A host may add numbers that were assigned elsewhere, so that they
  // are not used again. Not locked: add entries only while no thread generates a number.
  static std::map<std::string, std::vector<std::int32_t>> AllHostsAdaptersUniqueIDs;
};

// Calculations that all plug-ins of a host share. From any thread.
class HOST_API CPluginHelper {
 public:
  // Scales `bytes` to the largest unit that fits, and returns true. Returns false, with both
  // outputs unchanged, if the host has no unit for such a count.
  static bool ConvertBytesToOtherUnit(unsigned long bytes, float& value, _UNITS& unit);

  // Estimates how many hours a card will last, from its age in hours, the bytes written to it, the
  // used percentage of its rated endurance, and that endurance in units of 2^40 bytes. Always sets
  // `remainingHours`.
  static void ComputeRemainingLifeTime(unsigned long usedHours, unsigned long bytesWritten,
                                       unsigned int usedPercent, unsigned long ratedTBytes,
                                       unsigned long& remainingHours);
};

// A plug-in's ini file, in a directory that the host chooses. Its keys belong to no section.
// Several objects, also in different processes, may use the same file at the same time.
class HOST_API CConfigFile {
 public:
  CConfigFile();
  virtual ~CConfigFile();

  // Selects the file; call it before the members below. Only the last component of `name` is used.
  void SetFileName(const boost::filesystem::path& name);
  // Reads the file. 0 if it has the key, and sets `value`; otherwise a number of the host's, and
  // `value` is unchanged. The two last arguments are -1.
  std::uint32_t ReadKeyValue(const std::string& key, std::string& value, int, int) const;
  // Sets the key in the file. 0 on success; otherwise a number of the host's, and the file is
  // unchanged. The two last arguments are -1.
  std::uint32_t WriteKeyValue(const std::string& key, const std::string& value, int, int);

 private:
  boost::filesystem::path m_FileName;
};

}  // namespace PI

// A plug-in as its host sees it. The order of the virtual members is part of the interface.
class HOST_API IPLUGINAPI {
 public:
  // Carries out one command. Returns `PI::SUCCESS` or another `PI::_ERROR`. `objectId` is the
  // object that the command is about, or 0. `payload` is the command's record or list, as
  // `_COMMAND` says; the caller owns it, and results are written into it. From any thread, several
  // at a time; `CMD_INITIALIZE` comes first and `CMD_DEINITIALIZE` last, each alone.
  virtual unsigned int Execute(PI::_COMMAND command, unsigned long objectId, void* payload) = 0;
  virtual ~IPLUGINAPI();

  std::uint32_t m_InterfaceVersion = 0;  // of this interface, set by the plug-in
  std::uint32_t m_ModuleID = 0;          // the plug-in's number among the host's modules
  // Set by the host between `createIf` and `CMD_INITIALIZE`; may be empty. Called on a thread of
  // the plug-in's, with none of its locks held, when there are changes or events to collect.
  boost::function<void(IPLUGINAPI*)> m_HostNotify;
};
