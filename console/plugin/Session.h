// A session with a plug-in: the only interface to plug-ins for the rest of the program.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "console/base/Deadline.h"
#include "console/base/StopSignals.h"
#include "host/PluginInterface.h"
#include "hostkit/EventLog.h"

namespace Console {

// The plug-in of a session.
struct PluginInfo {
  std::string m_File;
  std::uint32_t m_ModuleID = 0;
  std::uint32_t m_InterfaceVersion = 0;
};

// All members are for the thread that made the session. Unless a member says otherwise, it throws
// `Failure` if the plug-in returns an error. Objects are identified by `PI::CObject::m_ID`.
class Session {
 public:
  virtual ~Session() = default;

  // The plug-in's file and numbers, as they were when the session began. Never throws `Failure`.
  virtual PluginInfo Info() const = 0;

  // Whether the plug-in belongs to a service, which keeps it loaded and logs all events.
  virtual bool IsShared() const { return false; }

  // False when the plug-in found no card that it supports. Reads still work and show the plug-in
  // object alone.
  virtual bool HasCards() const = 0;

  // How many threads the plug-in could not start. One of them may be the thread that polls the
  // cards: then no event ever arrives.
  virtual std::size_t LostThreads() const = 0;

  // How long the plug-in took to start, its first scan of all cards included.
  virtual std::chrono::duration<double> StartDuration() const = 0;

  // Reads that have not returned shortly after this time throw `Failure` with the exit code for a
  // timeout. They also throw on a stop signal, and when one read exceeds the command's limit.
  virtual void SetDeadline(const Deadline& deadline) = 0;

  // The plug-in object, then all adapters, then all drives, with properties and operations.
  virtual std::vector<PI::CObject> Topology() = 0;
  // All properties that the object has now, hidden ones included, in the plug-in's order.
  virtual std::vector<PI::CProperty> Properties(std::uint64_t object) = 0;
  // The record of one property; empty when the object does not have it now.
  virtual std::vector<PI::CProperty> Property(std::uint64_t object, std::uint32_t property) = 0;
  // Returns the plug-in's result; does not throw for it.
  virtual std::uint32_t SetProperty(std::uint64_t object, PI::CProperty& property) = 0;

  // The operations that the object offers now, each with its parameters and their defaults.
  virtual std::vector<PI::COperation> Operations(std::uint64_t object) = 0;
  // Return the plug-in's result; do not throw for it.
  virtual std::uint32_t CheckOperation(std::uint64_t object, PI::COperation& operation) = 0;
  virtual std::uint32_t ExecuteOperation(std::uint64_t object, PI::COperation& operation) = 0;

  // Reads all pending events of the plug-in and appends them to the host's log. Their ids are those
  // of this session; they have no log number.
  virtual std::vector<HostKit::LoggedEvent> CollectEvents() = 0;
  // Waits until the plug-in has pending events; false when the time is up, a stop signal arrived or
  // one of `also` is ready.
  virtual bool WaitForNotification(std::chrono::milliseconds timeout, const WaitSet& also) = 0;
  bool WaitForNotification(std::chrono::milliseconds timeout) {
    return WaitForNotification(timeout, WaitSet());
  }
};

}  // namespace Console
