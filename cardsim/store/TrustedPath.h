// Where a file lies, reached without anything on the way that another user could have put there.
//
// Trusted are root and the user of this process. For root, every folder on the way belongs to them
// and is closed to others' writing, unless it is sticky as /tmp is; so is the file. Other users are
// free to share folders and files, but in a folder that everybody may write they take no link and
// no file of a stranger either.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <filesystem>
#include <string>

#include "cardsim/store/FileHandle.h"

namespace CardSim {

struct Place {
  FileHandle folder;          // to open the file below, and nothing else
  std::string name;           // not a symbolic link when it was looked at; open it with O_NOFOLLOW
  bool isOpenFolder = false;  // whether others may put files there
};

// Follows the symbolic links of a path to the end; the file itself may be missing. Throws
// `std::runtime_error`, "PATH: why", for a way that cannot be gone or is not trusted.
Place Locate(const std::filesystem::path& path);

// As above, and makes the folders that are missing on the way, each in a folder that has been
// looked at.
Place LocateInNewFolders(const std::filesystem::path& path);

// What a new file and a new folder may be to others: root's are refused when they may write them.
mode_t ModeOfNewFile();
mode_t ModeOfNewFolder();

// Throws as above unless the opened file is one to trust.
void CheckTrusted(const std::filesystem::path& path, const Place& place, const struct stat& file);

// The rules, for a user of that id. Empty, or why the thing is not trusted.
std::string ObjectionToFolder(const struct stat& folder, uid_t user);
std::string ObjectionToLink(const struct stat& folder, const struct stat& link, uid_t user);
std::string ObjectionToFile(bool isOpenFolder, const struct stat& file, uid_t user);
// Whether others than that user and root may put files into the folder.
bool IsOpenTo(const struct stat& folder, uid_t user);

}  // namespace CardSim
