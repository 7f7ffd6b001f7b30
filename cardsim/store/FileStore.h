// The state file on disk: read as a whole, replaced as a whole.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "cardsim/store/FileHandle.h"
#include "cardsim/store/State.h"

namespace CardSim {

// One version of the file. It stays open, so that no later version can be given its inode number
// and be taken for it. The state outlives it where a card's handle still reads from it.
struct Loaded {
  std::shared_ptr<const State> state;
  FileHandle file;
  std::uint64_t inode = 0;
  std::int64_t size = 0;
  std::int64_t mtimeSeconds = 0;
  std::int64_t mtimeNanoseconds = 0;
};

using LoadedPtr = std::shared_ptr<const Loaded>;

// All functions may be called by any thread of any process at once, and throw `std::runtime_error`
// with one line: it begins with the file's name, or with the place of a change that does not fit.
// Without memory they throw `std::bad_alloc`. A file that another user could have put there is
// refused.
class FileStore {
 public:
  explicit FileStore(std::filesystem::path path) : m_Path(std::move(path)) {}

  const std::filesystem::path& Path() const { return m_Path; }

  // Makes a file without cards; an existing one is replaced only if `overwrite`.
  void Create(bool overwrite) const;

  // The file as it is now. A card whose job's owner has died is back in its earlier state.
  LoadedPtr Load() const;

  // Whether the file is still the loaded version, and no owner of its jobs has died since.
  bool IsCurrent(const Loaded& loaded) const;

  // Reads the file under its lock, lets `change` edit the state, and replaces the file when that
  // returns true or a job's owner has died. An exception, also of `change`, leaves the file as it
  // was: once the file is replaced nothing can fail any more.
  LoadedPtr Edit(const std::function<bool(State&)>& change) const;

 private:
  std::filesystem::path m_Path;
};

}  // namespace CardSim
