// Tests of the two processes of a job: what the print system sees of every way in which one of them
// ends, and that the other goes on.
#include "delivery/backend/apart.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>

#include "tests/delivery/backend/child.h"

namespace kestra::delivery {
namespace {

using std::chrono::milliseconds;

constexpr int kAgain = 7;  // the print system starts the job again at once

const Patience kUntilLeave = {};
const Patience kUntilCancel = {Clock::time_point::max(), Stop::kCancel};

FrontTimes quick() { return {milliseconds(4000), milliseconds(100), std::chrono::hours(1)}; }

TEST(RunApart, EndsWithTheVerdictAfterAllLines) {
  Child job([] {
    return runApart([](int, Watch&, const Tell& tell) {
      for (int i = 0; i < 100; ++i) tell("INFO: line " + std::to_string(i));
      return 3;
    });
  });
  std::string wanted;
  for (int i = 0; i < 100; ++i) wanted += "INFO: line " + std::to_string(i) + "\n";
  EXPECT_EQ(job.messages(), wanted);
  EXPECT_EQ(job.output(), "");
  EXPECT_EQ(job.wait(), 3);
}

// The print system cancels a job that stands still for too long, and a printer that is away is no
// reason to lose one.
TEST(RunApart, TellsThePrintSystemAgainAndAgainThatTheJobGoesOn) {
  FrontTimes times = quick();
  times.sign = milliseconds(20);
  int gate[2];
  ASSERT_EQ(pipe(gate), 0);
  const auto start = Clock::now();
  Child job([&times, &gate] {
    return runApart(
        [&gate](int, Watch& watch, const Tell& tell) {
          // Each part of the job goes on until the test has seen enough of it.
          char pass = 0;
          tell("STATE: +connecting-to-device");
          static_cast<void>(watch.await(gate[0], POLLIN, kUntilLeave));
          if (read(gate[0], &pass, 1) != 1) return 1;
          tell("STATE: -connecting-to-device,-offline-report");
          static_cast<void>(watch.await(gate[0], POLLIN, kUntilLeave));
          tell("INFO: done");
          return 0;
        },
        times);
  });
  int signs = 0;
  std::string line;
  // Takes signs, two lines each, until another line comes or there are so many.
  const auto takeSigns = [&](const std::string& first, const std::string& second, int most) {
    int count = 0;
    while (count < most && (line = job.nextMessage()) == first) {
      EXPECT_EQ(job.nextMessage(), second);
      ++count;
    }
    signs += count;
    return count;
  };
  constexpr int kAny = 1000000;
  const std::string back = "STATE: -connecting-to-device";
  const std::string away = "STATE: +connecting-to-device";
  const std::string there = "STATE: +kestra-at-work";
  const std::string gone = "STATE: -kestra-at-work";
  takeSigns(there, gone, kAny);
  ASSERT_EQ(line, away);
  // The print system counts only what changes while no connection is waited for.
  ASSERT_EQ(takeSigns(back, away, 3), 3) << line;
  ASSERT_EQ(write(gate[1], "1", 1), 1);
  takeSigns(back, away, kAny);
  ASSERT_EQ(line, "STATE: -connecting-to-device,-offline-report");
  ASSERT_EQ(takeSigns(there, gone, 3), 3) << line;
  ASSERT_EQ(write(gate[1], "2", 1), 1);
  takeSigns(there, gone, kAny);
  EXPECT_EQ(line, "INFO: done");
  EXPECT_EQ(job.wait(), 0);
  // However late they come, they never come sooner than was said.
  EXPECT_GE(Clock::now() - start, signs * times.sign);
  close(gate[0]);
  close(gate[1]);
}

TEST(RunApart, HasTheJobStartedAgainWhoseSenderWasKilled) {
  for (const int signal : {SIGKILL, SIGTERM}) {
    Child job([signal] {
      return runApart([signal](int, Watch&, const Tell& tell) {
        tell("INFO: on its way");
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        raise(signal);
        return 0;
      });
    });
    EXPECT_EQ(job.messages(), "INFO: on its way\n");
    EXPECT_EQ(job.wait(), kAgain);
  }
}

TEST(RunApart, TellsOfASenderThatEndedByAFaultAndWaitsALittle) {
  const auto before = Clock::now();
  Child job([] {
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    return runApart(
        [](int, Watch&, const Tell&) {
          std::signal(SIGABRT, SIG_DFL);
          std::abort();
          return 0;
        },
        quick());
  });
  EXPECT_EQ(job.messages().rfind("ERROR: The program that sends the pages ended by a fault", 0),
            0U);
  EXPECT_EQ(job.wait(), kAgain);
  EXPECT_GE(Clock::now() - before, quick().fault);
}

TEST(RunApart, TellsOfASenderThatEndsWithoutAVerdict) {
  Child job([] { return runApart([](int, Watch&, const Tell&) -> int { _exit(0); }, quick()); });
  EXPECT_NE(job.messages().find("(status 0)"), std::string::npos);
  EXPECT_EQ(job.wait(), kAgain);
}

TEST(RunApart, CancelsTheSenderWhenTheJobIsStoppedAndWaitsForItsVerdict) {
  Child job([] {
    return runApart([](int, Watch& watch, const Tell& tell) {
      tell("INFO: waiting");
      const Woken woken = watch.await(kUntilCancel);
      tell(woken == Woken::kStopped ? "INFO: ended in white" : "INFO: not stopped");
      return 5;
    });
  });
  EXPECT_EQ(job.nextMessage(), "INFO: waiting");
  job.signal(SIGTERM);
  EXPECT_EQ(job.nextMessage(), "INFO: ended in white");
  EXPECT_EQ(job.wait(), 5);
}

constexpr int kRefused = 77, kCancelled = 5, kGoesOn = 6;

int codeOf(pid_t child) {
  int status = 0;
  return waitpid(child, &status, 0) == child ? WEXITSTATUS(status) : kRefused;
}

// How a job ends that the first process of a machine, here of a small one, asks to end. That
// process is the print system itself or has started it.
int endByFirstProcess(bool isPrintSystem) {
  const int more = geteuid() == 0 ? 0 : CLONE_NEWUSER;
  if (unshare(CLONE_NEWPID | more) != 0) return kRefused;
  const pid_t first = fork();
  if (first != 0) return codeOf(first);

  std::array<int, 2> told = {-1, -1};
  if (pipe(told.data()) != 0) _exit(kRefused);
  const auto printSystem = [&told, isPrintSystem] {
    const pid_t front = fork();
    if (front != 0) return front;
    _exit(runApart([&told, isPrintSystem](int, Watch& watch, const Tell&) {
      const pid_t parent = getppid();
      if (write(told[1], &parent, sizeof parent) != sizeof parent) return kRefused;
      // A cancel comes however slow the machine; for one that must not come there is a moment.
      const long wait = isPrintSystem ? 30000 : 300;
      return watch.pause(Patience::forMilliseconds(wait, Stop::kCancel)) == Woken::kStopped
                 ? kCancelled
                 : kGoesOn;
    }));
  };
  const pid_t child = isPrintSystem ? printSystem() : fork();
  if (child == 0) _exit(codeOf(printSystem()));
  pid_t front = 0;
  if (read(told[0], &front, sizeof front) == sizeof front) kill(front, SIGTERM);
  _exit(codeOf(child));
}

// It ends all of a service at the same moment, front and sender, and wants no page cut off.
TEST(RunApart, IsNotCancelledByTheFirstProcessOfTheMachineUnlessThatIsThePrintSystem) {
  for (const bool isPrintSystem : {false, true}) {
    Child machine([isPrintSystem] { return endByFirstProcess(isPrintSystem); });
    const int code = machine.wait();
    if (code == kRefused) GTEST_SKIP() << "no process namespaces here";
    EXPECT_EQ(code, isPrintSystem ? kCancelled : kGoesOn);
  }
}

TEST(RunApart, LeavesASenderBehindThatDoesNotStopInTime) {
  Trace trace;
  Child job([&trace] {
    return runApart(
        [&trace](int, Watch& watch, const Tell& tell) {
          tell("INFO: busy");
          // A page to a printer that takes nothing: only the end of the front is noticed at last.
          static_cast<void>(watch.await(kUntilCancel));
          tell("INFO: cancelled");
          while (watch.await({Clock::now() + std::chrono::seconds(30), Stop::kNone}) !=
                 Woken::kReady) {
          }
          trace.leave('e');
          return 0;
        },
        quick());
  });
  EXPECT_EQ(job.nextMessage(), "INFO: busy");
  const auto before = Clock::now();
  job.signal(SIGTERM);
  job.signal(SIGTERM);
  EXPECT_EQ(job.nextMessage(), "INFO: cancelled");
  EXPECT_EQ(job.wait(), kAgain);
  EXPECT_GE(Clock::now() - before, quick().stop - milliseconds(1));
  EXPECT_LT(Clock::now() - before, std::chrono::seconds(25));  // the sender takes 30
  EXPECT_EQ(trace.next(), 'e');
  EXPECT_EQ(trace.next(), '\0');
}

TEST(RunApart, LosesNoStopThatComesWhileTheJobStarts) {
  Child job([] {
    holdStopSignal();
    raise(SIGTERM);
    return runApart([](int, Watch& watch, const Tell&) {
      return watch.await(kUntilCancel) == Woken::kStopped ? 5 : 6;
    });
  });
  EXPECT_EQ(job.wait(), 5);
}

TEST(RunApart, LetsTheSenderFinishWhenTheFrontIsKilled) {
  Trace trace;
  Child job([&trace] {
    return runApart([&trace](int, Watch& watch, const Tell& tell) {
      tell("INFO: sending");
      static_cast<void>(watch.await(kUntilLeave));
      // What the print system killed is told nothing, but it is no reason to die.
      for (int i = 0; i < 3; ++i) tell("INFO: nobody hears this");
      trace.leave(watch.stopped() == Stop::kNone ? 'l' : 'x');
      return 0;
    });
  });
  EXPECT_EQ(job.nextMessage(), "INFO: sending");
  job.signal(SIGKILL);
  EXPECT_EQ(job.wait(), 128 + SIGKILL);
  EXPECT_EQ(trace.next(), 'l');
  EXPECT_EQ(trace.next(), '\0');  // and it ends
}

TEST(RunApart, DoesNotMakeThePrintSystemWaitForTheSender) {
  Trace trace;
  std::array<int, 2> hold = {-1, -1};
  ASSERT_EQ(pipe(hold.data()), 0);
  Child job([&] {
    close(hold[1]);
    return runApart([&](int, Watch&, const Tell& tell) {
      tell("INFO: sending");
      char byte = 0;
      static_cast<void>(!read(hold[0], &byte, 1));  // until the test lets go
      trace.leave('e');
      return 0;
    });
  });
  EXPECT_EQ(job.nextMessage(), "INFO: sending");
  job.signal(SIGKILL);
  EXPECT_EQ(job.wait(), 128 + SIGKILL);
  // Both pipes are at their end while the sender lives.
  EXPECT_EQ(job.messages(), "");
  EXPECT_EQ(job.output(), "");
  close(hold[1]);
  EXPECT_EQ(trace.next(), 'e');
  close(hold[0]);
}

TEST(RunApart, GivesTheSenderASessionAndTheFilterToItselfAlone) {
  std::array<int, 2> filter = {-1, -1};
  ASSERT_EQ(pipe(filter.data()), 0);
  Child job([&] {
    dup2(filter[0], STDIN_FILENO);
    close(filter[0]);
    close(filter[1]);
    return runApart([](int, Watch& watch, const Tell& tell) {
      tell(getsid(0) == getpid() ? "own session" : "no session");
      char byte = 0;
      tell(read(STDIN_FILENO, &byte, 1) == 1 ? std::string(1, byte) : "no input");
      close(STDIN_FILENO);
      tell("closed");
      static_cast<void>(watch.await(kUntilCancel));
      return 0;
    });
  });
  close(filter[0]);
  ASSERT_EQ(write(filter[1], "f", 1), 1);
  EXPECT_EQ(job.nextMessage(), "own session");
  EXPECT_EQ(job.nextMessage(), "f");
  EXPECT_EQ(job.nextMessage(), "closed");
  // The front reads nothing of the filter's: with the sender's end closed, the pipe has no reader.
  pollfd end = {filter[1], POLLOUT, 0};
  ASSERT_EQ(poll(&end, 1, 30000), 1);
  EXPECT_NE(end.revents & POLLERR, 0);
  close(filter[1]);
  job.signal(SIGTERM);
  EXPECT_EQ(job.wait(), 0);
}

TEST(RunApart, HoldsNoDescriptorOfThePrintSystemsInTheFront) {
  std::array<int, 2> leaked = {-1, -1};
  ASSERT_EQ(pipe(leaked.data()), 0);
  Child job([&] {
    close(leaked[0]);
    return runApart([&](int, Watch& watch, const Tell& tell) {
      close(leaked[1]);
      tell("INFO: closed");
      static_cast<void>(watch.await(kUntilCancel));
      return 0;
    });
  });
  close(leaked[1]);
  EXPECT_EQ(job.nextMessage(), "INFO: closed");
  pollfd end = {leaked[0], POLLIN, 0};
  ASSERT_EQ(poll(&end, 1, 30000), 1);
  EXPECT_NE(end.revents & POLLHUP, 0);
  close(leaked[0]);
  job.signal(SIGTERM);
  EXPECT_EQ(job.wait(), 0);
}

struct SenderSignal {
  int signal;
  Stop stop;
};

TEST(RunApart, StopsTheSenderBySignalsOfItsOwn) {
  for (const SenderSignal& one :
       {SenderSignal{SIGTERM, Stop::kLeave}, SenderSignal{SIGINT, Stop::kCancel}}) {
    Child job([&one] {
      return runApart([&one](int, Watch& watch, const Tell&) {
        kill(getpid(), SIGHUP);  // means nothing
        kill(getpid(), one.signal);
        const Woken woken = watch.await(Patience{Clock::time_point::max(), one.stop});
        return woken == Woken::kStopped && watch.stopped() == one.stop ? 3 : 4;
      });
    });
    EXPECT_EQ(job.wait(), 3) << "signal " << one.signal;
  }
}

TEST(RunApart, TellsTheSenderThatThePrintSystemHasEnded) {
  Trace trace;
  Child printSystem([&trace] {
    const pid_t front = fork();
    if (front == 0) {
      const int code = runApart([&trace](int system, Watch& watch, const Tell&) {
        trace.leave('s');
        const Patience patience = Patience::forMilliseconds(30000, Stop::kNone);
        trace.leave(watch.await(system, POLLIN, patience) == Woken::kReady ? 'g' : 'x');
        return 0;
      });
      _exit(code);
    }
    pause();  // until it is killed
    return 0;
  });
  EXPECT_EQ(trace.next(), 's');
  printSystem.signal(SIGKILL);
  EXPECT_EQ(trace.next(), 'g');
  EXPECT_EQ(trace.next(), '\0');
}

}  // namespace
}  // namespace kestra::delivery
