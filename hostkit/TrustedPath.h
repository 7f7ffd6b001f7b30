// Whether another user could have put there what stands at a path.
//
// Trusted are root and the user of this process. For root, every folder on the way must belong to
// them and be closed to others' writing; a sticky one, such as /tmp, will do as long as what is
// taken from it belongs to them. The file itself must be theirs, writable by nobody else and
// without a second name. Other users are free to share folders and files, but in a folder that
// everybody may write they get no link, folder or file of a stranger either.
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
  // Everybody may write the folder of the file.
  bool m_IsInOpenFolder = false;
};

// A path that does not exist from some name on is judged as far as it does. One that cannot be
// walked, as for want of permission, root does not get; to other users nothing is said, for opening
// it will say why.
HOST_API TrustedPath ResolveTrusted(const boost::filesystem::path& file);

// The objection to what was opened at a path, which need not be what stood there before. Nothing
// that could not be opened is objected to.
HOST_API std::string ObjectionToOpened(const TrustedPath& file, int descriptor);

}  // namespace HostKit
