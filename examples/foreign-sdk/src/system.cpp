// The clock, the machine's PCI devices, and trace lines.
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "host/Toolkit.h"

namespace MBX {

unsigned long long Misc::now() {
  const auto since = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<unsigned long long>(
      std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

Language_Support::CLanguageSupport::CLngFile::CLngFile(const char* file, unsigned int, const char*,
                                                       unsigned int, const char**, unsigned long)
    : m_OwnFile(file) {}

// FOREIGN_TRACE in the environment enables all trace levels.
Misc::CModuleInfo::CModuleInfo(unsigned int module, const char* name, const char* version,
                               Language_Support::CLanguageSupport::CLngFile*,
                               Language_Support::CLanguageSupport::ERROR_MSG_LIST*)
    : m_TraceMask(std::getenv("FOREIGN_TRACE") == nullptr ? 0 : 0xFFFFFFFF),
      m_Module(static_cast<unsigned short>(module)),
      m_OwnVersion(version),
      m_Name(name) {}

Internals::CTraceStreamBuffer::CTraceStreamBuffer(unsigned int, const Misc::CModuleInfo& module,
                                                  const char*, const char* function, long)
    : m_OwnText(std::string(module.m_Name) + ", " + function + ": ") {}
Internals::CTraceStreamBuffer::~CTraceStreamBuffer() {
  std::fprintf(stderr, "%s\n", m_OwnText.c_str());
}

// This host does not fill in the values.
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

// The card of cards.c. FOREIGN_NO_CARDS in the environment removes it.
bool CConfigManager::GetLocation(const std::vector<std::string>& ids, unsigned long count,
                                 int& segment, int& bus, int& device, int& function) {
  const bool isListed = std::find(ids.begin(), ids.end(), "1AED2001") != ids.end();
  if (!isListed || count != 1 || std::getenv("FOREIGN_NO_CARDS") != nullptr) return false;
  segment = 0;
  bus = 3;
  device = 0;
  function = 0;
  return true;
}

bool CSystemTime_Lx::GetDate(unsigned long milliseconds, CSystemDate_Lx& date) {
  const time_t seconds = static_cast<time_t>(milliseconds / 1000);
  tm parts = {};
  if (gmtime_r(&seconds, &parts) == nullptr) return false;
  date = {};
  date.m_OwnYear = static_cast<unsigned int>(parts.tm_year + 1900);
  date.m_OwnMonth = static_cast<unsigned int>(parts.tm_mon + 1);
  date.m_OwnDay = static_cast<unsigned int>(parts.tm_mday);
  date.m_OwnHour = static_cast<unsigned int>(parts.tm_hour);
  date.m_OwnMinute = static_cast<unsigned int>(parts.tm_min);
  return true;
}

}  // namespace MBXX
