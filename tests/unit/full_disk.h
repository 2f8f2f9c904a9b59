// Plays a full disk: files of this process may not grow beyond a few bytes, as when the spool's
// disk has room for the beginning of a page frame only.
#pragma once

#include <sys/resource.h>

#include <csignal>

namespace kestra {

/// While it lives, a write beyond `bytes` of a file fails instead of ending the process.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    handler_ = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit = before_;
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit before_{};
  void (*handler_)(int) = nullptr;
};

}  // namespace kestra
