// The fields of each record of the plug-in interface and the database, for both reading and
// writing.
#pragma once

#include "console/model/CardRecords.h"
#include "console/model/CardTimes.h"
#include "host/PluginInterface.h"
#include "hostkit/Database.h"
#include "hostkit/EventCounts.h"
#include "hostkit/EventLog.h"

namespace Console {

// `RecordFields<Record>::Visit(record, visit)` calls `visit("name", member)` for each field. The
// record may be const.
template <class Record>
struct RecordFields;

template <>
struct RecordFields<PI::CChoiceData> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("value", record.m_Value);
    visit("allowed", record.m_Allowed);
  }
};

template <>
struct RecordFields<PI::CStringData> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("text", record.m_Text);
  }
};

template <>
struct RecordFields<PI::CMultiValueData> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("values", record.m_Values);
    visit("allowed", record.m_Allowed);
  }
};

template <>
struct RecordFields<PI::CMultiLongData> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("values", record.m_Values);
  }
};

template <>
struct RecordFields<PI::CXMLData> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("document", record.m_Document);
  }
};

template <>
struct RecordFields<PI::CMultiStringData> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("texts", record.m_Texts);
  }
};

template <>
struct RecordFields<PI::CProperty> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("property_id", record.m_PropertyID);
    visit("name_id", record.m_NameID);
    visit("visible", record.m_Visible);
    visit("sort_key", record.m_SortKey);
    visit("indicator", record.m_Indicator);
    visit("value_type", record.m_ValueType);
    visit("format", record.m_Format);
    visit("units", record.m_Units);
    visit("units_fixed", record.m_UnitsFixed);
    visit("writable", record.m_Writable);
    visit("choice", record.m_Value.m_Choice);
    visit("string", record.m_Value.m_String);
    visit("integer", record.m_Value.m_Integer);
    visit("minimum", record.m_Value.m_Minimum);
    visit("maximum", record.m_Value.m_Maximum);
    visit("step", record.m_Value.m_Step);
    visit("number", record.m_Value.m_Number);
    visit("float", record.m_Value.m_Float);
    visit("bool", record.m_Value.m_Bool);
    visit("multi_value", record.m_Value.m_MultiValue);
    visit("multi_long", record.m_Value.m_MultiLong);
    visit("xml", record.m_Value.m_XML);
    visit("multi_string", record.m_Value.m_MultiString);
  }
};

template <>
struct RecordFields<PI::CEvent> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("object_id", record.m_ObjectID);
    visit("event_id", record.m_EventID);
    visit("severity", record.m_Severity);
    visit("time", record.m_Time);
    visit("source_name", record.m_SourceName);
    visit("place_holders", record.m_PlaceHolders);
  }
};

template <>
struct RecordFields<CardTime> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("adapter", record.m_Adapter);
    visit("read_ms", record.m_ReadAt);
  }
};

template <>
struct RecordFields<CardTimes> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("observed_ms", record.m_ObservedAt);
    visit("scanned_ms", record.m_ScannedAt);
    visit("cards", record.m_Cards);
  }
};

template <>
struct RecordFields<KnownCard> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("serial_number", record.m_SerialNumber);
    visit("position", record.m_Position);
    visit("first_seen_ms", record.m_FirstSeen);
    visit("last_seen_ms", record.m_LastSeen);
    visit("present", record.m_IsPresent);
    visit("name", record.m_Name);
    visit("product", record.m_Product);
    visit("pci_address", record.m_PciAddress);
    visit("slot", record.m_Slot);
    visit("size_bytes", record.m_SizeBytes);
  }
};

template <>
struct RecordFields<UnreadableCard> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("serial_number", record.m_SerialNumber);
    visit("pci_address", record.m_PciAddress);
    visit("reason", record.m_Reason);
  }
};

template <>
struct RecordFields<LocateLed> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("adapter", record.m_Adapter);
    visit("on", record.m_IsOn);
  }
};

template <>
struct RecordFields<CardRecords> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("known", record.m_Known);
    visit("next_position", record.m_NextPosition);
    visit("unreadable", record.m_Unreadable);
    visit("formatting", record.m_Formatting);
    visit("locate_leds", record.m_LocateLeds);
  }
};

