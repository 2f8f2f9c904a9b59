// Starting the print system's programs, with our own rights and through the process that kept its
// own.
#include "delivery/sinks/starter.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include "delivery/sinks/count_lines.h"
#include "delivery/sinks/root_starter.h"
#include "tests/delivery/sinks/small_printer.h"
#include "tests/delivery/sinks/stand_in.h"

namespace kestra::delivery {
namespace {

using test::openDescriptors;
using test::ServerBin;
using test::StopWatch;

// Ends that lead nowhere.
class Nowhere {
 public:
  Nowhere() : null_(open("/dev/zero", O_RDWR | O_CLOEXEC)) {}
  ~Nowhere() { close(null_); }
  Nowhere(const Nowhere&) = delete;
  Nowhere& operator=(const Nowhere&) = delete;
  [[nodiscard]] InnerEnds ends() const { return {null_, null_, null_, null_}; }

 private:
  int null_;
};

int awaitEnd(Starter& starter) {
  StopWatch time;
  while (time.seconds() < 20) {
    if (const auto status = starter.end()) return *status;
    pollfd one = {starter.descriptor(), POLLIN, 0};
    poll(&one, 1, 100);
  }
  ADD_FAILURE() << "it does not end";
  return -1;
}

bool hasChildren() { return waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD; }

// Waits for a file that the program makes when it runs.
void awaitFile(const std::string& path) {
  StopWatch time;
  while (access(path.c_str(), F_OK) != 0 && time.seconds() < 20) poll(nullptr, 0, 1);
}

TEST(DirectStarter, TheProgramFindsWhatThePrintSystemWouldGiveIt) {
  const ServerBin place;
  place.write("usb",
              "printf '%s\\n' \"$0\" \"$@\" >$D/words\n"
              "env >$D/environment\n"
              "grep -E '^(SigIgn|SigBlk)' /proc/self/status >$D/signals\n"
              "ps -o pid=,pgid= -p $$ >$D/group 2>/dev/null || cut -d' ' -f1,5 /proc/$$/stat "
              ">$D/group\n"
              "cat\nexit 5");
  std::array<int, 2> input = {};
  ASSERT_EQ(pipe2(input.data(), O_CLOEXEC), 0);
  std::signal(SIGPIPE, SIG_IGN);
  const Nowhere nowhere;
  InnerEnds ends = nowhere.ends();
  ends.input = input[0];
  DirectStarter starter(place.program("usb://M/K?serial=1"));
  ASSERT_EQ(starter.start(ends), 0);
  close(input[0]);
  close(input[1]);
  const int status = awaitEnd(starter);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 5);
  EXPECT_FALSE(starter.end());
  // A script's own name is the path of its file; the words behind it are the job's.
  EXPECT_EQ(place.text("words"), place.file("backend/usb") + "\n17\nanna\na title\n1\na=1 b\n");
  EXPECT_NE(("\n" + place.text("environment")).find("\nDEVICE_URI=usb://M/K?serial=1\n"),
            std::string::npos);
  EXPECT_EQ(place.text("signals"), "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
  std::istringstream group(place.text("group"));
  long process = 0;
  long leader = -1;
  group >> process >> leader;
  EXPECT_EQ(process, leader);
}

TEST(DirectStarter, TheProgramHasItsFourChannelsAndNoOtherDescriptor) {
  const ServerBin place;
  place.write("usb", "exit 0");
  InnerProgram program = place.program("usb://M/K");
  // Lists its own descriptors and where they lead, into a file.
  program.path = "/usr/bin/find";
  program.words = {"find",     "/proc/self/fd",    "-mindepth", "1",
                   "-fprintf", place.file("list"), "%f %l\n"};
  const int leak = open("/dev/full", O_RDONLY);  // inheritable on purpose
  const Nowhere nowhere;
  DirectStarter starter(program);
  ASSERT_EQ(starter.start(nowhere.ends()), 0);
  EXPECT_EQ(awaitEnd(starter), 0);
  close(leak);
  std::istringstream list(place.text("list"));
  std::map<int, std::string> found;
  int number = 0;
  std::string target;
  const std::string here = std::filesystem::current_path();
  while (list >> number >> target) {
    // The listing itself opens its file, the folder it reads and the one it began in.
    if (target != place.file("list") && target.rfind("/proc/", 0) != 0 && target != here) {
      found[number] = target;
    }
  }
  const std::map<int, std::string> wanted = {
      {0, "/dev/zero"}, {1, "/dev/null"}, {2, "/dev/zero"}, {3, "/dev/zero"}, {4, "/dev/zero"}};
  EXPECT_EQ(found, wanted) << place.text("list");
}

TEST(DirectStarter, AFileThatCannotRunIsToldAtOnce) {
  const ServerBin place;
  place.write("usb", "exit 0");
  InnerProgram program = place.program("usb://M/K");
  program.path = place.file("backend/none");
  const Nowhere nowhere;
  DirectStarter missing(program);
  EXPECT_EQ(missing.start(nowhere.ends()), ENOENT);
  std::ofstream(place.file("backend/none")) << "no program";
  chmod(place.file("backend/none").c_str(), 0755);
  EXPECT_EQ(missing.start(nowhere.ends()), ENOEXEC);
  EXPECT_FALSE(hasChildren());
}

TEST(DirectStarter, HundredsOfStartsLeaveNothingBehind) {
  const ServerBin place;
  place.write("usb", "exit 0");
  const Nowhere nowhere;
  auto starter = std::make_unique<DirectStarter>(place.program("usb://M/K"));
  const std::size_t before = openDescriptors();
  for (int i = 0; i < 300; ++i) {
    ASSERT_EQ(starter->start(nowhere.ends()), 0);
    ASSERT_EQ(awaitEnd(*starter), 0);
  }
  EXPECT_LE(openDescriptors(), before + 1);  // the last one's end
  EXPECT_FALSE(hasChildren());
  starter.reset();
  EXPECT_EQ(openDescriptors(), before);
}

TEST(DirectStarter, ASignalReachesWhateverTheProgramHasStarted) {
  const ServerBin place;
  place.write("usb",
              "trap '' TERM\nsleep 1000 & echo $! >$D/child.new\nmv $D/child.new $D/child\nwait");
  const Nowhere nowhere;
  DirectStarter starter(place.program("usb://M/K"));
  ASSERT_EQ(starter.start(nowhere.ends()), 0);
  EXPECT_EQ(starter.start(nowhere.ends()), EBUSY);
  awaitFile(place.file("child"));
  const pid_t child = std::stoi(place.text("child"));
  starter.signal(SIGTERM);
  starter.signal(SIGKILL);
  const int status = awaitEnd(starter);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGKILL);
  // Gone, or a dead entry until init takes it.
  StopWatch time;
  std::string state;
  while (kill(child, 0) == 0 && state != "Z" && time.seconds() < 10) {
    std::ifstream stat("/proc/" + std::to_string(child) + "/stat");
    std::string word;
    stat >> word >> word >> state;
  }
  EXPECT_LT(time.seconds(), 10.0);
}

TEST(RootStarter, StartsSignalsAndTellsTheEndThroughAnotherProcess) {
  const ServerBin place;
  place.write("usb",
              "read code\ncase $code in loop) echo >$D/runs; while :; do sleep 1; done;; esac\n"
              "echo \"code $code\" >&2\nexit $code");
  std::unique_ptr<Starter> starter = forkRootStarter(place.program("usb://M/K"));
  ASSERT_NE(starter, nullptr);
  const Nowhere nowhere;
  const std::size_t before = openDescriptors();
  const auto run = [&](const std::string& words, int signal) {
    std::array<int, 2> input = {};
    std::array<int, 2> log = {};
    EXPECT_EQ(pipe2(input.data(), O_CLOEXEC), 0);
    EXPECT_EQ(pipe2(log.data(), O_CLOEXEC), 0);
    InnerEnds ends = nowhere.ends();
    ends.input = input[0];
    ends.log = log[1];
    EXPECT_EQ(starter->start(ends), 0);
    close(input[0]);
    close(log[1]);
    EXPECT_EQ(write(input[1], words.data(), words.size()), static_cast<ssize_t>(words.size()));
    close(input[1]);
    if (signal != 0) {
      awaitFile(place.file("runs"));
      starter->signal(signal);
    }
    const int status = awaitEnd(*starter);
    std::array<char, 64> text = {};
    const ssize_t size = read(log[0], text.data(), text.size());
    close(log[0]);
    return std::make_pair(status, std::string(text.data(), static_cast<std::size_t>(size)));
  };
  for (const int code : {0, 3, 7}) {
    const auto [status, log] = run(std::to_string(code) + "\n", 0);
    EXPECT_EQ(WEXITSTATUS(status), code);
    EXPECT_EQ(log, "code " + std::to_string(code) + "\n");
  }
  EXPECT_EQ(WTERMSIG(run("loop\n", SIGTERM).first), SIGTERM);
  EXPECT_EQ(WTERMSIG(run("loop\n", SIGKILL).first), SIGKILL);
  EXPECT_EQ(openDescriptors(), before);
  starter.reset();
  EXPECT_GT(waitpid(-1, nullptr, 0), 0);  // its process
}

TEST(DirectStarter, TheProgramEndsWithASenderThatIsKilled) {
  const ServerBin place;
  place.write("usb", "echo $$ >$D/pid.new\nmv $D/pid.new $D/pid\nexec sleep 1000");
  const pid_t sender = fork();
  if (sender == 0) {
    const Nowhere nowhere;
    DirectStarter starter(place.program("usb://M/K"));
    if (starter.start(nowhere.ends()) != 0) _exit(1);
    for (;;) pause();
  }
  awaitFile(place.file("pid"));
  const pid_t program = std::stoi(place.text("pid"));
  ASSERT_EQ(kill(sender, SIGKILL), 0);
  ASSERT_EQ(waitpid(sender, nullptr, 0), sender);
  StopWatch time;
  std::string state;
  while (kill(program, 0) == 0 && state != "Z" && time.seconds() < 10) {
    std::ifstream stat("/proc/" + std::to_string(program) + "/stat");
    std::string word;
    stat >> word >> word >> state;
  }
  EXPECT_LT(time.seconds(), 10.0);
  if (time.seconds() >= 10) kill(program, SIGKILL);
}

// The print system's signal at a cancel goes to all of the job; the page is still to be ended.
TEST(RootStarter, GoesOnWhenTheJobIsCancelled) {
  const ServerBin place;
  place.write("usb", "exit 5");
  std::unique_ptr<Starter> starter = forkRootStarter(place.program("usb://M/K"));
  ASSERT_NE(starter, nullptr);
  std::ifstream children("/proc/self/task/" + std::to_string(getpid()) + "/children");
  pid_t server = -1;
  ASSERT_TRUE(children >> server);
  const Nowhere nowhere;
  // The first start is answered when the server has come as far as to serve.
  ASSERT_EQ(starter->start(nowhere.ends()), 0);
  EXPECT_EQ(WEXITSTATUS(awaitEnd(*starter)), 5);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    ASSERT_EQ(kill(server, signal), 0);
    EXPECT_EQ(starter->start(nowhere.ends()), 0) << signal;
    EXPECT_EQ(WEXITSTATUS(awaitEnd(*starter)), 5);
  }
  starter.reset();
  EXPECT_EQ(waitpid(server, nullptr, 0), server);
}

