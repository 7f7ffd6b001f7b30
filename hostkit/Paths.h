// Where the host keeps its files, from the environment.
#pragma once

#include <boost/filesystem/path.hpp>

#include "host/Visibility.h"

namespace HostKit {

// CORVANE_CONFIG_DIR, else $XDG_CONFIG_HOME/corvane, else ~/.config/corvane.
HOST_API boost::filesystem::path ConfigFolder();

// CORVANE_DATABASE, else $XDG_STATE_HOME/corvane/corvane.db, else
// ~/.local/state/corvane/corvane.db.
HOST_API boost::filesystem::path DatabaseFile();

// CORVANE_SYSFS, else /sys.
HOST_API boost::filesystem::path SysfsRoot();

}  // namespace HostKit
