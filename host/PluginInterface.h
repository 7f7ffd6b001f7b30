// The interface between a plug-in and its host, and the records that they exchange.
//
// Declarations only; the host's plug-in interface library defines the members. Records are plain
// values that own their contents; copies are independent. A record may be used on any thread, but
// only on one at a time. Members of records throw only std::bad_alloc. The destructor is a record's
// only virtual member.
//
// Units, value types, the lifetime estimate and the ini file format depend on the host. For those
// of the host kit, see hostkit/Units.h, ValueTypes.h, Lifetime.h and ConfigFile.h.
//
// Fields marked "host-only" are set by the host, or by the plug-in for the host; they have no
// meaning for a plug-in.
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

// The value holder that a property uses, for `CProperty::m_ValueType`. A plug-in tests only for
// choice and range; the numbers of the other types depend on the host.
enum _VALUE_TYPE : std::uint32_t { VALUE_TYPE_CHOICE = 3, VALUE_TYPE_RANGE = 7 };

// One value identifier from a set.
class HOST_API CChoiceData {
 public:
  virtual ~CChoiceData();

  std::int32_t m_Value = 0;             // a `_VALUE_ID`; not checked against the set
  std::vector<std::int32_t> m_Allowed;  // the set, in display order
};

// A string.
class HOST_API CStringData {
 public:
  virtual ~CStringData();

  std::string m_Text;
};

// Several value identifiers from a set.
class HOST_API CMultiValueData {
 public:
  virtual ~CMultiValueData();

  std::vector<std::int32_t> m_Values;   // each a `_VALUE_ID`; not checked against the set
  std::vector<std::int32_t> m_Allowed;  // the set
};

// Several numbers. Host-only.
class HOST_API CMultiLongData {
 public:
  virtual ~CMultiLongData();

  std::vector<std::int64_t> m_Values;
};

// An XML document in the format of the host's toolkit, as text. Host-only.
class HOST_API CXMLData {
 public:
  virtual ~CXMLData();

  std::string m_Document;
};

// Several strings. Host-only.
class HOST_API CMultiStringData {
 public:
  virtual ~CMultiStringData();

  std::vector<std::string> m_Texts;
};

// One named, typed value.
//
// The constructor leaves the value holders empty and sets the display fields to the host's
// defaults: visible, units fixed, and no sort key, indicator, format or unit. The last setter
// called determines which holder is used.
class HOST_API CProperty {
 public:
  // Sets both `m_PropertyID` and `m_NameID` to `id`. If `writable` is true, the host may send the
  // property back with `CMD_SET_PROPERTY`.
  CProperty(_PROPERTY_ID id, bool writable);
  CProperty(const CProperty& other);
  CProperty& operator=(const CProperty& other);
  virtual ~CProperty();

  // Set the value holder of the argument's type, and `m_ValueType` to match. nullptr is stored as
  // an empty string.
  void SetValue(const char* text);
  void SetValue(const std::string& text);
  void SetValue(bool value);
  void SetValue(float value);
  void SetValue(unsigned long value);
  // Sets a choice: `value` is one of the identifiers in `allowed`.
  void SetValue(int value, const std::vector<int>& allowed);
  // Sets an integer with a range. `value` is not limited to the range.
  void SetValue(int value, int minimum, int maximum, unsigned int step);
  // Sets several of the identifiers in `allowed`. Both vectors are copied; they remain unchanged.
  void SetValue(std::vector<int>& values, std::vector<int>& allowed);

  // Read the holder of a choice, or of an integer with a range, and set all outputs. They do not
  // check `m_ValueType`; callers must check it first.
  void GetValue(int& value, std::vector<int>& allowed);
  void GetValue(int& value, int& minimum, int& maximum, unsigned int& step);
  // Reads the value of an integer with a range, without the range.
  void GetValueRange(int& value) const;

  std::uint32_t m_PropertyID;  // selects the property in `CMD_GET_PROPERTY`
  std::uint32_t m_NameID;      // the display name; in an operation, identifies the parameter
  std::uint32_t m_Visible;     // 0 for properties that the host does not display
  std::uint32_t m_SortKey;     // position in the host's display, from 23000
  std::uint32_t m_Indicator;   // color class of a state value, from 24000
  std::uint32_t m_ValueType;   // a `_VALUE_TYPE`, or another number defined by the host
  std::uint32_t m_Format;      // display format of a float; the host defines the numbers
  _UNITS m_Units;              // unit of the value, if it has one
  bool m_UnitsFixed;           // host-only
  bool m_Writable;             // as passed to the constructor

