// A session with a plug-in. The rest of the program uses plug-ins only through this interface.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Deadline.h"
#include "console/base/StopSignals.h"
#include "console/model/CardRecords.h"
#include "console/model/CardTimes.h"
#include "console/plugin/CardError.h"
#include "console/plugin/RowTables.h"
#include "host/PluginInterface.h"
#include "hostkit/EventLog.h"

namespace Console {

// The plug-in of a session.
struct PluginInfo {
  std::string m_File;
  std::uint32_t m_ModuleID = 0;
  std::uint32_t m_InterfaceVersion = 0;
};

// Call the members only from the thread that created the session. Unless stated otherwise, they
// throw `Failure` if the plug-in returns an error. Objects are identified by `PI::CObject::m_ID`.
class Session {
 public:
  virtual ~Session() = default;

  // Returns the plug-in's file, module id and interface version at the start of the session. Never
  // throws `Failure`.
  virtual PluginInfo Info() const = 0;

  // Whether the plug-in belongs to a service, which keeps it loaded and logs all events.
  virtual bool IsShared() const { return false; }

  // Keeps the session open when its service exits: `onLost` is called, and `WaitForNotification`
  // connects again. Until then, `Topology` returns the last objects, and `CollectEvents` returns no
  // events; afterwards, `CollectEvents` continues after the last event that it returned. Has no
  // effect on a session without a service.
  virtual void KeepConnected(std::function<void()> /*onLost*/) {}

  // Whether the plug-in is running. If not, reads return its last report.
  virtual bool IsUp() const { return true; }

  // Whether the plug-in found a card that it supports. Without cards, reads still work and return
  // only the plug-in object.
  virtual bool HasCards() const = 0;

  // Returns the number of threads that the plug-in failed to start. If the thread that polls the
  // cards is one of them, no events arrive.
  virtual std::size_t FailedThreads() const = 0;

  // Returns the time that the plug-in took to start, including its first scan of all cards.
  virtual std::chrono::duration<double> StartDuration() const = 0;

  // Sets the deadline for reads. A read that has not returned shortly after the deadline, or that
  // exceeds the limit for a single call, throws `Failure` with the exit code for a timeout. Reads
  // also throw on a stop signal.
  virtual void SetDeadline(const Deadline& deadline) = 0;

  // Returns the plug-in object, all adapters and all drives, in this order, with properties and
  // operations.
  virtual std::vector<PI::CObject> Topology() = 0;
  // Returns when the objects that `Topology` returned last were read; no times before its first
  // call.
  virtual const CardTimes& Times() const = 0;
  // Returns the records of the cards that belong to the objects that `Topology` returned last.
  virtual CardRecords Cards() const { return {}; }
  // Returns all current properties of the object, including hidden ones, in the plug-in's order.
  virtual std::vector<PI::CProperty> Properties(std::uint64_t object) = 0;
  // Returns the record of one property; empty if the object does not currently have the property.
  virtual std::vector<PI::CProperty> Property(std::uint64_t object, std::uint32_t property) = 0;
  // Returns the plug-in's result; does not throw for it.
  virtual std::uint32_t SetProperty(std::uint64_t object, PI::CProperty& property) = 0;

  // Returns the operations that the object currently offers, with their parameters and defaults.
  virtual std::vector<PI::COperation> Operations(std::uint64_t object) = 0;
  // Return the plug-in's result; do not throw for it.
  virtual std::uint32_t CheckOperation(std::uint64_t object, PI::COperation& operation) = 0;
  virtual std::uint32_t ExecuteOperation(std::uint64_t object, PI::COperation& operation) = 0;

  // Returns the failed call to the card library that the last command reported, or empty.
  virtual std::optional<CardError> LastCardError() const { return std::nullopt; }

  // Returns the rows that the plug-in has written to one table of the host's database. Throws
  // `DBEXCEPTION::DatabaseException` if the database cannot be read.
  virtual HostKit::RowTable ReadRows(const RowSource& source) {
    return HostKit::ReadRows(source.m_Kind);
  }

  // Reads all pending events of the plug-in, appends them to the host's log and returns them.
  // Object ids are those of this session; the events have no log number.
  virtual std::vector<HostKit::LoggedEvent> CollectEvents() = 0;
  // Waits until the plug-in has pending events. Returns false on timeout, on a stop signal or if
  // only a descriptor of `extra` is ready.
  virtual bool WaitForNotification(std::chrono::milliseconds timeout, const WaitSet& extra) = 0;
  bool WaitForNotification(std::chrono::milliseconds timeout) {
    return WaitForNotification(timeout, WaitSet());
  }
};

}  // namespace Console
