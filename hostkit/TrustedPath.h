// Whether another user could have put there what stands at a path.
//
// Trusted are root and the user of this process. For root, every folder on the way must belong to
// them and be closed to others' writing; a sticky one, such as /tmp, will do as long as what is
// taken from it belongs to them. The file itself must be theirs, writable by nobody else and
// without a second name. Other users are free to share folders and files, but in a folder that
// everybody may write they get no link or file of a stranger either.
#pragma once

#include <boost/filesystem/path.hpp>
#include <string>

#include "host/Visibility.h"

namespace HostKit {

struct TrustedPath {
  // Absolute and without symbolic links, as far as the path exists. To be opened with O_NOFOLLOW.
  boost::filesystem::path m_File;
  // Empty, or why the file must not be used: "/tmp/a.db belongs to uid 1000".
  std::string m_Objection;
};

// A path that cannot be walked, as for want of permission, is given back as it is: opening it will
// say why.
HOST_API TrustedPath ResolveTrusted(const boost::filesystem::path& file);

}  // namespace HostKit
