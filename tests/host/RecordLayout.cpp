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

// The first field follows the vtable pointer at the start of the record.
template <class Record>
constexpr bool IsFirstField(std::size_t offset) {
  return std::has_virtual_destructor_v<Record> && offset == sizeof(void*);
}

#define AT(field) offsetof(Record, field)
#define HAS_TYPE(field, type) static_assert(std::is_same_v<decltype(Record::field), type>)

struct ObjectLayout {
  using Record = PI::CObject;
  HAS_TYPE(m_ID, std::uint64_t);
  HAS_TYPE(m_ObjectType, std::uint32_t);
  HAS_TYPE(m_Parents, Ids);
  HAS_TYPE(m_Children, Ids);
  HAS_TYPE(m_ChangeCount, std::uint64_t);
  HAS_TYPE(m_Locked, bool);
  HAS_TYPE(m_Properties, Properties);
  HAS_TYPE(m_Operations, std::vector<PI::COperation>);
  static_assert(IsFirstField<Record>(AT(m_ID)));
  static_assert(AreAscending(AT(m_ID), AT(m_ObjectType), AT(m_Parents), AT(m_Children),
                             AT(m_ChangeCount), AT(m_Locked), AT(m_Properties), AT(m_Operations)));
};

struct PropertyLayout {
  using Record = PI::CProperty;
  HAS_TYPE(m_PropertyID, std::uint32_t);
  HAS_TYPE(m_NameID, std::uint32_t);
  HAS_TYPE(m_Visible, std::uint32_t);
  HAS_TYPE(m_SortKey, std::uint32_t);
  HAS_TYPE(m_Indicator, std::uint32_t);
  HAS_TYPE(m_ValueType, std::uint32_t);
  HAS_TYPE(m_Format, std::uint32_t);
  HAS_TYPE(m_Units, PI::_UNITS);
  HAS_TYPE(m_UnitsFixed, bool);
  static_assert(sizeof(PI::_UNITS) == 4);
  static_assert(IsFirstField<Record>(AT(m_PropertyID)));
  static_assert(AreAscending(AT(m_PropertyID), AT(m_NameID), AT(m_Visible), AT(m_SortKey),
                             AT(m_Indicator), AT(m_ValueType), AT(m_Format), AT(m_Units),
                             AT(m_UnitsFixed), AT(m_Value)));
  static_assert(PI::VALUE_TYPE_CHOICE == 3 && PI::VALUE_TYPE_RANGE == 7);
};

struct ValueHolderLayout {
  using Record = decltype(PI::CProperty::m_Value);
  HAS_TYPE(m_Choice, PI::CChoiceData);
  HAS_TYPE(m_String, PI::CStringData);
  HAS_TYPE(m_MultiValue, PI::CMultiValueData);
  HAS_TYPE(m_MultiLong, PI::CMultiLongData);
  HAS_TYPE(m_XML, PI::CXMLData);
  HAS_TYPE(m_MultiString, PI::CMultiStringData);
  static_assert(sizeof(Record::m_Number) == 8 && sizeof(Record::m_Float) == 4);
  static_assert(AT(m_Choice) == 0);
  static_assert(AreAscending(AT(m_Choice), AT(m_String), AT(m_Integer), AT(m_Minimum),
                             AT(m_Maximum), AT(m_Step), AT(m_Number), AT(m_Float), AT(m_Bool),
                             AT(m_MultiValue), AT(m_MultiLong), AT(m_XML), AT(m_MultiString)));
};

struct ChoiceLayout {
  using Record = PI::CChoiceData;
  HAS_TYPE(m_Value, std::int32_t);
  HAS_TYPE(m_Allowed, std::vector<std::int32_t>);
  static_assert(IsFirstField<Record>(AT(m_Value)));
  static_assert(AreAscending(AT(m_Value), AT(m_Allowed)));
};

struct MultiValueLayout {
  using Record = PI::CMultiValueData;
  HAS_TYPE(m_Values, std::vector<std::int32_t>);
  HAS_TYPE(m_Allowed, std::vector<std::int32_t>);
  static_assert(IsFirstField<Record>(AT(m_Values)));
  static_assert(AreAscending(AT(m_Values), AT(m_Allowed)));
};

struct SmallHolderLayout {
  static_assert(IsFirstField<PI::CStringData>(offsetof(PI::CStringData, m_Text)));
  static_assert(IsFirstField<PI::CMultiLongData>(offsetof(PI::CMultiLongData, m_Values)));
  static_assert(IsFirstField<PI::CMultiStringData>(offsetof(PI::CMultiStringData, m_Texts)));
  static_assert(std::has_virtual_destructor_v<PI::CXMLData>);
  static_assert(sizeof(decltype(PI::CMultiLongData::m_Values)::value_type) == 8);
};

