// A conversation with a plug-in: the one thing that everything above it knows of plug-ins.
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

// What a session speaks to.
struct PluginInfo {
  std::string m_File;
  std::uint32_t m_ModuleID = 0;
  std::uint32_t m_InterfaceVersion = 0;
};

// All members are for the thread that made the session. Unless a member says otherwise, it throws
// `Failure` when the plug-in answers with an error.
class Session {
 public:
  virtual ~Session() = default;

  virtual PluginInfo Info() const = 0;

  // False when the plug-in found no card that it supports. Reads still work and show the plug-in
  // object alone.
  virtual bool HasCards() const = 0;

  // How many threads the plug-in asked for and did not get. One of them may be the one that watches
  // the cards: then no event ever comes.
  virtual std::size_t LostThreads() const = 0;

  // How long the plug-in took to start, its first scan of all cards included.
  virtual std::chrono::duration<double> StartDuration() const = 0;

  // Reads that have no answer a moment after this time throw `Failure` with the exit code for it,
  // as they do at once after a signal, and when one of them takes longer than the command allows.
  virtual void SetDeadline(const Deadline& deadline) = 0;

  // The plug-in object, then all adapters, then all drives, with properties and operations.
  virtual std::vector<PI::CObject> Topology() = 0;
  virtual std::vector<PI::CProperty> Properties(std::uint64_t object) = 0;
  // The record of one property; empty when the object does not have it now.
  virtual std::vector<PI::CProperty> Property(std::uint64_t object, std::uint32_t property) = 0;
  // Gives the plug-in's result; never throws for it.
  virtual std::uint32_t SetProperty(std::uint64_t object, PI::CProperty& property) = 0;

  virtual std::vector<PI::COperation> Operations(std::uint64_t object) = 0;
  // Give the plug-in's result; never throw for it.
  virtual std::uint32_t CheckOperation(std::uint64_t object, PI::COperation& operation) = 0;
  virtual std::uint32_t ExecuteOperation(std::uint64_t object, PI::COperation& operation) = 0;

  // Takes all events that wait in the plug-in, and appends them to the host's log. The ids in them
  // are of objects of this session; they have no number.
  virtual std::vector<HostKit::LoggedEvent> CollectEvents() = 0;
  // Waits until the plug-in has something to collect; false when the time is over, a signal came or
  // one of the other things has happened.
  virtual bool WaitForNotification(std::chrono::milliseconds atMost, const WaitSet& also) = 0;
  bool WaitForNotification(std::chrono::milliseconds atMost) {
    return WaitForNotification(atMost, WaitSet());
  }
};

}  // namespace Console
