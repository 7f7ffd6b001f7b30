// The types, members and functions of the host SDK that the plug-in uses. Each row is a
// compile-time check with a sentence for the case that the SDK differs.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "Corvane/Sdk/Probe.h"
#include "host/Database.h"
#include "host/PluginInterface.h"
#include "host/Toolkit.h"

// Fails to compile if the SDK declares these names as something else.
class IPLUGINAPI;
namespace DatabaseORM {
class storage_t;
}

// clang-format off

// Stand-ins for names that the SDK does not declare.
namespace CorvaneStandIns {

#define SDK_STAND_IN(name) struct name : ::CorvaneSdk::Missing {};
SDK_STAND_IN(_COMMAND) SDK_STAND_IN(_PROPERTY_ID) SDK_STAND_IN(_UNITS)
SDK_STAND_IN(CObject) SDK_STAND_IN(CProperty) SDK_STAND_IN(COperation) SDK_STAND_IN(CEvent)
SDK_STAND_IN(CAdapterID) SDK_STAND_IN(CGlobalAdapterID) SDK_STAND_IN(CPluginHelper)
SDK_STAND_IN(CConfigFile) SDK_STAND_IN(CFastMutex) SDK_STAND_IN(CWaitInterval) SDK_STAND_IN(CWaiter)
SDK_STAND_IN(CSyncGuard) SDK_STAND_IN(CThread) SDK_STAND_IN(CModuleInfo)
SDK_STAND_IN(CTraceStreamBuffer) SDK_STAND_IN(CFormatStream) SDK_STAND_IN(CConfigManager)
SDK_STAND_IN(CSystemDate_Lx) SDK_STAND_IN(CSystemTime_Lx) SDK_STAND_IN(DatabaseException)
SDK_STAND_IN(DatabaseDAO)
#undef SDK_STAND_IN

template <class...>
struct TDelegateR0 : ::CorvaneSdk::Missing {};
template <class...>
struct TDelegateR1 : ::CorvaneSdk::Missing {};

// Templates, so that functions of the SDK without parameters are preferred.
template <class = void>
::CorvaneSdk::Missing now(...);
template <class = void>
::CorvaneSdk::Missing getDatabasePointer(...);

}  // namespace CorvaneStandIns

namespace CorvaneSdk {

// An object with the member functions of which the plug-in makes delegates.
struct Work {
  unsigned int Run();
  unsigned int RunWith(const std::string& text);
};

// A callback that can be called with the plug-in, and be reset.
struct IsCallback {
  template <class T>
  static constexpr bool Matches() {
    return std::is_invocable_v<T&, IPLUGINAPI*> && std::is_default_constructible_v<T> &&
           std::is_copy_assignable_v<T>;
  }
};

// A record of `size` bytes at least, which the plug-in reads by position.
template <std::size_t size>
struct IsPlain {
  template <class T>
  static constexpr bool Matches() {
    return sizeof(T) >= size && std::is_trivially_copyable_v<T> &&
           std::is_default_constructible_v<T>;
  }
};

}  // namespace CorvaneSdk

// host/PluginInterface.h

