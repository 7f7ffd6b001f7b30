// Simulates a full disk by limiting the size of files.
#pragma once

#include <sys/resource.h>

#include <csignal>

// Limits the size of the files that this process writes, until destroyed.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : m_pHandler(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &m_Before);
    const rlimit limit{bytes, m_Before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &m_Before);
    std::signal(SIGXFSZ, m_pHandler);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  void (*const m_pHandler)(int);
  rlimit m_Before{};
};
