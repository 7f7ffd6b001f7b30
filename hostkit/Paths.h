// Paths of the host's files, taken from the environment at each call. The functions neither create
// nor check anything. A program that runs with more privileges than its caller ignores the caller's
// environment. Thread-safe as long as no thread changes the environment.
#pragma once

#include <boost/filesystem/path.hpp>

#include "host/Visibility.h"

namespace HostKit {

// Returns the directory of the ini files: CORVANE_CONFIG_DIR, else $XDG_CONFIG_HOME/corvane, else
// ~/.config/corvane.
HOST_API boost::filesystem::path ConfigDirectory();

// Returns the database file, which may be ":memory:": CORVANE_DATABASE, else
// $XDG_STATE_HOME/corvane/corvane.db, else ~/.local/state/corvane/corvane.db.
HOST_API boost::filesystem::path DatabaseFile();

// Whether this is the name of a database in memory, which has no files.
inline bool IsInMemory(const boost::filesystem::path& database) {
  return database == ":memory:";
}

// Returns the root of the sysfs tree that contains the PCI devices: CORVANE_SYSFS, else /sys.
HOST_API boost::filesystem::path SysfsRoot();

}  // namespace HostKit
