// The part of the host's library that a machine without cards needs. All other functions exist only
// for linking and abort when called.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "host/Database.h"
#include "host/PluginInterface.h"
#include "host/Toolkit.h"

namespace {

[[noreturn]] void AbortWithoutCard(const char* function) {
  std::fprintf(stderr, "%s was called without a card\n", function);
  std::abort();
}

}  // namespace

#define NEEDS_A_CARD \
  { AbortWithoutCard(__PRETTY_FUNCTION__); }

namespace PI {

CProperty::CProperty(_PROPERTY_ID, bool) NEEDS_A_CARD CProperty::~CProperty() = default;
bool CProperty::SetValue(const char*) NEEDS_A_CARD
    bool CProperty::SetValue(const std::string&) NEEDS_A_CARD
    bool CProperty::SetValue(bool) NEEDS_A_CARD bool CProperty::SetValue(float) NEEDS_A_CARD
    bool CProperty::SetValue(unsigned long) NEEDS_A_CARD
    bool CProperty::SetValue(int, const std::vector<int>&) NEEDS_A_CARD
    bool CProperty::SetValue(int, int, int, unsigned int) NEEDS_A_CARD
    bool CProperty::SetValue(std::vector<int>&, std::vector<int>&) NEEDS_A_CARD
    bool CProperty::GetValue(int&, std::vector<int>&) NEEDS_A_CARD
    bool CProperty::GetValue(int&, int&, int&, unsigned int&) NEEDS_A_CARD
    bool CProperty::GetValueRange(int&) const NEEDS_A_CARD

    CEvent::~CEvent() = default;
void CEvent::SetPlaceHolder1(const std::string&) NEEDS_A_CARD
    void CEvent::SetPlaceHolder2(const std::string&) NEEDS_A_CARD

    CObject::CObject() = default;
CObject::CObject(const CObject&) = default;
CObject& CObject::operator=(const CObject&) = default;
CObject::~CObject() = default;
bool CObject::operator==(const CObject&) const NEEDS_A_CARD

    COperation::~COperation() = default;
CAdapterID::~CAdapterID() = default;

CGlobalAdapterID::~CGlobalAdapterID() = default;
void CGlobalAdapterID::GenerateUniqueAdapterNumber() NEEDS_A_CARD
    int CGlobalAdapterID::GetGlobalAdapterNumber() const NEEDS_A_CARD
    std::map<std::string, std::vector<int>> CGlobalAdapterID::AllHostsAdaptersUniqueIDs;

bool CPluginHelper::ConvertBytesToOtherUnit(unsigned long, float&, _UNITS&) NEEDS_A_CARD
    void CPluginHelper::ComputeRemainingLifeTime(unsigned long, unsigned long, unsigned int,
                                                 unsigned long, unsigned long&) NEEDS_A_CARD

    void CConfigFile::SetFileName(boost::filesystem::path name) {
  m_OwnName = std::move(name);
}
int CConfigFile::ReadKeyValue(const std::string&, std::string&, int, int) {
  return 1;
}
unsigned int CConfigFile::WriteKeyValue(const std::string&, const std::string&, int,
                                        int) NEEDS_A_CARD

}  // namespace PI

IPLUGINAPI::~IPLUGINAPI() = default;
void OwnNotify::operator()(IPLUGINAPI*) const NEEDS_A_CARD

    namespace DBEXCEPTION {
  DatabaseException::DatabaseException(std::string)
      NEEDS_A_CARD DatabaseException::~DatabaseException() = default;
  const char* DatabaseException::what() const noexcept {
    return m_OwnText.c_str();
  }

}  // namespace DBEXCEPTION

DatabaseWrapper::DatabaseDAO::~DatabaseDAO() = default;
std::shared_ptr<DatabaseORM::storage_t> getDatabasePointer() {
  return nullptr;
}

