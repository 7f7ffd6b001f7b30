// Private members of the plug-in's object, by the one way in which the language lets them be named.
// The plug-in's own sources are in the program: the library keeps its functions to itself.
//
//   OPEN_MEMBER(Drives, m_PhysicalDrives, std::vector<CFusionIOPhysicalDrive> IPLUGINAPI_IMPL::*);
//   (g_p_IPLUGINAPI_IMPL->*Open(Drives())).clear();
#pragma once

#include "Corvane/Src/Corvane.h"

namespace CorvaneTest {
namespace {  // every test opens what it needs for itself

template <class Member, typename Member::Type pointer>
struct Opened {
  friend typename Member::Type Open(Member) { return pointer; }
};

// In the same namespace. The type chooses among functions of one name.
#define OPEN_MEMBER(Name, member, ...) \
  struct Name {                        \
    using Type = __VA_ARGS__;          \
    friend Type Open(Name);            \
  };                                   \
  template struct Opened<Name, &NAMESPACE_Corvane::IPLUGINAPI_IMPL::member>

// What most tests look at.
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