template <>
struct RecordFields<PI::CObject> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("id", record.m_ID);
    visit("object_type", record.m_ObjectType);
    visit("parents", record.m_Parents);
    visit("children", record.m_Children);
    visit("change_count", record.m_ChangeCount);
    visit("locked", record.m_Locked);
    visit("properties", record.m_Properties);
    visit("operations", record.m_Operations);
  }
};

template <>
struct RecordFields<PI::CDrive> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("id", record.m_ID);
    visit("offset", record.m_Offset);
    visit("properties", record.m_Properties);
    visit("size", record.m_Size);
    visit("flags", record.m_Flags);
  }
};

template <>
struct RecordFields<PI::CContainer> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("drives", record.m_Drives);
  }
};

template <>
struct RecordFields<PI::CLogicalDrive> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("level", record.m_Level);
    visit("properties", record.m_Properties);
    visit("size", record.m_Size);
    visit("flags", record.m_Flags);
    visit("containers", record.m_Containers);
    visit("spares", record.m_Spares);
    visit("candidates", record.m_Candidates);
    visit("members", record.m_Members);
  }
};

template <>
struct RecordFields<PI::CLevel> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("level", record.m_Level);
    visit("depths", record.m_Depths);
    visit("flags", record.m_Flags);
    visit("properties", record.m_Properties);
  }
};

template <>
struct RecordFields<PI::CMigration> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("from", record.m_From);
    visit("to", record.m_To);
    visit("properties", record.m_Properties);
  }
};

template <>
struct RecordFields<PI::CPartition> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("offset", record.m_Offset);
    visit("size", record.m_Size);
    visit("name", record.m_Name);
    visit("mount_point", record.m_MountPoint);
  }
};

template <>
struct RecordFields<PI::COperation> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("operation_id", record.m_OperationID);
    visit("name_id", record.m_NameID);
    visit("class", record.m_Class);
    visit("properties", record.m_Properties);
    visit("logical_drives", record.m_LogicalDrives);
    visit("levels", record.m_Levels);
    visit("migrations", record.m_Migrations);
    visit("events", record.m_Events);
    visit("partitions", record.m_Partitions);
    visit("objects", record.m_Objects);
    visit("access", record.m_Access);
    visit("scope", record.m_Scope);
    visit("confirm_kind", record.m_ConfirmKind);
    visit("confirm_text", record.m_ConfirmText);
    visit("timeout", record.m_Timeout);
    visit("flags", record.m_Flags);
    visit("async", record.m_Async);
  }
};

template <>
struct RecordFields<PI::CAdapterID> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("name", record.m_Name);
    visit("segment", record.m_Segment);
    visit("bus", record.m_Bus);
    visit("device", record.m_Device);
    visit("function", record.m_Function);
    visit("adapter_number", record.m_AdapterNumber);
    visit("global_number", record.m_GlobalNumber);
  }
};

template <>
struct RecordFields<HostKit::LoggedEvent> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("number", record.m_Number);
    visit("time", record.m_Time);
    visit("severity", record.m_Severity);
    visit("event_id", record.m_EventID);
    visit("object_id", record.m_ObjectID);
    visit("source_name", record.m_SourceName);
    visit("message", record.m_Message);
    visit("serial_number", record.m_SerialNumber);
    visit("object_type", record.m_ObjectType);
  }
};

template <>
struct RecordFields<HostKit::EventCount> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("event_id", record.m_EventID);
    visit("severity", record.m_Severity);
    visit("count", record.m_Count);
    visit("serial_number", record.m_SerialNumber);
  }
};

template <>
struct RecordFields<HostKit::RowColumn> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("name", record.m_Name);
    visit("kind", record.m_Kind);
  }
};

template <>
struct RecordFields<HostKit::RowTable> {
  template <class Record, class Visitor>
  static void Visit(Record& record, Visitor&& visit) {
    visit("name", record.m_Name);
    visit("columns", record.m_Columns);
    visit("rows", record.m_Rows);
  }
};

}  // namespace Console
