// Access to private members of the plug-in's object through explicit instantiations, which can name
// them. The plug-in's sources are part of the program, because the library does not export its
// functions.
//
//   OPEN_MEMBER(Drives, m_PhysicalDrives, std::vector<CFusionIOPhysicalDrive> IPLUGINAPI_IMPL::*);
//   (g_p_IPLUGINAPI_IMPL->*Open(Drives())).clear();
#pragma once

#include "Corvane/Src/Corvane.h"

namespace CorvaneTest {
namespace {  // every test opens the members that it needs

template <class Member, typename Member::Type pointer>
struct Opened {
  friend typename Member::Type Open(Member) { return pointer; }
};

// Use it in the same namespace. The type selects among overloaded functions.
#define OPEN_MEMBER(Name, member, ...) \
  struct Name {                        \
    using Type = __VA_ARGS__;          \
    friend Type Open(Name);            \
  };                                   \
  template struct Opened<Name, &NAMESPACE_Corvane::IPLUGINAPI_IMPL::member>

// Members that most tests use.
using Plugin = NAMESPACE_Corvane::IPLUGINAPI_IMPL;
using StoredAdapters = std::vector<NAMESPACE_Corvane::CFusionIOAdapter>;
using StoredDrives = std::vector<NAMESPACE_Corvane::CFusionIOPhysicalDrive>;
OPEN_MEMBER(PluginObjectMember, m_Plugin, NAMESPACE_Corvane::CFusionIOPlugin Plugin::*);
OPEN_MEMBER(AdaptersMember, m_Adapters, StoredAdapters Plugin::*);
OPEN_MEMBER(DrivesMember, m_PhysicalDrives, StoredDrives Plugin::*);

inline Plugin& ThePlugin() {
  return *NAMESPACE_Corvane::g_p_IPLUGINAPI_IMPL;
}
inline NAMESPACE_Corvane::CFusionIOPlugin& PluginObject() {
  return ThePlugin().*Open(PluginObjectMember());
}
inline StoredAdapters& Adapters() {
  return ThePlugin().*Open(AdaptersMember());
}
inline StoredDrives& Drives() {
  return ThePlugin().*Open(DrivesMember());
}

}  // namespace
}  // namespace CorvaneTest
