#include "fuzz/Directory.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "fuzz/Require.h"

namespace CorvaneFuzz {

// In memory if possible, because the files are synced after each change.
Directory::Directory() {
  const std::filesystem::path memory = "/dev/shm";
  const bool writable = access(memory.c_str(), W_OK) == 0;
  std::string name =
      (writable ? memory : std::filesystem::temp_directory_path()) / "corvane-fuzz-XXXXXX";
  Require(mkdtemp(name.data()) != nullptr, "cannot create a temporary directory");
  m_Path = name;
}

Directory::~Directory() {
  std::error_code ignored;
  std::filesystem::remove_all(m_Path, ignored);
}

void WriteFile(const std::filesystem::path& file, const std::string& text) {
  std::ofstream(file, std::ios::binary) << text;
}

std::string ReadFile(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace CorvaneFuzz
