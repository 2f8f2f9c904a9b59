// kestra-delivery send from outside: which bytes come, and what is said where they cannot.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <memory>

#include "delivery/core/job_store.h"
#include "delivery/core/lock.h"
#include "tests/delivery/tool/machine.h"

namespace kestra::delivery {
namespace {

using namespace testing_support;
namespace fs = std::filesystem;

Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// A printer of this machine: accepts one connection.
class Listener {
 public:
  explicit Listener(const std::string& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    socket_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(socket_, 1), 0);
  }
  Listener() {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(socket_, 1), 0);
    socklen_t size = sizeof address;
    EXPECT_EQ(getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size), 0);
    uri_ = "socket://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  }
  ~Listener() {
    if (connection_ >= 0) close(connection_);
    close(socket_);
  }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  const std::string& uri() const { return uri_; }
  // The first bytes, at most so many; all up to the end without a number.
  Bytes read(std::size_t most = SIZE_MAX) {
    if (connection_ < 0) connection_ = accept(socket_, nullptr, nullptr);
    Bytes bytes;
    std::uint8_t part[4096];
    while (bytes.size() < most) {
      const ssize_t got = ::read(connection_, part, std::min(sizeof part, most - bytes.size()));
      if (got <= 0) break;
      bytes.insert(bytes.end(), part, part + got);
    }
    return bytes;
  }

 private:
  int socket_ = -1, connection_ = -1;
  std::string uri_;
};

class Send : public ::testing::Test {
 protected:
  std::string frame(const std::string& name, const Bytes& bytes) {
    publish(machine_.root() + "/" + name, bytes);
    return machine_.root() + "/" + name;
  }
  std::string out() const { return machine_.root() + "/out.prn"; }

  // A job of four labels, of which the first came and the second is in doubt.
  void rememberJob(Rest rest = Rest::kLeft) {
    const std::string folder = machine_.printing("key");
    Journal journal;
    machine_.begin(journal, folder, 45);
    ASSERT_TRUE(journal.closing(digestOf(frameOf(1)), kOwn) && journal.done(digestOf(frameOf(1))));
    ASSERT_TRUE(journal.closing(digestOf(frameOf(2)), kOwn) && journal.rest(rest));
    for (int i = 1; i <= 4; ++i) {
      // Page numbers change from start to start.
      machine_.keep(folder, i, frameOf(static_cast<std::uint8_t>(i), 4, 77));
    }
  }
  Bytes labelOfJob(int number) const {
    return labelOf(frameOf(static_cast<std::uint8_t>(number), 4, 77), kOwn);
  }

  static constexpr Command kOwn = {0x1B, 0x73, 1, 0, 0, 0, 2};
  Machine machine_;
};

TEST_F(Send, FramesGoInTheirOrderEachBehindACommand) {
  const std::string a = frame("a.dat", frameOf(10)), b = frame("b.dat", frameOf(20));
  const Ran ran = machine_.run({"send", b, a, b, out()});
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(bytesOf(out()), labelOf(frameOf(20)) + labelOf(frameOf(10)) + labelOf(frameOf(20)));
  EXPECT_EQ(ran.out, "");
  EXPECT_EQ(ran.err,
            "Printing label 1 of 3\nPrinting label 2 of 3\nPrinting label 3 of 3\n"
            "3 labels sent to " +
                out() + ".\n");
}

TEST_F(Send, SpeedAndDarknessAreInTheCommand) {
  const Ran ran = machine_.run(
      {"send", frame("a.dat", frameOf(10)), "-", "--speed", "6", "--darkness", "Light", "-v"});
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(Bytes(ran.out.begin(), ran.out.end()),
            labelOf(frameOf(10), {0x1B, 0x73, 1, 0, 0, 4, 0}));
  EXPECT_NE(ran.err.find("PAGE: total 1\n"), std::string::npos) << ran.err;
}

TEST_F(Send, OverTheNetworkAndOverASocketOfThisMachine) {
  const std::string a = frame("a.dat", frameOf(10));
  Listener printer;
  Started overTcp = machine_.start({"send", a, a, printer.uri()});
  EXPECT_EQ(printer.read(), labelOf(frameOf(10)) + labelOf(frameOf(10)));
  EXPECT_EQ(overTcp.wait().status, 0);
  Listener local(machine_.root() + "/printer");
  Started overUnix = machine_.start({"send", a, "unix:" + machine_.root() + "/printer"});
  EXPECT_EQ(local.read(), labelOf(frameOf(10)));
  EXPECT_EQ(overUnix.wait().status, 0);
}

TEST_F(Send, NothingIsSentWhereOneFrameIsNone) {
  const std::string good = frame("a.dat", frameOf(10));
  Bytes longer = frameOf(10);
  longer.push_back(0);
  const Ran ran = machine_.run(
      {"send", good, frame("b.dat", longer), machine_.root() + "/no.dat", good, out()});
  EXPECT_EQ(ran.status, 1);
  EXPECT_FALSE(fs::exists(out()));
  EXPECT_NE(ran.err.find("b.dat: the frame announces 34 bytes and has 35"), std::string::npos)
      << ran.err;
  EXPECT_NE(ran.err.find("no.dat: No such file"), std::string::npos) << ran.err;
  EXPECT_NE(ran.err.find("nothing was sent"), std::string::npos) << ran.err;
}

