// Widths and order of the fields of the host's records, which must match between a plug-in and a
// host that are built separately.
#include <cstddef>
#include <type_traits>

#include "host/PluginInterface.h"
#include "tests/support/FieldOrder.h"

// Records with virtual members are not standard-layout types, but both compilers support offsetof
// for them.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace {

using CorvaneTest::AreAscending;
using Ids = std::vector<std::uint64_t>;
using Properties = std::vector<PI::CProperty>;

// A record starts with its vtable pointer, followed by its first field.
template <class Record>
constexpr bool StartsWith(std::size_t offset) {
  return std::has_virtual_destructor_v<Record> && offset == sizeof(void*);
}

#define AT(field) offsetof(Record, field)
#define IS(field, type) static_assert(std::is_same_v<decltype(Record::field), type>)

struct ObjectLayout {
  using Record = PI::CObject;
  IS(m_ID, std::uint64_t);
  IS(m_ObjectType, std::uint32_t);
  IS(m_Parents, Ids);
  IS(m_Children, Ids);
  IS(m_ChangeCount, std::uint64_t);
  IS(m_Locked, bool);
  IS(m_Properties, Properties);
  IS(m_Operations, std::vector<PI::COperation>);
  static_assert(StartsWith<Record>(AT(m_ID)));
  static_assert(AreAscending(AT(m_ID), AT(m_ObjectType), AT(m_Parents), AT(m_Children),
                             AT(m_ChangeCount), AT(m_Locked), AT(m_Properties), AT(m_Operations)));
};

struct PropertyLayout {
  using Record = PI::CProperty;
  IS(m_PropertyID, std::uint32_t);
  IS(m_NameID, std::uint32_t);
  IS(m_Visible, std::uint32_t);
  IS(m_SortKey, std::uint32_t);
  IS(m_Indicator, std::uint32_t);
  IS(m_ValueType, std::uint32_t);
  IS(m_Format, std::uint32_t);
  IS(m_Units, PI::_UNITS);
  IS(m_UnitsFixed, bool);
  static_assert(sizeof(PI::_UNITS) == 4);
  static_assert(StartsWith<Record>(AT(m_PropertyID)));
  static_assert(AreAscending(AT(m_PropertyID), AT(m_NameID), AT(m_Visible), AT(m_SortKey),
                             AT(m_Indicator), AT(m_ValueType), AT(m_Format), AT(m_Units),
                             AT(m_UnitsFixed), AT(m_Value)));
  static_assert(PI::VALUE_TYPE_CHOICE == 3 && PI::VALUE_TYPE_RANGE == 7);
};

struct ValueHolderLayout {
  using Record = decltype(PI::CProperty::m_Value);
  IS(m_Choice, PI::CChoiceData);
  IS(m_String, PI::CStringData);
  IS(m_MultiValue, PI::CMultiValueData);
  IS(m_MultiLong, PI::CMultiLongData);
  IS(m_XML, PI::CXMLData);
  IS(m_MultiString, PI::CMultiStringData);
  static_assert(sizeof(Record::m_Number) == 8 && sizeof(Record::m_Float) == 4);
  static_assert(AT(m_Choice) == 0);
  static_assert(AreAscending(AT(m_Choice), AT(m_String), AT(m_Integer), AT(m_Minimum),
                             AT(m_Maximum), AT(m_Step), AT(m_Number), AT(m_Float), AT(m_Bool),
                             AT(m_MultiValue), AT(m_MultiLong), AT(m_XML), AT(m_MultiString)));
};

struct ChoiceLayout {
  using Record = PI::CChoiceData;
  IS(m_Value, std::int32_t);
  IS(m_Allowed, std::vector<std::int32_t>);
  static_assert(StartsWith<Record>(AT(m_Value)));
  static_assert(AreAscending(AT(m_Value), AT(m_Allowed)));
};

struct MultiValueLayout {
  using Record = PI::CMultiValueData;
  IS(m_Values, std::vector<std::int32_t>);
  IS(m_Allowed, std::vector<std::int32_t>);
  static_assert(StartsWith<Record>(AT(m_Values)));
  static_assert(AreAscending(AT(m_Values), AT(m_Allowed)));
};

struct SmallHolderLayout {
  static_assert(StartsWith<PI::CStringData>(offsetof(PI::CStringData, m_Text)));
  static_assert(StartsWith<PI::CMultiLongData>(offsetof(PI::CMultiLongData, m_Values)));
  static_assert(StartsWith<PI::CMultiStringData>(offsetof(PI::CMultiStringData, m_Texts)));
  static_assert(std::has_virtual_destructor_v<PI::CXMLData>);
  static_assert(sizeof(decltype(PI::CMultiLongData::m_Values)::value_type) == 8);
};

struct OperationLayout {
  using Record = PI::COperation;
  IS(m_OperationID, std::uint32_t);
  IS(m_NameID, std::uint32_t);
  IS(m_Class, std::uint32_t);
  IS(m_Properties, Properties);
  IS(m_LogicalDrives, std::vector<PI::CLogicalDrive>);
  IS(m_Levels, std::vector<PI::CLevel>);
  IS(m_Migrations, std::vector<PI::CMigration>);
  IS(m_Events, std::vector<PI::CEvent>);
  IS(m_Partitions, std::vector<PI::CPartition>);
  IS(m_Objects, std::vector<PI::CObject>);
  IS(m_Access, std::uint32_t);
  IS(m_Scope, std::uint32_t);
  IS(m_ConfirmKind, std::uint32_t);
  IS(m_ConfirmText, std::uint32_t);
  IS(m_Timeout, std::int32_t);
  IS(m_Flags, std::uint32_t);
  IS(m_Async, bool);
  static_assert(StartsWith<Record>(AT(m_OperationID)));
  static_assert(AreAscending(AT(m_OperationID), AT(m_NameID), AT(m_Class), AT(m_Properties),
                             AT(m_LogicalDrives), AT(m_Levels), AT(m_Migrations), AT(m_Events),
                             AT(m_Partitions), AT(m_Objects), AT(m_Access), AT(m_Scope),
                             AT(m_ConfirmKind), AT(m_ConfirmText), AT(m_Timeout), AT(m_Flags),
                             AT(m_Async)));
};