  // The value holders. `m_ValueType` selects one of them.
  struct {
    CChoiceData m_Choice;
    CStringData m_String;
    std::int32_t m_Integer = 0;  // an integer with a range
    std::int32_t m_Minimum = 0;  // the smallest value of the range
    std::int32_t m_Maximum = 0;  // the largest value of the range
    std::uint32_t m_Step = 0;    // between values of the range
    std::uint64_t m_Number = 0;  // an integer without a range
    float m_Float = 0;           // displayed according to `m_Format`
    bool m_Bool = false;
    CMultiValueData m_MultiValue;
    CMultiLongData m_MultiLong;      // host-only
    CXMLData m_XML;                  // host-only
    CMultiStringData m_MultiString;  // host-only
  } m_Value;
};

// One entry of the host's event log. The constructor sets numbers to 0 or UNDEFINED, and leaves
// strings empty.
class HOST_API CEvent {
 public:
  CEvent();
  CEvent(const CEvent& other);
  CEvent& operator=(const CEvent& other);
  virtual ~CEvent();

  // Set the first and the second string that the host inserts into the event's message.
  void SetPlaceHolder1(const std::string& text);
  void SetPlaceHolder2(const std::string& text);

  std::uint64_t m_ObjectID;                    // `CObject::m_ID` of the object concerned
  std::uint32_t m_EventID;                     // an `_EVENT_ID`
  std::uint32_t m_Severity;                    // a `_SEVERITY`
  std::uint64_t m_Time;                        // `MBX::Misc::now()` at creation, in milliseconds
  std::string m_SourceName;                    // the object's name
  std::array<std::string, 14> m_PlaceHolders;  // strings for %1, %2, ... in the message
};

class COperation;

// The base class of all objects that a plug-in presents to the host.
class HOST_API CObject {
 public:
  CObject();
  CObject(const CObject& other);
  CObject& operator=(const CObject& other);
  virtual ~CObject();

  // Whether both records describe the same object: compares only `m_ID` and `m_ObjectType`.
  bool operator==(const CObject& other) const;

  std::uint64_t m_ID;                     // unique within a plug-in; identifies it in commands
  std::uint32_t m_ObjectType;             // an `_OBJECT_TYPE`
  std::vector<std::uint64_t> m_Parents;   // ids of the parent objects
  std::vector<std::uint64_t> m_Children;  // ids of the child objects
  std::uint64_t m_ChangeCount;            // incremented at each change relevant to the host
  bool m_Locked;                          // a job is running on the object
  std::vector<CProperty> m_Properties;    // filled only in copies for the host
  std::vector<COperation> m_Operations;   // filled only in copies for the host
};

// The records from here to `CPartition` are used only in operations. All their fields are
// host-only.

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

// A drive that the host presents, composed of containers.
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

// An operation on an object, with its parameters and results. The constructor leaves it empty.
class HOST_API COperation {
 public:
  COperation();
  COperation(const COperation& other);
  COperation& operator=(const COperation& other);
  virtual ~COperation();

  std::uint32_t m_OperationID;          // an `_OPERATION_ID`
  std::uint32_t m_NameID;               // the display name; same number as `m_OperationID`
  std::uint32_t m_Class;                // host-only
  std::vector<CProperty> m_Properties;  // parameters, identified by their `m_NameID`
  std::vector<CLogicalDrive> m_LogicalDrives;
  std::vector<CLevel> m_Levels;
  std::vector<CMigration> m_Migrations;
  std::vector<CEvent> m_Events;  // result of `OP_GET_EVENTS`
  std::vector<CPartition> m_Partitions;
  std::vector<CObject> m_Objects;
  std::uint32_t m_Access;       // host-only
  std::uint32_t m_Scope;        // host-only
  std::uint32_t m_ConfirmKind;  // 1: no confirmation; 2 or 3: confirm with `m_ConfirmText`
  std::uint32_t m_ConfirmText;  // the host's number of the confirmation text, or 1 for none
  std::int32_t m_Timeout;       // host-only
  std::uint32_t m_Flags;        // host-only
  bool m_Async;                 // host-only
};

// The identity of one adapter, exchanged at startup: the plug-in reports the adapter's PCI
// location, and the host returns its display number.
class HOST_API CAdapterID {
 public:
  CAdapterID();
  CAdapterID(const CAdapterID& other);
  CAdapterID& operator=(const CAdapterID& other);
  virtual ~CAdapterID();