TEST_F(Send, OfAJobWhatIsMissingAndInDoubt) {
  rememberJob();
  const Ran ran = machine_.run({"send", "45", out()});
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(bytesOf(out()), labelOfJob(2) + labelOfJob(3) + labelOfJob(4));
  EXPECT_NE(ran.err.find("Warning: Label 2 may come twice"), std::string::npos) << ran.err;
  EXPECT_NE(ran.err.find("3 labels sent to "), std::string::npos) << ran.err;
  EXPECT_NE(ran.err.find("The job itself still waits"), std::string::npos) << ran.err;
  // By hand is beside the journal: nothing of it changed.
  EXPECT_NE(machine_.run({"list"}).out.find("1 label came, label 2 in doubt"), std::string::npos);
}

TEST_F(Send, OfAJobWithoutTheOneInDoubt) {
  rememberJob();
  const Ran ran = machine_.run({"send", "key", out(), "--doubt", "skip"});
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(bytesOf(out()), labelOfJob(3) + labelOfJob(4));
  EXPECT_NE(ran.err.find("2 labels sent to " + out() + ", 1 left out."), std::string::npos)
      << ran.err;
}

TEST_F(Send, OfAJobAllLabels) {
  rememberJob(Rest::kEnded);
  const Ran ran = machine_.run({"send", "45", out(), "--all"});
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(bytesOf(out()), labelOfJob(1) + labelOfJob(2) + labelOfJob(3) + labelOfJob(4));
  EXPECT_EQ(ran.err.find("still waits"), std::string::npos) << ran.err;
}

TEST_F(Send, AJobWhoseFramesAreNotThoseThatCameIsRefused) {
  rememberJob();
  machine_.keep(machine_.printing("key"), 1, frameOf(50));
  const Ran ran = machine_.run({"send", "45", out()});
  EXPECT_EQ(ran.status, 1);
  EXPECT_FALSE(fs::exists(out()));
  EXPECT_NE(ran.err.find("it is not label 1 of which the journal tells; --all"), std::string::npos)
      << ran.err;
}

TEST_F(Send, LeftOverFramesOfAJobGoInTheOrderOfTheirTimes) {
  machine_.leave(frameName(1, 7, 0), frameOf(30), 1);
  machine_.leave(frameName(1, 7, 1), frameOf(40), 2);
  EXPECT_EQ(machine_.run({"send", "7", out()}).status, 0);
  EXPECT_EQ(bytesOf(out()), labelOf(frameOf(40)) + labelOf(frameOf(30)));
}

TEST_F(Send, AJobUnderWayIsRefused) {
  rememberJob();
  Lock lock;
  ASSERT_TRUE(lock.open(machine_.places().state + "/jobs/key/lock") && lock.take());
  const Ran ran = machine_.run({"send", "45", out()});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "kestra-delivery: Job 45 is under way; cancel it first\n");
  EXPECT_FALSE(fs::exists(out()));
}

TEST_F(Send, APrinterThatIsAwayIsGivenUpWhenTheTimeIsUp) {
  const std::string a = frame("a.dat", frameOf(10));
  const Ran ran = machine_.run({"send", a, "unix:" + machine_.root() + "/nobody", "--wait", "0"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.err.find("The printer is away for too long; given up.\n"
                         "kestra-delivery: 0 labels of 1 sent\n"),
            std::string::npos)
      << ran.err;
}

TEST_F(Send, ADeviceOnWhichAQueuePrintsIsWaitedFor) {
  Listener printer;
  const std::string a = frame("a.dat", frameOf(10));
  auto lock = std::make_unique<Lock>();
  const JobStore store(machine_.places().state);
  ASSERT_TRUE(lock->open(store.deviceLock(printer.uri())) && lock->take());
  Started run = machine_.start({"send", a, printer.uri()});
  EXPECT_TRUE(run.says("Another job prints on this printer"));
  lock.reset();
  EXPECT_EQ(printer.read(), labelOf(frameOf(10)));
  EXPECT_EQ(run.wait().status, 0);
}

TEST_F(Send, AnInterruptEndsTheLabelInWhite) {
  constexpr std::size_t kRows = 65535;
  const Bytes large = frameOf(1, kRows);
  ASSERT_NE(large.back(), 0);
  Listener printer(machine_.root() + "/printer");
  Started run = machine_.start({"send", frame("a.dat", large), frame("b.dat", frameOf(2)),
                                "unix:" + machine_.root() + "/printer"});
  Bytes bytes = printer.read(100);
  run.signal(SIGINT);
  EXPECT_TRUE(run.says("Stopping: the label under way is ended in white"));
  bytes = bytes + printer.read();
  const Ran ran = run.wait();
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.err.find("0 labels of 2 sent"), std::string::npos) << ran.err;
  // Its full length, the start as it should be, white at the end, and nothing of the next one.
  const Bytes label = labelOf(large);
  ASSERT_EQ(bytes.size(), label.size());
  const auto [at, same] = std::mismatch(bytes.begin(), bytes.end(), label.begin());
  EXPECT_GE(at - bytes.begin(), 100);
  EXPECT_TRUE(std::all_of(at, bytes.end(), [](std::uint8_t byte) { return byte == 0; }));
  EXPECT_EQ(bytes.back(), 0);
}

