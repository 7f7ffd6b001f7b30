// Runs one target on each file of a directory, without a fuzzer. Fails if the directory has no
// files.
//
// Usage: fuzz_corpus TARGET DIRECTORY
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "fuzz/Directory.h"
#include "fuzz/Targets.h"

int main(int count, char** arguments) {
  if (count != 3) {
    std::fputs("Usage: fuzz_corpus TARGET DIRECTORY\n", stderr);
    return 2;
  }
  const CorvaneFuzz::Target& target = CorvaneFuzz::FindTarget(arguments[1]);
  using Iterator = std::filesystem::directory_iterator;
  std::vector<std::filesystem::path> files(Iterator(arguments[2]), Iterator{});
  std::sort(files.begin(), files.end());
  for (const auto& file : files) {
    // After a failure, the last line names the input that failed.
    std::fprintf(stderr, "%s\n", file.filename().c_str());
    target.m_Run(CorvaneFuzz::ReadFile(file));
  }
  return files.empty() ? 1 : 0;
}
