// A job for one of the built programs: a spool of its own, a filter's pipe, frames.
// Why: backend and port monitor are started in the same way and must do the same with a page.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "tests/delivery/backend/child.h"

namespace kestra::delivery {

class ProgramCase : public testing::Test {
 protected:
  // The command of the filter's before each page.
  static const std::string kCommand;
  // Who filters are where the tests run as the administrator; a user without a name.
  static constexpr unsigned kUser = 7654;

  void SetUp() override;
  void TearDown() override;

  // In a child: becomes the program, with job 12 of queue "label" and the filter's pipe.
  int start(const std::string& program, const std::string& uri,
            const std::vector<std::string>& more = {}) const;

  // What the filter does: says that a page begins, stores it, ends well, ends.
  void command() const;
  // The page's bytes.
  std::string frame(int page) const;
  void counter() const;
  void endInput();
  // For another job.
  void renewPipe();

  // Folders of the private tree.
  std::string frames() const { return tree() + "/var/spool/cups/tmp/kcv6data/"; }
  std::string state() const { return tree() + "/var/lib/rastertokestra"; }
  std::string tree() const { return folder_.path() + "/root"; }

  Folder folder_;
  std::string options_;     // behind the job's own
  unsigned owner_ = kUser;  // of frames, where we are the administrator
  std::array<int, 2> filter_ = {-1, -1};

 private:
  void store(const std::string& name, const std::string& bytes) const;
};

// A printer on a port of this machine's own. Takes one connection and keeps what comes.
class Listener {
 public:
  Listener();
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  std::string uri() const;
  // All bytes of the connection, which has come to its end.
  std::string received() const;

 private:
  int listening_ = -1;
};

}  // namespace kestra::delivery