TEST_F(Send, AJobOfWhichAllLabelsCameIsNotSentOnceMore) {
  const std::string folder = machine_.printing("key");
  Journal journal;
  machine_.begin(journal, folder, 45);
  ASSERT_TRUE(noteDone(journal, frameOf(1)));
  machine_.keep(folder, 1, frameOf(1));
  const Ran ran = machine_.run({"send", "45", out()});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "kestra-delivery: All labels of job 45 came; --all sends them once more\n");
  EXPECT_FALSE(fs::exists(out()));
}

// A queue that prints next must not take the printer for one that has part of a page.
TEST_F(Send, WholeLabelsLeaveNoMarkOfATornOneForTheQueue) {
  Listener printer;
  const JobStore store(machine_.places().state);
  Lock lock;
  ASSERT_EQ(lock.open(store.deviceLock(printer.uri())).problem(), "");
  lock.mark(true);
  Started run = machine_.start({"send", frame("a.dat", frameOf(10)), printer.uri()});
  EXPECT_EQ(printer.read(), labelOf(frameOf(10)));
  EXPECT_EQ(run.wait().status, 0);
  EXPECT_FALSE(lock.isMarked());
}

// A printer that reads nothing: the first interrupt waits for it, the second does not.
TEST_F(Send, ASecondInterruptEndsAtOnce) {
  Listener printer(machine_.root() + "/printer");
  Started run = machine_.start(
      {"send", frame("a.dat", frameOf(1, 65535)), "unix:" + machine_.root() + "/printer"});
  EXPECT_EQ(printer.read(1).size(), 1U);
  run.signal(SIGINT);
  EXPECT_TRUE(run.says("Ctrl-C again stops at once"));
  run.signal(SIGINT);
  const Ran ran = run.wait();
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err.find(" sent"), std::string::npos) << ran.err;
}

#ifdef KESTRA_PAPER
// The judge of all bytes is the printer without paper, not this project's sender.
TEST_F(Send, ALabelThatWasCutOffByAResetComesAgainAndTheOthersOnce) {
  // Larger than what a printer may have taken and not read: no other label is in doubt.
  constexpr std::size_t kRows = 60000;
  std::vector<std::string> frames;
  for (std::uint8_t i = 1; i <= 4; ++i) {
    frames.push_back(frame(std::to_string(i) + ".dat", frameOf(i, kRows)));
  }
  std::vector<std::string> words = frames;
  words.insert(words.begin(), "--digest");
  const Ran digests = Started(KESTRA_PAPER, words).wait();
  ASSERT_EQ(digests.status, 0) << digests.err;
  const std::string list = machine_.root() + "/wanted", ready = machine_.root() + "/ready";
  publish(list, Bytes(digests.out.begin(), digests.out.end()));

  Started paper(KESTRA_PAPER, {"tcp:0", "--ready", ready, "--expect", list, "--allow-torn",
                               "--fault", "label 2 50% reset"});
  ASSERT_TRUE(awaitFile(ready));
  const Bytes port = bytesOf(ready);
  std::string target = "socket://127.0.0.1:" + std::string(port.begin(), port.end());
  target.erase(target.find_last_not_of("\n") + 1);
  words = frames;
  words.insert(words.begin(), "send");
  words.push_back(target);
  const Ran ran = machine_.run(words);
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_NE(ran.err.find("Warning: The connection to the printer broke"), std::string::npos)
      << ran.err;
  EXPECT_NE(ran.err.find("4 labels sent to " + target), std::string::npos) << ran.err;
  paper.signal(SIGTERM);
  const Ran verdict = paper.wait();
  EXPECT_EQ(verdict.status, 0) << verdict.out << verdict.err;
  EXPECT_NE(verdict.out.find("\"torn\":1"), std::string::npos) << verdict.out;
}
#endif

TEST_F(Send, PlacesThatLabelsMayNotGoToAreWrongUsage) {
  const std::string a = frame("a.dat", frameOf(10));
  for (const std::string& target :
       {std::string("kestra:usb://Shop/Label"), std::string("socket://"), std::string("unix:"),
        std::string("kestra:"), machine_.places().state + "/x",
        machine_.places().images + "/x.prn"}) {
    const Ran ran = machine_.run({"send", a, target});
    EXPECT_EQ(ran.status, 2) << target;
    EXPECT_NE(ran.err, "");
    EXPECT_FALSE(fs::exists(target));
  }
}

TEST_F(Send, AFullDeviceIsAFailure) {
  const Ran ran = machine_.run({"send", frame("a.dat", frameOf(10)), "/dev/full"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.err.find("Cannot write to /dev/full: No space left"), std::string::npos) << ran.err;
}

}  // namespace
}  // namespace kestra::delivery