struct EventLayout {
  using Record = PI::CEvent;
  IS(m_ObjectID, std::uint64_t);
  IS(m_EventID, std::uint32_t);
  IS(m_Severity, std::uint32_t);
  IS(m_Time, std::uint64_t);
  IS(m_SourceName, std::string);
  static_assert(StartsWith<Record>(AT(m_ObjectID)));
  static_assert(AreAscending(AT(m_ObjectID), AT(m_EventID), AT(m_Severity), AT(m_Time),
                             AT(m_SourceName), AT(m_PlaceHolders)));
  // Fifteen strings, starting with m_SourceName, end the record.
  static_assert(sizeof(Record) == AT(m_SourceName) + 15 * sizeof(std::string));
};

struct AdapterIdLayout {
  using Record = PI::CAdapterID;
  IS(m_Name, std::string);
  IS(m_Segment, std::uint32_t);
  IS(m_Bus, std::uint32_t);
  IS(m_Device, std::uint32_t);
  IS(m_Function, std::uint32_t);
  IS(m_AdapterNumber, std::uint32_t);
  IS(m_GlobalNumber, std::int32_t);
  static_assert(StartsWith<Record>(AT(m_Name)));
  static_assert(AreAscending(AT(m_Name), AT(m_Segment), AT(m_Bus), AT(m_Device), AT(m_Function),
                             AT(m_AdapterNumber), AT(m_GlobalNumber)));
};

// The layout of CAdapterID, followed by a string.
struct GlobalAdapterIdLayout {
  using Record = PI::CGlobalAdapterID;
  using Other = PI::CAdapterID;
  static_assert(std::has_virtual_destructor_v<Record>);
  static_assert(AT(m_Name) == offsetof(Other, m_Name));
  static_assert(AT(m_Segment) == offsetof(Other, m_Segment));
  static_assert(AT(m_Bus) == offsetof(Other, m_Bus));
  static_assert(AT(m_Device) == offsetof(Other, m_Device));
  static_assert(AT(m_Function) == offsetof(Other, m_Function));
  static_assert(AT(m_AdapterNumber) == offsetof(Other, m_AdapterNumber));
  static_assert(AT(m_GlobalNumber) == offsetof(Other, m_GlobalNumber));
  static_assert(AT(m_HostName) == sizeof(Other));
  static_assert(sizeof(Record) == sizeof(Other) + sizeof(std::string));
  using Numbers = std::map<std::string, std::vector<std::int32_t>>;
  static_assert(std::is_same_v<decltype(Record::AllHostsAdaptersUniqueIDs), Numbers>);
};

struct LogicalDriveLayout {
  using Record = PI::CLogicalDrive;
  IS(m_Properties, Properties);
  IS(m_Containers, std::vector<PI::CContainer>);
  static_assert(StartsWith<Record>(AT(m_Level)));
  static_assert(AreAscending(AT(m_Level), AT(m_Properties), AT(m_Size), AT(m_Flags),
                             AT(m_Containers), AT(m_Spares), AT(m_Candidates), AT(m_Members)));
};

struct ContainerLayout {
  using Record = PI::CContainer;
  IS(m_Drives, std::vector<PI::CDrive>);
  static_assert(StartsWith<Record>(AT(m_Drives)));
};

struct DriveLayout {
  using Record = PI::CDrive;
  IS(m_Properties, Properties);
  static_assert(StartsWith<Record>(AT(m_ID)));
  static_assert(AreAscending(AT(m_ID), AT(m_Offset), AT(m_Properties), AT(m_Size), AT(m_Flags)));
};

struct LevelLayout {
  using Record = PI::CLevel;
  IS(m_Properties, Properties);
  static_assert(StartsWith<Record>(AT(m_Level)));
  static_assert(AreAscending(AT(m_Level), AT(m_Depths), AT(m_Flags), AT(m_Properties)));
};

struct MigrationLayout {
  using Record = PI::CMigration;
  IS(m_Properties, Properties);
  static_assert(StartsWith<Record>(AT(m_From)));
  static_assert(AreAscending(AT(m_From), AT(m_To), AT(m_Properties)));
};

struct PartitionLayout {
  using Record = PI::CPartition;
  IS(m_Name, std::string);
  IS(m_MountPoint, std::string);
  static_assert(StartsWith<Record>(AT(m_Offset)));
  static_assert(AreAscending(AT(m_Offset), AT(m_Size), AT(m_Name), AT(m_MountPoint)));
};

static_assert(PI::OBJECT_PLUGIN == 19006 && PI::OBJECT_PHYSICAL_DRIVE == 19018 &&
              PI::OBJECT_ADAPTER == 19038);
static_assert(PI::SEVERITY_INFORMATION == 2 && PI::SEVERITY_WARNING == 3 &&
              PI::SEVERITY_ERROR == 4);
static_assert(PI::UNITS_DEGREES_CELSIUS == 21000 && PI::UNITS_MEGABYTES == 21002 &&
              PI::UNITS_SECONDS == 21007 && PI::UNITS_PERCENT == 21010 &&
              PI::UNITS_BYTES == 21025 && PI::UNITS_WATTS == 21028);

#undef AT
#undef IS

}  // namespace
