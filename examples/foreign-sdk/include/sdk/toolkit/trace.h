// Trace lines, and the module that writes them. In this SDK, the mask is a plain number.
#pragma once

#include <string>

#include "sdk/own/export.h"
#include "sdk/toolkit/language.h"

namespace MBX {

namespace Misc {

class OWN_EXPORT CModuleInfo {
 public:
  CModuleInfo(unsigned int, const char*, const char*, Language_Support::CLanguageSupport::CLngFile*,
              Language_Support::CLanguageSupport::ERROR_MSG_LIST*);

  volatile unsigned int m_TraceMask;
  unsigned short m_Module;
  std::string m_OwnVersion;
  const char* m_Name;
};

}  // namespace Misc

namespace Internals {

class OWN_EXPORT CTraceStreamBuffer {
 public:
  CTraceStreamBuffer(unsigned int, const Misc::CModuleInfo&, const char*, const char*, long);
  ~CTraceStreamBuffer();
  CTraceStreamBuffer(const CTraceStreamBuffer&) = delete;
  CTraceStreamBuffer& operator=(const CTraceStreamBuffer&) = delete;

  std::string m_OwnText;
};

}  // namespace Internals

namespace Output_Streams {

class OWN_EXPORT CFormatStream {
 public:
  CFormatStream(Internals::CTraceStreamBuffer&, const char*);
  ~CFormatStream();
  CFormatStream(const CFormatStream&) = delete;
  CFormatStream& operator=(const CFormatStream&) = delete;

  void FormatInt(unsigned int);
  void FormatInt(unsigned long);
  void operator<<(const char*);
  void operator<<(const std::string&);

 private:
  Internals::CTraceStreamBuffer* m_OwnBuffer;
  std::string m_OwnFormat;
};

}  // namespace Output_Streams

}  // namespace MBX
