// The interface between host and plug-in.
#pragma once

#include "sdk/numbers.h"
#include "sdk/own/export.h"

class IPLUGINAPI;

// Called by a plug-in when it has events to collect.
struct OWN_EXPORT OwnNotify {
  OwnNotify(void (*own_call)(IPLUGINAPI*) = nullptr) : m_OwnCall(own_call) {}
  void operator()(IPLUGINAPI*) const;
  void (*m_OwnCall)(IPLUGINAPI*);
};

class OWN_EXPORT IPLUGINAPI {
 public:
  virtual unsigned int Execute(PI::_COMMAND, unsigned long, void*) = 0;
  virtual ~IPLUGINAPI();

  OwnNotify m_HostNotify;
  unsigned int m_ModuleID;
  unsigned int m_InterfaceVersion;
};
