// The state file on disk: read and replaced as a whole.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "base/Descriptor.h"
#include "cardsim/store/State.h"

namespace CardSim {

// One version of the file. It is kept open, so that a later version cannot get its inode number and
// be mistaken for it. Handles of cards share ownership of the state.
struct FileVersion {
  std::shared_ptr<const State> state;
  Base::Descriptor file;
  std::uint64_t inode = 0;
  std::int64_t size = 0;
  std::int64_t mtimeSeconds = 0;
  std::int64_t mtimeNanoseconds = 0;
};

using FileVersionPtr = std::shared_ptr<const FileVersion>;

// All functions may be called by any thread of any process at once. They throw `std::runtime_error`
// with one line that begins with the file's name or with the place of an invalid change, and
// `std::bad_alloc` without memory. A file that another user could have put there is rejected.
class FileStore {
 public:
  explicit FileStore(std::filesystem::path path) : m_Path(std::move(path)) {}

  const std::filesystem::path& Path() const { return m_Path; }

  // Creates a file without cards. An existing one is replaced only if `overwrite`.
  void Create(bool overwrite) const;

  // The file as it is now. A card whose job's process has ended is in its previous state.
  FileVersionPtr Load() const;

  // Whether the file is still that version, and no process with a job in it has ended since.
  bool IsCurrent(const FileVersion& loaded) const;

  // Reads the file under its lock, lets `change` edit the state, and replaces the file if that
  // returns true or the process of a job has ended. An exception, also of `change`, leaves the file
  // unchanged: nothing can fail after the replacement. Returns the version that is then in place.
  FileVersionPtr Edit(const std::function<bool(State&)>& change) const;

 private:
  std::filesystem::path m_Path;
};

}  // namespace CardSim