namespace MBX {

Delegates_and_Calls::OwnDelegate::OwnDelegate(std::function<unsigned int()> call)
    : m_OwnCall(std::move(call)) {}

// The test uses a single thread, so locks do nothing.
namespace Threading {

Native_OS::CFastMutex::CFastMutex() : m_OwnLock(nullptr) {}
Native_OS::CFastMutex::~CFastMutex() = default;
bool Native_OS::CFastMutex::Init() {
  return true;
}
unsigned int Native_OS::CFastMutex::Wait(unsigned int) {
  return 1;
}
bool Native_OS::CFastMutex::Release() {
  return true;
}

CEvent::CEvent() : m_OwnState(false) {}
CEvent::~CEvent() = default;
bool CEvent::Init(bool initially, bool) {
  m_OwnState = initially;
  return true;
}
bool CEvent::Set() {
  return m_OwnState = true;
}

CWaitInterval::CWaitInterval(unsigned int durationMs) : m_OwnEnd(durationMs) {}
void CWaitInterval::Restart(unsigned int)
    NEEDS_A_CARD CWaitInterval::operator unsigned int() const NEEDS_A_CARD

    bool CWaiter::Add(CEvent&) NEEDS_A_CARD
    unsigned int CWaiter::Wait(unsigned int, bool) NEEDS_A_CARD

    CSyncGuard::CSyncGuard(Native_OS::CFastMutex& lock, unsigned int timeout)
    : m_OwnLock(&lock) {
  lock.Wait(timeout);
}
CSyncGuard::~CSyncGuard() {
  m_OwnLock->Release();
}

CThread::CThread() : m_OwnThread(nullptr) {}
CThread::~CThread() = default;
bool CThread::Create(Delegates_and_Calls::OwnDelegate, bool) NEEDS_A_CARD
    unsigned int CThread::Wait(unsigned int) NEEDS_A_CARD const void* CThread::GetHandle() {
  return m_OwnThread;
}
bool CThread::Cancel() NEEDS_A_CARD

}  // namespace Threading

Language_Support::CLanguageSupport::CLngFile::CLngFile(const char* file, unsigned int, const char*,
                                                       unsigned int, const char**, unsigned long)
    : m_OwnFile(file) {}

unsigned long long Misc::now() {
  const auto since = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<unsigned long long>(
      std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

// Enables all trace levels at startup.
Misc::CModuleInfo::CModuleInfo(unsigned int module, const char* name, const char* version,
                               Language_Support::CLanguageSupport::CLngFile*,
                               Language_Support::CLanguageSupport::ERROR_MSG_LIST*)
    : m_TraceMask(0xFFFFFFFF),
      m_Module(static_cast<unsigned short>(module)),
      m_OwnVersion(version),
      m_Name(name) {}

Internals::CTraceStreamBuffer::CTraceStreamBuffer(unsigned int, const Misc::CModuleInfo& module,
                                                  const char*, const char* function, long)
    : m_OwnText(std::string(module.m_Name) + ", " + function + ": ") {}
Internals::CTraceStreamBuffer::~CTraceStreamBuffer() {
  std::printf("%s\n", m_OwnText.c_str());
}

// The unfilled format is enough to recognize the line.
Output_Streams::CFormatStream::CFormatStream(Internals::CTraceStreamBuffer& buffer,
                                             const char* format)
    : m_OwnBuffer(&buffer), m_OwnFormat(format) {}
Output_Streams::CFormatStream::~CFormatStream() {
  m_OwnBuffer->m_OwnText += m_OwnFormat;
}
void Output_Streams::CFormatStream::FormatInt(unsigned int) {}
void Output_Streams::CFormatStream::FormatInt(unsigned long) {}
void Output_Streams::CFormatStream::operator<<(const char*) {}
void Output_Streams::CFormatStream::operator<<(const std::string&) {}

}  // namespace MBX

namespace MBXX {

bool CConfigManager::GetLocation(const std::vector<std::string>& ids, unsigned long count, int&,
                                 int&, int&, int&) {
  std::printf("asked for %zu identities, match %lu\n", ids.size(), count);
  return true;
}
bool CSystemTime_Lx::GetDate(unsigned long, CSystemDate_Lx&) NEEDS_A_CARD

}  // namespace MBXX
