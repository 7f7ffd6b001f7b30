// Access to private members of `IPLUGINAPI_IMPL`. Access checks do not apply to the arguments of an
// explicit template instantiation. The plug-in's sources are compiled into the test program,
// because the library does not export its functions.
//
//   PRIVATE_MEMBER(ForceWorkerMember, m_ForceWorker, CEvent Plugin::*);
//   (ThePlugin().*PointerTo(ForceWorkerMember())).Set();
#pragma once

#include "Corvane/Src/Corvane.h"

namespace CorvaneTest {
namespace {  // internal linkage, because several tests declare the same member

template <class Member, typename Member::Type pointer>
struct PrivateMember {
  friend typename Member::Type PointerTo(Member) { return pointer; }
};

// Use it in the namespace of `PrivateMember`. The third argument is the type of the pointer to the
// member; for an overloaded function, it selects the overload.
#define PRIVATE_MEMBER(Name, member, ...) \
  struct Name {                           \
    using Type = __VA_ARGS__;             \
    friend Type PointerTo(Name);          \
  };                                      \
  template struct PrivateMember<Name, &NAMESPACE_Corvane::IPLUGINAPI_IMPL::member>

// Members that most tests use.
using Plugin = NAMESPACE_Corvane::IPLUGINAPI_IMPL;
using StoredAdapters = std::vector<NAMESPACE_Corvane::CFusionIOAdapter>;
using StoredDrives = std::vector<NAMESPACE_Corvane::CFusionIOPhysicalDrive>;
PRIVATE_MEMBER(PluginObjectMember, m_Plugin, NAMESPACE_Corvane::CFusionIOPlugin Plugin::*);
PRIVATE_MEMBER(AdaptersMember, m_Adapters, StoredAdapters Plugin::*);
PRIVATE_MEMBER(DrivesMember, m_PhysicalDrives, StoredDrives Plugin::*);

inline Plugin& ThePlugin() {
  return *NAMESPACE_Corvane::g_p_IPLUGINAPI_IMPL;
}
inline NAMESPACE_Corvane::CFusionIOPlugin& PluginObject() {
  return ThePlugin().*PointerTo(PluginObjectMember());
}
inline StoredAdapters& Adapters() {
  return ThePlugin().*PointerTo(AdaptersMember());
}
inline StoredDrives& Drives() {
  return ThePlugin().*PointerTo(DrivesMember());
}

}  // namespace
}  // namespace CorvaneTest