namespace PI {
namespace CorvaneLookup {

using namespace ::CorvaneStandIns;
using ::CorvaneSdk::An;
using Command = _COMMAND;
using PropertyID = _PROPERTY_ID;
using Units = _UNITS;
using Number32 = ::CorvaneSdk::Number<4>;
using Number64 = ::CorvaneSdk::Number<8>;
using Properties = std::vector<CProperty>;
using Events = std::vector<CEvent>;

SDK_FUNCTION(An<Command>(), "PI::_COMMAND", SDK_NUMBER);
SDK_FUNCTION(An<PropertyID>(), "PI::_PROPERTY_ID", SDK_NUMBER);
SDK_FUNCTION(An<Units>(), "PI::_UNITS", SDK_NUMBER);

SDK_TYPE("PI", CObject);
SDK_DEFAULT("PI", CObject);
SDK_MAKE("PI", CObject, const CObject&);
SDK_CALL("PI", CObject, "operator=(const CObject&)", operator=(sdk), SDK_CALLABLE);
SDK_CALL("PI", CObject, "operator==(const CObject&)", operator==(sdk), SDK_TRUTH);
SDK_FIELD("PI", CObject, m_ID, SDK_UINT64);
SDK_FIELD("PI", CObject, m_ObjectType, SDK_UINT32);
SDK_FIELD("PI", CObject, m_Parents, SDK_UINT64_LIST);
SDK_FIELD("PI", CObject, m_Children, SDK_UINT64_LIST);
SDK_FIELD("PI", CObject, m_ChangeCount, SDK_UINT64);
SDK_FIELD("PI", CObject, m_Locked, SDK_BOOL);
SDK_FIELD("PI", CObject, m_Properties, ::CorvaneSdk::IsSame<Properties>, "must be a std::vector<PI::CProperty>");
SDK_FIELD("PI", CObject, m_Operations, ::CorvaneSdk::IsSame<std::vector<COperation>>, "must be a std::vector<PI::COperation>");

SDK_TYPE("PI", CProperty);
SDK_MAKE("PI", CProperty, PropertyID, bool);
SDK_MAKE("PI", CProperty, const CProperty&);
SDK_CALL("PI", CProperty, "operator=(const CProperty&)", operator=(sdk), SDK_CALLABLE);
SDK_OVERLOAD("PI", CProperty, SetValue, const char*);
SDK_OVERLOAD("PI", CProperty, SetValue, const std::string&);
SDK_OVERLOAD("PI", CProperty, SetValue, bool);
SDK_OVERLOAD("PI", CProperty, SetValue, float);
SDK_OVERLOAD("PI", CProperty, SetValue, unsigned long);
SDK_OVERLOAD("PI", CProperty, SetValue, int, const std::vector<int>&);
SDK_OVERLOAD("PI", CProperty, SetValue, int, int, int, unsigned int);
SDK_OVERLOAD("PI", CProperty, SetValue, std::vector<int>&, std::vector<int>&);
SDK_OVERLOAD("PI", CProperty, GetValue, int&, std::vector<int>&);
SDK_OVERLOAD("PI", CProperty, GetValue, int&, int&, int&, unsigned int&);
SDK_CALL("PI", CProperty, "GetValueRange(int&) const", GetValueRange(An<int&>()), SDK_CALLABLE);
SDK_FIELD("PI", CProperty, m_PropertyID, SDK_UINT32);
SDK_FIELD("PI", CProperty, m_NameID, SDK_UINT32);
SDK_FIELD("PI", CProperty, m_Visible, SDK_UINT32);
SDK_FIELD("PI", CProperty, m_SortKey, SDK_UINT32);
SDK_FIELD("PI", CProperty, m_Indicator, SDK_UINT32);
SDK_FIELD("PI", CProperty, m_ValueType, SDK_UINT32);
SDK_FIELD("PI", CProperty, m_Format, SDK_UINT32);
SDK_FIELD("PI", CProperty, m_Units, ::CorvaneSdk::IsSame<Units>, "must be a PI::_UNITS");
SDK_FIELD("PI", CProperty, m_UnitsFixed, SDK_BOOL);

SDK_TYPE("PI", COperation);
SDK_DEFAULT("PI", COperation);
SDK_MAKE("PI", COperation, const COperation&);
SDK_FIELD("PI", COperation, m_OperationID, SDK_UINT32);
SDK_FIELD("PI", COperation, m_NameID, SDK_UINT32);
SDK_FIELD("PI", COperation, m_Class, SDK_UINT32);
SDK_FIELD("PI", COperation, m_Access, SDK_UINT32);
SDK_FIELD("PI", COperation, m_Scope, SDK_UINT32);
SDK_FIELD("PI", COperation, m_Flags, SDK_UINT32);
SDK_FIELD("PI", COperation, m_Async, SDK_BOOL);
SDK_FIELD("PI", COperation, m_Timeout, SDK_INT32);
SDK_FIELD("PI", COperation, m_ConfirmKind, SDK_UINT32);
SDK_FIELD("PI", COperation, m_ConfirmText, SDK_UINT32);
SDK_FIELD("PI", COperation, m_Properties, ::CorvaneSdk::IsSame<Properties>, "must be a std::vector<PI::CProperty>");
SDK_FIELD("PI", COperation, m_Events, ::CorvaneSdk::IsSame<Events>, "must be a std::vector<PI::CEvent>");

SDK_TYPE("PI", CEvent);
SDK_DEFAULT("PI", CEvent);
SDK_MAKE("PI", CEvent, const CEvent&);
SDK_CALL("PI", CEvent, "operator=(const CEvent&)", operator=(sdk), SDK_CALLABLE);
SDK_FIELD("PI", CEvent, m_ObjectID, SDK_UINT64);
SDK_FIELD("PI", CEvent, m_EventID, SDK_UINT32);
SDK_FIELD("PI", CEvent, m_Severity, SDK_UINT32);
SDK_FIELD("PI", CEvent, m_Time, SDK_UINT64);
SDK_FIELD("PI", CEvent, m_SourceName, SDK_TEXT);
SDK_CALL("PI", CEvent, "SetPlaceHolder1(const std::string&)", SetPlaceHolder1(An<const std::string&>()), SDK_CALLABLE);
SDK_CALL("PI", CEvent, "SetPlaceHolder2(const std::string&)", SetPlaceHolder2(An<const std::string&>()), SDK_CALLABLE);

SDK_TYPE("PI", CAdapterID);
SDK_DEFAULT("PI", CAdapterID);
SDK_MAKE("PI", CAdapterID, const CAdapterID&);
SDK_FIELD("PI", CAdapterID, m_Segment, SDK_UINT32);
SDK_FIELD("PI", CAdapterID, m_Bus, SDK_UINT32);
SDK_FIELD("PI", CAdapterID, m_Device, SDK_UINT32);
SDK_FIELD("PI", CAdapterID, m_Function, SDK_UINT32);
SDK_FIELD("PI", CAdapterID, m_AdapterNumber, SDK_UINT32);
SDK_FIELD("PI", CAdapterID, m_GlobalNumber, SDK_INT32);

SDK_TYPE("PI", CGlobalAdapterID);
SDK_DEFAULT("PI", CGlobalAdapterID);
SDK_FIELD("PI", CGlobalAdapterID, m_HostName, SDK_TEXT);
SDK_FIELD("PI", CGlobalAdapterID, m_Segment, SDK_UINT32);
SDK_FIELD("PI", CGlobalAdapterID, m_Bus, SDK_UINT32);
SDK_FIELD("PI", CGlobalAdapterID, m_Device, SDK_UINT32);
SDK_FIELD("PI", CGlobalAdapterID, m_Function, SDK_UINT32);
SDK_CALL("PI", CGlobalAdapterID, "GenerateUniqueAdapterNumber()", GenerateUniqueAdapterNumber(), SDK_CALLABLE);
SDK_CALL("PI", CGlobalAdapterID, "GetGlobalAdapterNumber()", GetGlobalAdapterNumber(), ::CorvaneSdk::IsInt32, "must exist and return a signed 32-bit integer");
SDK_FIELD("PI", CGlobalAdapterID, AllHostsAdaptersUniqueIDs, ::CorvaneSdk::IsMap, "must be a map with std::string keys");

SDK_TYPE("PI", CPluginHelper);
SDK_CALL("PI", CPluginHelper, "ConvertBytesToOtherUnit(unsigned long, float&, _UNITS&)",
         ConvertBytesToOtherUnit(An<Number64>(), An<float&>(), An<Units&>()), SDK_TRUTH);
SDK_CALL("PI", CPluginHelper, "ComputeRemainingLifeTime(unsigned long, unsigned long, unsigned int, unsigned long, unsigned long&)",
         ComputeRemainingLifeTime(An<Number64>(), An<Number64>(), An<Number32>(), An<Number64>(), An<unsigned long&>()), SDK_CALLABLE);

SDK_TYPE("PI", CConfigFile);
SDK_DEFAULT("PI", CConfigFile);
SDK_CALL("PI", CConfigFile, "SetFileName(boost::filesystem::path)", SetFileName("Corvane.ini"), SDK_CALLABLE);
SDK_CALL("PI", CConfigFile, "ReadKeyValue(const std::string&, std::string&, int, int)",
         ReadKeyValue("", An<std::string&>(), -1, -1), ::CorvaneSdk::ConvertsTo<std::uint32_t>, "must exist and return an integer");
SDK_CALL("PI", CConfigFile, "WriteKeyValue(const std::string&, const std::string&, int, int)",
         WriteKeyValue("", "", -1, -1), ::CorvaneSdk::ConvertsTo<std::uint32_t>, "must exist and return an integer");

}  // namespace CorvaneLookup
}  // namespace PI

