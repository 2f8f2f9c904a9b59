// Whoever of the two processes is killed, and whoever is told to end.
// Why: the filter takes silence for the end of the pages, and the print system takes a program that
// was killed for one that is done.
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

#include "tests/fit/fit_program.h"
#include "tests/fit/plain_fit.h"
#include "tests/support/sanitized.h"

namespace kestra::fit_tests {

namespace ts = testing_support;

namespace {

constexpr std::size_t kAll = SIZE_MAX;

std::string words(int signal) {
  return "ERROR: The program that fits the pages was ended by signal " + std::to_string(signal) +
         "; the rest of the job may be missing.\n";
}

// Gives the stream's first bytes and takes them: from then on the work is under way.
void begin(FitProgram* program) {
  ASSERT_TRUE(program->give("3SaR"));
  ASSERT_EQ(program->take(4), "3SaR");
}

// Waits for the end of somebody else's child; false where it lives on after 20 seconds.
bool hasEnded(int process) {
  pollfd end = {process, POLLIN, 0};
  const bool ended = poll(&end, 1, 20000) == 1;
  close(process);
  return ended;
}

// Waits until a process has nothing to do.
void awaitRest(pid_t process) {
  char state = 0;
  while (state != 'S') {
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    // Behind the number and the name in parentheses, which holds no blank here.
    std::string word;
    ASSERT_TRUE(stat >> word >> word >> state);
  }
}

int watch(pid_t process) { return static_cast<int>(syscall(SYS_pidfd_open, process, 0)); }

// The system's answer where it has no room for a second process.
void refuseProcesses() {
  const auto refuse = [](long call) {
    return sock_filter(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 1));
  };
  const sock_filter no = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAGAIN);
  std::array<sock_filter, 6> rules = {
      sock_filter(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))),
      refuse(SYS_clone),
      no,
      refuse(SYS_clone3),
      no,
      sock_filter(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW))};
  const sock_fprog program = {rules.size(), rules.data()};
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
    _exit(126);
  }
}

}  // namespace

TEST(GuardedFit, FailsWithWordsWhereItsWorkIsEndedByASignal) {
  for (const int signal : {SIGKILL, SIGTERM, SIGABRT}) {
    FitProgram program(jobWords());
    begin(&program);
    ASSERT_GT(program.worker(), 0);
    ASSERT_EQ(kill(program.worker(), signal), 0);
    EXPECT_EQ(program.take(kAll), "");
    const FitEnd end = program.await();
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.messages, words(signal));
  }
}

// Else the filter would be done, and the job printed, before anybody knows of the fault.
TEST(GuardedFit, ShowsNoEndOfThePagesBeforeItKnowsHowItsWorkEnded) {
  FitProgram program(jobWords());
  begin(&program);
  const int work = watch(program.worker());
  ASSERT_GE(work, 0);
  awaitRest(program.pid());
  ASSERT_EQ(kill(program.pid(), SIGSTOP), 0);
  ASSERT_EQ(kill(program.worker(), SIGKILL), 0);
  ASSERT_TRUE(hasEnded(work));
  EXPECT_FALSE(program.outputHasEnded());
  ASSERT_EQ(kill(program.pid(), SIGCONT), 0);
  EXPECT_EQ(program.take(kAll), "");
  EXPECT_TRUE(program.outputHasEnded());
  EXPECT_EQ(program.await().status, 1);
}

TEST(GuardedFit, HandsOnAllPagesWhereTheGuardIsKilled) {
  const std::string page = ts::rawStream({makePage("noise", 8, 500)});
  FitProgram program(jobWords());
  ASSERT_TRUE(program.give(page));
  ASSERT_EQ(program.take(page.size()), page);
  ASSERT_EQ(kill(program.pid(), SIGKILL), 0);
  EXPECT_EQ(program.await().signal, SIGKILL);
  const std::string next = ts::rawStream({makePage("text", 8, 500)}).substr(4);
  ASSERT_TRUE(program.give(next));
  program.endOfInput();
  EXPECT_EQ(program.take(kAll), next);
}

// As where the program ends whose child the guard is. Ended by SIGTERM, it would count as done.
TEST(GuardedFit, EndsItsWorkWhereTheGuardAloneIsToldToEnd) {
  FitProgram program(jobWords());
  begin(&program);
  const int work = watch(program.worker());
  ASSERT_GE(work, 0);
  ASSERT_EQ(kill(program.pid(), SIGTERM), 0);
  ASSERT_TRUE(hasEnded(work));
  const FitEnd end = program.await();
  EXPECT_EQ(end.status, 1);
  EXPECT_EQ(end.messages, "");
  EXPECT_EQ(program.take(kAll), "");
}

// A cancelled job: nobody wants to read of its programs' ends.
TEST(GuardedFit, EndsWithoutAWordWhereBothAreToldToEnd) {
  for (int turn = 0; turn < 20; ++turn) {
    FitProgram program(jobWords());
    begin(&program);
    ASSERT_EQ(kill(-program.pid(), SIGTERM), 0);
    EXPECT_EQ(program.take(kAll), "");
    const FitEnd end = program.await();
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.messages, "");
  }
}

TEST(GuardedFit, FitsPagesWithoutAGuardWhereThereIsNoRoomForOne) {
#ifdef KESTRA_SANITIZED
  GTEST_SKIP() << "the checker itself starts a process";
#endif
  FitProgram program(jobWords(), std::nullopt, "", refuseProcesses);
  begin(&program);
  EXPECT_EQ(program.worker(), -1);
  program.endOfInput();
  EXPECT_EQ(program.take(kAll), "");
  const FitEnd end = program.await();
  EXPECT_EQ(end.status, 0);
  EXPECT_EQ(end.messages, "");
}

}  // namespace kestra::fit_tests
