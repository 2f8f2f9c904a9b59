// One sender at a time, and who it is.
#include "delivery/core/lock.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tests/delivery/core/frames.h"

namespace kestra::delivery {
namespace {

using namespace testing_support;

// A process that holds the lock until it is ended.
pid_t holderOf(const std::string& path) {
  int ready[2];
  if (pipe(ready) != 0) return -1;
  const pid_t child = fork();
  if (child == 0) {
    Lock lock;
    const char held = lock.open(path) && lock.take() ? 'y' : 'n';
    if (write(ready[1], &held, 1) != 1) _exit(1);
    for (;;) pause();
  }
  char held = 'n';
  if (read(ready[0], &held, 1) != 1) held = 'n';
  close(ready[0]);
  close(ready[1]);
  return held == 'y' ? child : -1;
}

TEST(Lock, IsHadByOneProcessAndNamesIt) {
  const Folder folder;
  const pid_t child = holderOf(folder / "lock");
  ASSERT_GT(child, 0);
  Lock lock;
  ASSERT_EQ(lock.open(folder / "lock").problem(), "");
  EXPECT_FALSE(lock.take());
  EXPECT_EQ(lock.holder(), child);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(lock.holder(), 0);
  EXPECT_TRUE(lock.take());
}

TEST(Lock, KeepsItsMarkForTheNextHolder) {
  const Folder folder;
  {
    Lock lock;
    ASSERT_EQ(lock.open(folder / "lock").problem(), "");
    EXPECT_FALSE(lock.isMarked());
    lock.mark(true);
  }
  Lock next;
  ASSERT_EQ(next.open(folder / "lock").problem(), "");
  EXPECT_TRUE(next.isMarked());
  next.mark(false);
  EXPECT_FALSE(next.isMarked());
}

TEST(Lock, FollowsNoLink) {
  const Folder folder;
  ASSERT_EQ(symlink((folder / "elsewhere").c_str(), (folder / "lock").c_str()), 0);
  Lock lock;
  EXPECT_FALSE(lock.open(folder / "lock"));
  EXPECT_NE(access((folder / "elsewhere").c_str(), F_OK), 0);
}

}  // namespace
}  // namespace kestra::delivery