  std::string m_Name;       // the adapter's display name
  std::uint32_t m_Segment;  // the PCI location: segment, bus, device, function
  std::uint32_t m_Bus;
  std::uint32_t m_Device;
  std::uint32_t m_Function;
  std::uint32_t m_AdapterNumber;  // the number that the plug-in uses for the adapter
  std::int32_t m_GlobalNumber;    // the display number, or -1 if none is assigned
};

// Assigns an adapter a number that is unique across all plug-ins and hosts.
class HOST_API CGlobalAdapterID {
 public:
  CGlobalAdapterID();
  virtual ~CGlobalAdapterID();

  // Assigns the number, based on `m_HostName` and the PCI location: the same location on the same
  // host always gets the same number. May be called simultaneously for different objects.
  void GenerateUniqueAdapterNumber();
  // Returns the assigned number, or -1 before `GenerateUniqueAdapterNumber`.
  int GetGlobalAdapterNumber() const;

  std::string m_Name;       // as in `CAdapterID`
  std::uint32_t m_Segment;  // the PCI location: segment, bus, device, function
  std::uint32_t m_Bus;
  std::uint32_t m_Device;
  std::uint32_t m_Function;
  std::uint32_t m_AdapterNumber;  // as in `CAdapterID`
  std::int32_t m_GlobalNumber;    // the assigned number, or -1
  std::string m_HostName;         // name of the machine that contains the adapter

  // The numbers assigned so far, by host name. A plug-in must add an entry for its host before it
  // generates a number. A host may add numbers that were assigned elsewhere, so that they are not
  // reused. Not thread-safe: add entries only while no thread generates a number.
  static std::map<std::string, std::vector<std::int32_t>> AllHostsAdaptersUniqueIDs;
};

// Calculations shared by all plug-ins of a host. Thread-safe.
class HOST_API CPluginHelper {
 public:
  // Converts `bytes` to the largest unit that fits, and returns true. If the host has no unit for
  // that size, returns false and leaves both outputs unchanged.
  static bool ConvertBytesToOtherUnit(unsigned long bytes, float& value, _UNITS& unit);

  // Estimates the remaining lifetime of a card in hours. `usedHours` is its age, `usedPercent` the
  // used part of its rated endurance, and `ratedTBytes` that endurance in units of 2^40 bytes.
  // Always sets `remainingHours`.
  static void ComputeRemainingLifeTime(unsigned long usedHours, unsigned long bytesWritten,
                                       unsigned int usedPercent, unsigned long ratedTBytes,
                                       unsigned long& remainingHours);
};

// A plug-in's ini file, in a directory chosen by the host. Its keys are not in a section. Several
// objects, even in different processes, may use the same file simultaneously.
class HOST_API CConfigFile {
 public:
  CConfigFile();
  virtual ~CConfigFile();

  // Selects the file. Call before the functions below. Only the last component of `name` is used.
  void SetFileName(const boost::filesystem::path& name);
  // Reads the file and sets `value` to the value of the key. Returns 0 if the file contains the
  // key; otherwise returns an error number of the host and leaves `value` unchanged. Pass -1 for
  // the last two arguments.
  std::uint32_t ReadKeyValue(const std::string& key, std::string& value, int, int) const;
  // Sets the key in the file. Returns 0 on success; otherwise returns an error number of the host
  // and leaves the file unchanged. Pass -1 for the last two arguments.
  std::uint32_t WriteKeyValue(const std::string& key, const std::string& value, int, int);

 private:
  boost::filesystem::path m_FileName;
};

}  // namespace PI

// The interface that a plug-in implements for its host. The order of the virtual members is part of
// the interface.
class HOST_API IPLUGINAPI {
 public:
  // Runs one command. Returns `PI::SUCCESS` or another `PI::_ERROR`. `objectId` identifies the
  // object that the command applies to, or is 0. `payload` points to the record or list given in
  // `_COMMAND`; the caller owns it, and results are stored in it. Thread-safe, except that
  // `CMD_INITIALIZE` must be the first command and `CMD_DEINITIALIZE` the last, and no other
  // command may run at the same time as either.
  virtual unsigned int Execute(PI::_COMMAND command, unsigned long objectId, void* payload) = 0;
  virtual ~IPLUGINAPI();

  std::uint32_t m_InterfaceVersion = 0;  // of this interface, set by the plug-in
  std::uint32_t m_ModuleID = 0;          // the plug-in's number among the host's modules
  // The host's callback; may be empty. The host sets it between `createIf` and `CMD_INITIALIZE`.
  // The plug-in calls it on one of its threads, without holding a lock, when there are changes or
  // events for the host to collect.
  boost::function<void(IPLUGINAPI*)> m_HostNotify;
};
