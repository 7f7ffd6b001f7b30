// Where the host keeps its files, according to the environment at the moment of the call. Nothing
// is created or checked. A program that runs with more rights than its caller ignores the caller's
// environment. From any thread that does not change the environment.
#pragma once

#include <boost/filesystem/path.hpp>

#include "host/Visibility.h"

namespace HostKit {

// The directory of ini files: CORVANE_CONFIG_DIR, else $XDG_CONFIG_HOME/corvane, else
// ~/.config/corvane.
HOST_API boost::filesystem::path ConfigDirectory();

// The database, which may be ":memory:": CORVANE_DATABASE, else $XDG_STATE_HOME/corvane/corvane.db,
// else ~/.local/state/corvane/corvane.db.
HOST_API boost::filesystem::path DatabaseFile();

// The tree in which PCI devices are found: CORVANE_SYSFS, else /sys.
HOST_API boost::filesystem::path SysfsRoot();

}  // namespace HostKit