namespace CorvaneSdk {

SDK_TYPE("", IPLUGINAPI);
SDK_OVERLOAD("", IPLUGINAPI, Execute, ::PI::CorvaneLookup::Command, unsigned long, void*);
SDK_CALL("", IPLUGINAPI, "Execute", Execute(An<::PI::CorvaneLookup::Command>(), 1UL, An<void*>()), ::CorvaneSdk::IsUint32, "must return an unsigned 32-bit integer");
SDK_FIELD("", IPLUGINAPI, m_InterfaceVersion, SDK_UINT32);
SDK_FIELD("", IPLUGINAPI, m_ModuleID, SDK_UINT32);
SDK_FIELD("", IPLUGINAPI, m_HostNotify, ::CorvaneSdk::IsCallback, "must be a callback that takes an IPLUGINAPI*");
SDK_EXPRESSION(IPLUGINAPI, typename std::has_virtual_destructor<std::decay_t<decltype(sdk)>>::type(), "IPLUGINAPI::~IPLUGINAPI()", ::CorvaneSdk::IsSame<std::true_type>, "must be virtual");

}  // namespace CorvaneSdk

// host/Toolkit.h

namespace MBX {

namespace Delegates_and_Calls {
namespace CorvaneLookup {

using namespace ::CorvaneStandIns;
using ::CorvaneSdk::Work;
using Delegate = TDelegateR0<Work, unsigned int>;
using DelegateWithText = TDelegateR1<Work, unsigned int, const std::string&>;

static_assert(::CorvaneSdk::IsDefined<Delegate>(), "MBX::Delegates_and_Calls::TDelegateR0 must be defined");
static_assert(::CorvaneSdk::CanMake<Delegate, Work*, unsigned int (Work::*)()>(),
              "MBX::Delegates_and_Calls::TDelegateR0(object, member function) must be a public constructor");
static_assert(::CorvaneSdk::IsDefined<DelegateWithText>(), "MBX::Delegates_and_Calls::TDelegateR1 must be defined");
static_assert(::CorvaneSdk::CanMake<DelegateWithText, Work*, unsigned int (Work::*)(const std::string&), std::string&>(),
              "MBX::Delegates_and_Calls::TDelegateR1(object, member function, argument) must be a public constructor");

}  // namespace CorvaneLookup
}  // namespace Delegates_and_Calls

namespace Threading {

namespace Native_OS {
namespace CorvaneLookup {

using namespace ::CorvaneStandIns;
using Lock = CFastMutex;

SDK_TYPE("MBX::Threading::Native_OS", CFastMutex);
SDK_DEFAULT("MBX::Threading::Native_OS", CFastMutex);
SDK_CALL("MBX::Threading::Native_OS", CFastMutex, "Init()", Init(), SDK_STATUS);
SDK_CALL("MBX::Threading::Native_OS", CFastMutex, "Wait(unsigned int)", Wait(1U), SDK_WAIT);
SDK_CALL("MBX::Threading::Native_OS", CFastMutex, "Release()", Release(), SDK_CALLABLE);

}  // namespace CorvaneLookup
}  // namespace Native_OS

namespace CorvaneLookup {

using namespace ::CorvaneStandIns;
using ::CorvaneSdk::An;
using Native_OS::CorvaneLookup::Lock;
using Event = CEvent;
using Delegate = Delegates_and_Calls::CorvaneLookup::Delegate;
using DelegateWithText = Delegates_and_Calls::CorvaneLookup::DelegateWithText;

SDK_TYPE("MBX::Threading", CEvent);
SDK_DEFAULT("MBX::Threading", CEvent);
SDK_CALL("MBX::Threading", CEvent, "Init(bool, bool)", Init(false, true), SDK_STATUS);
SDK_CALL("MBX::Threading", CEvent, "Set()", Set(), SDK_CALLABLE);

SDK_TYPE("MBX::Threading", CWaitInterval);
SDK_MAKE("MBX::Threading", CWaitInterval, unsigned int);
SDK_CALL("MBX::Threading", CWaitInterval, "Restart(unsigned int)", Restart(1U), SDK_CALLABLE);
SDK_EXPRESSION(CWaitInterval, sdk, "MBX::Threading::CWaitInterval", ::CorvaneSdk::ConvertsTo<unsigned int>, "must convert to an unsigned int");

SDK_TYPE("MBX::Threading", CWaiter);
SDK_DEFAULT("MBX::Threading", CWaiter);
SDK_CALL("MBX::Threading", CWaiter, "Add(CEvent&)", Add(An<Event&>()), SDK_CALLABLE);
SDK_CALL("MBX::Threading", CWaiter, "Wait(unsigned int, bool)", Wait(1U, false), SDK_WAIT);

SDK_TYPE("MBX::Threading", CSyncGuard);
SDK_MAKE("MBX::Threading", CSyncGuard, Lock&, unsigned int);

SDK_TYPE("MBX::Threading", CThread);
SDK_DEFAULT("MBX::Threading", CThread);
SDK_CALL("MBX::Threading", CThread, "Create(TDelegateR0, bool)", Create(An<Delegate>(), false), SDK_CALLABLE);
SDK_CALL("MBX::Threading", CThread, "Create(TDelegateR1, bool)", Create(An<DelegateWithText>(), false), SDK_CALLABLE);
SDK_CALL("MBX::Threading", CThread, "Wait(unsigned int)", Wait(1U), SDK_WAIT);
SDK_CALL("MBX::Threading", CThread, "GetHandle()", GetHandle() != 0, ::CorvaneSdk::ConvertsTo<bool>, "must return a number or pointer");
SDK_CALL("MBX::Threading", CThread, "Cancel()", Cancel(), SDK_CALLABLE);

}  // namespace CorvaneLookup
}  // namespace Threading

namespace Language_Support {
namespace CorvaneLookup {

using ::CorvaneSdk::An;
// CLanguageSupport may be a namespace or a class, so the compiler itself reports missing names.
using LanguageFile = CLanguageSupport::CLngFile;  // the SDK must define this class
using MessageList = CLanguageSupport::ERROR_MSG_LIST;  // the SDK must define this class

static_assert(::CorvaneSdk::CanMake<LanguageFile, const char*, unsigned int, const char*, unsigned int, const char**, unsigned long>(),
              "MBX::Language_Support::CLanguageSupport::CLngFile(const char*, unsigned int, const char*, unsigned int, "
              "const char**, unsigned long) must be a public constructor");
SDK_EXPRESSION(MessageList, sdk, "MBX::Language_Support::CLanguageSupport::ERROR_MSG_LIST", ::CorvaneSdk::IsPlain<32>, "must be trivially copyable and have 32 bytes");
static_assert(sizeof(MessageList) == 32, "MBX::Language_Support::CLanguageSupport::ERROR_MSG_LIST must have 32 bytes");

}  // namespace CorvaneLookup
}  // namespace Language_Support

namespace Misc {
namespace CorvaneLookup {

using namespace ::CorvaneStandIns;
using Language_Support::CorvaneLookup::LanguageFile;
using Language_Support::CorvaneLookup::MessageList;
using ModuleInfo = CModuleInfo;

SDK_FUNCTION(now(), "MBX::Misc::now()", ::CorvaneSdk::IsUint64, "must exist and return an unsigned 64-bit integer");

SDK_TYPE("MBX::Misc", CModuleInfo);
SDK_MAKE("MBX::Misc", CModuleInfo, unsigned int, const char*, const char*, LanguageFile*, MessageList*);
SDK_FIELD("MBX::Misc", CModuleInfo, m_TraceMask, ::CorvaneSdk::ConvertsTo<std::uint32_t>, "must be convertible to a 32-bit integer");
SDK_FIELD("MBX::Misc", CModuleInfo, m_Module, ::CorvaneSdk::ConvertsTo<std::uint32_t>, "must be convertible to a 32-bit integer");
SDK_FIELD("MBX::Misc", CModuleInfo, m_Name, SDK_C_STRING);

}  // namespace CorvaneLookup
}  // namespace Misc

namespace Internals {
namespace CorvaneLookup {

using namespace ::CorvaneStandIns;
using Misc::CorvaneLookup::ModuleInfo;
using Buffer = CTraceStreamBuffer;

SDK_TYPE("MBX::Internals", CTraceStreamBuffer);
SDK_MAKE("MBX::Internals", CTraceStreamBuffer, unsigned int, const ModuleInfo&, const char*, const char*, int);

}  // namespace CorvaneLookup
}  // namespace Internals

namespace Output_Streams {
namespace CorvaneLookup {

using namespace ::CorvaneStandIns;
using ::CorvaneSdk::An;
using Internals::CorvaneLookup::Buffer;

SDK_TYPE("MBX::Output_Streams", CFormatStream);
SDK_MAKE("MBX::Output_Streams", CFormatStream, Buffer&, const char*);
SDK_OVERLOAD("MBX::Output_Streams", CFormatStream, FormatInt, unsigned int);
SDK_OVERLOAD("MBX::Output_Streams", CFormatStream, FormatInt, unsigned long);
SDK_EXPRESSION(CFormatStream, sdk << An<const char*>(), "MBX::Output_Streams::CFormatStream << const char*", SDK_CALLABLE);
SDK_EXPRESSION(CFormatStream, sdk << An<const std::string&>(), "MBX::Output_Streams::CFormatStream << std::string", SDK_CALLABLE);

}  // namespace CorvaneLookup
}  // namespace Output_Streams

}  // namespace MBX

