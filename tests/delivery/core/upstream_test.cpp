// The writers of a pipe are found and ended, and nobody else.
#include "delivery/core/upstream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace kestra::delivery {
namespace {

pid_t processWithOutput(int output) {
  const pid_t child = fork();
  if (child == 0) {
    dup2(output, STDOUT_FILENO);
    for (int other = 3; other < 64; ++other) close(other);
    for (;;) pause();
  }
  return child;
}

TEST(EndWriters, EndsTheWriterOfThePipeAlone) {
  int mine[2], theirs[2];
  ASSERT_EQ(pipe(mine), 0);
  ASSERT_EQ(pipe(theirs), 0);
  const pid_t writer = processWithOutput(mine[1]);
  const pid_t other = processWithOutput(theirs[1]);
  close(mine[1]);
  // The writer is there once its output is the pipe; until then its copy of ours keeps it open.
  pollfd end = {mine[0], POLLIN, 0};
  for (int i = 0; i < 3000 && poll(&end, 1, 10) == 0; ++i) endWriters(mine[0]);
  EXPECT_NE(end.revents & POLLHUP, 0);
  EXPECT_EQ(waitpid(writer, nullptr, 0), writer);
  EXPECT_EQ(waitpid(other, nullptr, WNOHANG), 0);
  kill(other, SIGKILL);
  waitpid(other, nullptr, 0);
  close(mine[0]);
  close(theirs[0]);
  close(theirs[1]);
}

TEST(EndWriters, DoesNothingForWhatIsNoPipe) {
  const int nowhere = open("/dev/null", O_RDWR);
  const pid_t other = processWithOutput(nowhere);
  endWriters(nowhere);
  endWriters(-1);
  EXPECT_EQ(waitpid(other, nullptr, WNOHANG), 0);
  kill(other, SIGKILL);
  waitpid(other, nullptr, 0);
  close(nowhere);
}

}  // namespace
}  // namespace kestra::delivery