TEST(RootStarter, HostileRequestsStartNothing) {
  const ServerBin place;
  place.write("usb", "echo run >>$D/runs\nexit 0");
  const InnerProgram program = place.program("usb://M/K");
  std::array<int, 2> ends = {};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
  const pid_t server = fork();
  if (server == 0) {
    close(ends[0]);
    serveStarts(ends[1], program);
    const int open = static_cast<int>(openDescriptors()) & 0x7F;
    countLines();
    _exit(open);
  }
  close(ends[1]);
  const std::size_t inServer = openDescriptors();  // it closed one end, and we the other
  // Letters that mean nothing, signals for nobody, starts without and with too few descriptors.
  const std::string path = "/bin/sh -c 'echo evil >" + place.file("runs") + "'";
  for (const std::string& text : {std::string("x"), std::string("t"), std::string("k"), path,
                                  std::string(100000, 's').substr(0, 1), std::string("s") + path}) {
    ASSERT_EQ(send(ends[0], text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
  }
  for (int i = 0; i < 50; ++i) {
    const int one = open("/dev/null", O_RDONLY | O_CLOEXEC);
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control = {};
    char letter = 's';
    iovec part = {&letter, 1};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof one);
    std::copy_n(reinterpret_cast<const char*>(&one), sizeof one,
                reinterpret_cast<char*>(CMSG_DATA(header)));
    ASSERT_EQ(sendmsg(ends[0], &message, 0), 1);
    close(one);
  }
  close(ends[0]);
  int status = 0;
  ASSERT_EQ(waitpid(server, &status, 0), server);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(static_cast<std::size_t>(WEXITSTATUS(status)), inServer);
  EXPECT_EQ(place.text("runs"), "");
}

TEST(RootStarter, EndsTheProgramWhenTheSenderIsGone) {
  const ServerBin place;
  place.write("usb", "trap '' TERM\necho $$ >$D/pid.new\nmv $D/pid.new $D/pid\nexec sleep 1000");
  std::unique_ptr<Starter> starter = forkRootStarter(place.program("usb://M/K"));
  const Nowhere nowhere;
  ASSERT_EQ(starter->start(nowhere.ends()), 0);
  awaitFile(place.file("pid"));
  const pid_t program = std::stoi(place.text("pid"));
  ASSERT_EQ(kill(program, 0), 0);
  starter.reset();
  StopWatch time;
  while (kill(program, 0) == 0 && time.seconds() < 30) poll(nullptr, 0, 5);
  EXPECT_LT(time.seconds(), 20.0);
  // The server itself ends too.
  EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

TEST(RootStarter, RightsFollowTheModeOfTheFile) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  const passwd* account = getpwnam("nobody");
  ASSERT_NE(account, nullptr);
  const UserAndGroup nobody = {account->pw_uid, account->pw_gid};
  // Groups that the program must not keep.
  std::array<gid_t, 64> before = {};
  const int count = getgroups(before.size(), before.data());
  const std::array<gid_t, 2> ours = {4, 5};
  ASSERT_EQ(setgroups(ours.size(), ours.data()), 0);
  const ServerBin place;
  ASSERT_EQ(chmod(place.path().c_str(), 0777), 0);  // the program writes here
  const struct {
    mode_t mode;
    uid_t user;
  } table[] = {{0755, nobody.user}, {0744, 0}, {0700, 0}};
  for (const auto& row : table) {
    place.write("usb", "id -u >$D/user\nid -G >$D/groups\nchmod 666 $D/user $D/groups", row.mode);
    DirectStarter starter(place.program("usb://M/K", nobody));
    const Nowhere nowhere;
    ASSERT_EQ(starter.start(nowhere.ends()), 0);
    EXPECT_EQ(awaitEnd(starter), 0);
    EXPECT_EQ(place.text("user"), std::to_string(row.user) + "\n") << std::oct << row.mode;
    EXPECT_EQ(place.text("groups"), std::to_string(nobody.group) + "\n");
  }
  ASSERT_EQ(setgroups(static_cast<std::size_t>(count), before.data()), 0);
}

TEST(RootStarter, WithoutAProgramThereIsNoEndAndNothingToSignal) {
  const ServerBin place;
  place.write("usb", "exit 5");
  std::unique_ptr<Starter> starter = forkRootStarter(place.program("usb://M/K"));
  ASSERT_NE(starter, nullptr);
  EXPECT_EQ(starter->end(), std::nullopt);
  starter->signal(SIGKILL);
  const Nowhere nowhere;
  ASSERT_EQ(starter->start(nowhere.ends()), 0);
  EXPECT_EQ(WEXITSTATUS(awaitEnd(*starter)), 5);
  EXPECT_EQ(starter->end(), std::nullopt);
  starter.reset();
  EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

// Nothing can be started or waited for any more: the sender must not take that for a good end.
TEST(RootStarter, AServerThatIsKilledEndsItsProgramBadly) {
  const ServerBin place;
  place.write("usb", "exec sleep 1000");
  std::unique_ptr<Starter> starter = forkRootStarter(place.program("usb://M/K"));
  ASSERT_NE(starter, nullptr);
  std::ifstream children("/proc/self/task/" + std::to_string(getpid()) + "/children");
  pid_t server = -1;
  ASSERT_TRUE(children >> server);
  const Nowhere nowhere;
  ASSERT_EQ(starter->start(nowhere.ends()), 0);
  EXPECT_EQ(starter->end(), std::nullopt);
  ASSERT_EQ(kill(server, SIGKILL), 0);
  ASSERT_EQ(waitpid(server, nullptr, 0), server);
  const int status = awaitEnd(*starter);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGKILL);
  EXPECT_EQ(starter->start(nowhere.ends()), EPIPE);
}

TEST(DirectStarter, AProcessWithoutRoomForAFileSaysSoAndGoesOnLater) {
  const ServerBin place;
  place.write("usb", "exit 5");
  DirectStarter starter(place.program("usb://M/K"));
  const Nowhere nowhere;
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit none = before;
  none.rlim_cur = static_cast<rlim_t>(nowhere.ends().input);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const int error = starter.start(nowhere.ends());
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(error, EMFILE);
  ASSERT_EQ(starter.start(nowhere.ends()), 0);
  EXPECT_EQ(WEXITSTATUS(awaitEnd(starter)), 5);
}

}  // namespace
}  // namespace kestra::delivery