namespace MBXX {
namespace CorvaneLookup {

using namespace ::CorvaneStandIns;
using ::CorvaneSdk::An;
using Date = CSystemDate_Lx;
using Texts = std::vector<std::string>;

SDK_TYPE("MBXX", CConfigManager);
SDK_CALL("MBXX", CConfigManager, "GetLocation(const std::vector<std::string>&, unsigned long, int&, int&, int&, int&)",
         GetLocation(An<const Texts&>(), An<::CorvaneSdk::Number<8>>(), An<int&>(), An<int&>(), An<int&>(), An<int&>()), SDK_TRUTH);
SDK_TYPE("MBXX", CSystemDate_Lx);
SDK_EXPRESSION(CSystemDate_Lx, sdk, "MBXX::CSystemDate_Lx", ::CorvaneSdk::IsPlain<28>, "must be trivially copyable and begin with seven 32-bit integers");
SDK_TYPE("MBXX", CSystemTime_Lx);
SDK_CALL("MBXX", CSystemTime_Lx, "GetDate(unsigned long, CSystemDate_Lx&)", GetDate(An<::CorvaneSdk::Number<8>>(), An<Date&>()), SDK_CALLABLE);

}  // namespace CorvaneLookup
}  // namespace MBXX

// host/Database.h

namespace DBEXCEPTION {
namespace CorvaneLookup {

using namespace ::CorvaneStandIns;

SDK_TYPE("DBEXCEPTION", DatabaseException);
SDK_MAKE("DBEXCEPTION", DatabaseException, std::string);
SDK_MAKE("DBEXCEPTION", DatabaseException, const DatabaseException&);
SDK_CALL("DBEXCEPTION", DatabaseException, "what()", what(), ::CorvaneSdk::ConvertsTo<std::string>, "must exist and return a const char*");

}  // namespace CorvaneLookup
}  // namespace DBEXCEPTION

namespace DatabaseWrapper {
namespace CorvaneLookup {

using namespace ::CorvaneStandIns;

SDK_TYPE("DatabaseWrapper", DatabaseDAO);
SDK_CALL("DatabaseWrapper", DatabaseDAO, "query(std::string)", query(std::string()), ::CorvaneSdk::IsSame<std::vector<std::string>>, "must exist and return a std::vector<std::string>");

}  // namespace CorvaneLookup
}  // namespace DatabaseWrapper

namespace CorvaneSdk {
namespace Lookup {

using namespace ::CorvaneStandIns;
using Storage = std::shared_ptr<DatabaseORM::storage_t>;

SDK_FUNCTION(getDatabasePointer(), "getDatabasePointer()", ::CorvaneSdk::IsSame<Storage>, "must exist and return a std::shared_ptr<DatabaseORM::storage_t>");

}  // namespace Lookup
}  // namespace CorvaneSdk

// clang-format on