struct OperationLayout {
  using Record = PI::COperation;
  HAS_TYPE(m_OperationID, std::uint32_t);
  HAS_TYPE(m_NameID, std::uint32_t);
  HAS_TYPE(m_Class, std::uint32_t);
  HAS_TYPE(m_Properties, Properties);
  HAS_TYPE(m_LogicalDrives, std::vector<PI::CLogicalDrive>);
  HAS_TYPE(m_Levels, std::vector<PI::CLevel>);
  HAS_TYPE(m_Migrations, std::vector<PI::CMigration>);
  HAS_TYPE(m_Events, std::vector<PI::CEvent>);
  HAS_TYPE(m_Partitions, std::vector<PI::CPartition>);
  HAS_TYPE(m_Objects, std::vector<PI::CObject>);
  HAS_TYPE(m_Access, std::uint32_t);
  HAS_TYPE(m_Scope, std::uint32_t);
  HAS_TYPE(m_ConfirmKind, std::uint32_t);
  HAS_TYPE(m_ConfirmText, std::uint32_t);
  HAS_TYPE(m_Timeout, std::int32_t);
  HAS_TYPE(m_Flags, std::uint32_t);
  HAS_TYPE(m_Async, bool);
  static_assert(IsFirstField<Record>(AT(m_OperationID)));
  static_assert(AreAscending(AT(m_OperationID), AT(m_NameID), AT(m_Class), AT(m_Properties),
                             AT(m_LogicalDrives), AT(m_Levels), AT(m_Migrations), AT(m_Events),
                             AT(m_Partitions), AT(m_Objects), AT(m_Access), AT(m_Scope),
                             AT(m_ConfirmKind), AT(m_ConfirmText), AT(m_Timeout), AT(m_Flags),
                             AT(m_Async)));
};

struct EventLayout {
  using Record = PI::CEvent;
  HAS_TYPE(m_ObjectID, std::uint64_t);
  HAS_TYPE(m_EventID, std::uint32_t);
  HAS_TYPE(m_Severity, std::uint32_t);
  HAS_TYPE(m_Time, std::uint64_t);
  HAS_TYPE(m_SourceName, std::string);
  static_assert(IsFirstField<Record>(AT(m_ObjectID)));
  static_assert(AreAscending(AT(m_ObjectID), AT(m_EventID), AT(m_Severity), AT(m_Time),
                             AT(m_SourceName), AT(m_PlaceHolders)));
  // Fifteen strings, starting with m_SourceName, end the record.
  static_assert(sizeof(Record) == AT(m_SourceName) + 15 * sizeof(std::string));
};

struct AdapterIdLayout {
  using Record = PI::CAdapterID;
  HAS_TYPE(m_Name, std::string);
  HAS_TYPE(m_Segment, std::uint32_t);
  HAS_TYPE(m_Bus, std::uint32_t);
  HAS_TYPE(m_Device, std::uint32_t);
  HAS_TYPE(m_Function, std::uint32_t);
  HAS_TYPE(m_AdapterNumber, std::uint32_t);
  HAS_TYPE(m_GlobalNumber, std::int32_t);
  static_assert(IsFirstField<Record>(AT(m_Name)));
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
  HAS_TYPE(m_Properties, Properties);
  HAS_TYPE(m_Containers, std::vector<PI::CContainer>);
  static_assert(IsFirstField<Record>(AT(m_Level)));
  static_assert(AreAscending(AT(m_Level), AT(m_Properties), AT(m_Size), AT(m_Flags),
                             AT(m_Containers), AT(m_Spares), AT(m_Candidates), AT(m_Members)));
};

struct ContainerLayout {
  using Record = PI::CContainer;
  HAS_TYPE(m_Drives, std::vector<PI::CDrive>);
  static_assert(IsFirstField<Record>(AT(m_Drives)));
};

struct DriveLayout {
  using Record = PI::CDrive;
  HAS_TYPE(m_Properties, Properties);
  static_assert(IsFirstField<Record>(AT(m_ID)));
  static_assert(AreAscending(AT(m_ID), AT(m_Offset), AT(m_Properties), AT(m_Size), AT(m_Flags)));
};

struct LevelLayout {
  using Record = PI::CLevel;
  HAS_TYPE(m_Properties, Properties);
  static_assert(IsFirstField<Record>(AT(m_Level)));
  static_assert(AreAscending(AT(m_Level), AT(m_Depths), AT(m_Flags), AT(m_Properties)));
};

struct MigrationLayout {
  using Record = PI::CMigration;
  HAS_TYPE(m_Properties, Properties);
  static_assert(IsFirstField<Record>(AT(m_From)));
  static_assert(AreAscending(AT(m_From), AT(m_To), AT(m_Properties)));
};

struct PartitionLayout {
  using Record = PI::CPartition;
  HAS_TYPE(m_Name, std::string);
  HAS_TYPE(m_MountPoint, std::string);
  static_assert(IsFirstField<Record>(AT(m_Offset)));
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
#undef HAS_TYPE

}  // namespace
