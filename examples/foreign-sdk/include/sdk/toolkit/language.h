#pragma once

#include "sdk/own/export.h"

namespace MBX {
namespace Language_Support {

// In this SDK, the enclosing scope of the types is a class.
class OWN_EXPORT CLanguageSupport {
 public:
  class OWN_EXPORT CLngFile {
   public:
    CLngFile(const char*, unsigned int, const char*, unsigned int, const char**, unsigned long);

    const char* m_OwnFile;
  };

  struct ERROR_MSG_LIST {
    unsigned long long m_OwnCode, m_OwnFirst, m_OwnSecond, m_OwnThird;
  };
};

}  // namespace Language_Support
}  // namespace MBX
