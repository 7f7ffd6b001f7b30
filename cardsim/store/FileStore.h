// The state file on disk, which is read completely and replaced atomically.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "base/Descriptor.h"
#include "cardsim/store/State.h"

namespace CardSim {

// One version of the file. The file is kept open, so that a later version cannot reuse the inode
// number and be mistaken for this one. Handles of cards share ownership of the state.
struct FileVersion {
  std::shared_ptr<const State> state;
  Base::Descriptor file;
  std::uint64_t inode = 0;
  std::int64_t size = 0;
  std::int64_t mtimeSeconds = 0;
  std::int64_t mtimeNanoseconds = 0;
};

using FileVersionPtr = std::shared_ptr<const FileVersion>;

// All functions are thread-safe, and several processes may call them simultaneously. `Create`,
// `Load` and `Edit` throw `std::runtime_error` with one line that starts with the file's name or
// with the location of an invalid change, and `std::bad_alloc` if memory runs out. They reject a
// file that another user could have created.
class FileStore {
 public:
  explicit FileStore(std::filesystem::path path) : m_Path(std::move(path)) {}

  const std::filesystem::path& Path() const { return m_Path; }

  // Creates a file without cards. Replaces an existing file only if `overwrite` is true.
  void Create(bool overwrite) const;

  // Reads the current file. If the process that ran a card's job has exited, the card is returned
  // in its previous state.
  FileVersionPtr Load() const;

  // Whether the file is still that version, and all jobs in it are still running. False if the file
  // is missing.
  bool IsCurrent(const FileVersion& loaded) const;

  // Reads the file under its lock, calls `change` to edit the state, and replaces the file if
  // `change` returns true or if the process of a job has exited. If anything throws, including
  // `change`, the file remains unchanged: nothing can fail after the replacement. Returns the
  // resulting version.
  FileVersionPtr Edit(const std::function<bool(State&)>& change) const;

 private:
  std::filesystem::path m_Path;
};

}  // namespace CardSim
