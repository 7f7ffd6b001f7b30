#include "host/Toolkit.h"

namespace MBX::Language_Support::CLanguageSupport {

CLngFile::CLngFile(const char* file, unsigned int language, const char* encoding, unsigned int,
                   const char** defaults, unsigned long defaultCount)
    : m_File(file),
      m_Language(language),
      m_Encoding(encoding),
      m_DefaultCount(defaultCount),
      m_Defaults(defaults) {}

CLngFile::~CLngFile() = default;

const char* CLngFile::GetText(unsigned long index) const {
  return index < m_DefaultCount ? m_Defaults[index] : "";
}

}  // namespace MBX::Language_Support::CLanguageSupport
