#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "base/Printable.h"
#include "hostkit/Tracing.h"
#include "hostkit/toolkit/Modules.h"

namespace HostKit {

namespace {

std::uint32_t MaskFromEnvironment() {
  const char* levels = secure_getenv("CORVANE_TRACE");
  if (levels == nullptr || *levels == '\0') return 0;
  const auto mask = ParseTraceLevels(levels);
  if (!mask) {
    std::fprintf(stderr, "CORVANE_TRACE is not a number or a list of levels: %s; tracing is off\n",
                 Base::Printable(levels).c_str());
  }
  return mask.value_or(0);
}

}  // namespace

Modules::Modules() : m_TraceMask(MaskFromEnvironment()) {}

Modules& Modules::Get() {
  static Modules& modules = *new Modules;
  return modules;
}

void Modules::Add(MBX::Misc::CModuleInfo& module) {
  const Base::MutexLock lock(m_Mutex);
  m_Loaded.push_back(&module);
  module.m_TraceMask = m_TraceMask;
}

void Modules::Remove(MBX::Misc::CModuleInfo& module) {
  const Base::MutexLock lock(m_Mutex);
  m_Loaded.erase(std::find(m_Loaded.begin(), m_Loaded.end(), &module));
}

void Modules::SetTraceMask(std::uint32_t mask) {
  const Base::MutexLock lock(m_Mutex);
  m_TraceMask = mask;
  for (MBX::Misc::CModuleInfo* module : m_Loaded) module->m_TraceMask = mask;
}

void SetTraceMask(std::uint32_t mask) {
  Modules::Get().SetTraceMask(mask);
}

}  // namespace HostKit

namespace MBX::Misc {

CModuleInfo::CModuleInfo(unsigned int module, const char* name, const char* version,
                         Language_Support::CLanguageSupport::CLngFile* languageFile,
                         Language_Support::CLanguageSupport::ERROR_MSG_LIST* messages)
    : m_Module(module),
      m_Name(name),
      m_Version(version),
      m_pLanguageFile(languageFile),
      m_pMessages(messages),
      m_TraceMask(0) {
  HostKit::Modules::Get().Add(*this);
}

CModuleInfo::~CModuleInfo() {
  HostKit::Modules::Get().Remove(*this);
}

}  // namespace MBX::Misc
