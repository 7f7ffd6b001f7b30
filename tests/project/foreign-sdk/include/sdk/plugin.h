// The one interface between host and plug-in.
#pragma once

#include "sdk/numbers.h"
#include "sdk/own/export.h"

class IPLUGINAPI;

// Whom a plug-in tells that there is something to collect. Left without a value, as everything in
// IPLUGINAPI: a plug-in sets its members itself.
struct OwnNotify {
  void operator()(IPLUGINAPI*) const;
  void (*m_OwnCall)(void*, IPLUGINAPI*);
  void* m_OwnHost;
};

class OWN_EXPORT IPLUGINAPI {
 public:
  virtual unsigned int Execute(PI::_COMMAND, unsigned long, void*) = 0;
  virtual ~IPLUGINAPI();

  OwnNotify m_HostNotify;
  unsigned int m_ModuleID;
  unsigned int m_InterfaceVersion;
};
