// Starts the program with its words in files, so that nothing it says can block it.
#include "tests/delivery/tool/machine.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <utility>

#include "delivery/core/digest.h"

namespace kestra::delivery::testing_support {
namespace {

namespace fs = std::filesystem;
constexpr auto kLongest = std::chrono::seconds(60);
constexpr auto kStep = std::chrono::milliseconds(2);

std::string textOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace

Started::Started(const std::string& program, std::vector<std::string> words,
                 std::optional<uid_t> user) {
  words.insert(words.begin(), program);
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const std::string out = folder_ / "out", err = folder_ / "err";
  const int executable = open(program.c_str(), O_RDONLY | O_CLOEXEC);
  process_ = fork();
  if (process_ != 0) {
    close(executable);
    return;
  }
  dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
  dup2(open(out.c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
  dup2(open(err.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
  const bool isUser = !user || (setgid(*user) == 0 && setuid(*user) == 0);
  // By descriptor: the program's folder may be closed to that user.
  if (isUser) fexecve(executable, arguments.data(), environ);
  _exit(127);
}

Started::~Started() {
  if (process_ <= 0) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

void Started::signal(int number) const { kill(process_, number); }

bool Started::says(const std::string& text) const {
  const auto end = std::chrono::steady_clock::now() + kLongest;
  while (std::chrono::steady_clock::now() < end) {
    if (textOf(folder_ / "err").find(text) != std::string::npos) return true;
    std::this_thread::sleep_for(kStep);
  }
  return false;
}

Ran Started::wait() {
  Ran ran;
  const auto end = std::chrono::steady_clock::now() + kLongest;
  while (process_ > 0 && std::chrono::steady_clock::now() < end) {
    int status = 0;
    if (waitpid(process_, &status, WNOHANG) == process_) {
      process_ = -1;
      if (WIFEXITED(status)) ran.status = WEXITSTATUS(status);
    } else {
      std::this_thread::sleep_for(kStep);
    }
  }
  ran.out = textOf(folder_ / "out");
  ran.err = textOf(folder_ / "err");
  return ran;
}

Machine::Machine()
    : places_{folder_ / "var/spool/cups/tmp/kcv6data", folder_ / "var/spool/cups/tmp",
              folder_ / "var/lib/rastertokestra", folder_ / "etc/rastertokestra.conf"} {
  fs::create_directories(places_.frames);
  fs::create_directories(places_.state + "/jobs");
  fs::create_directories(places_.state + "/devices");
}

Started Machine::start(std::vector<std::string> words, std::optional<uid_t> user) const {
  words.insert(words.begin(), {"--root", root()});
  return Started(KESTRA_DELIVERY, std::move(words), user);
}

Ran Machine::run(const std::vector<std::string>& words, std::optional<uid_t> user) const {
  return start(words, user).wait();
}

std::string Machine::printing(const std::string& key, int generation) const {
  const std::string folder = places_.state + "/jobs/" + key + "/" + std::to_string(generation);
  fs::create_directories(folder);
  return folder;
}

void Machine::begin(Journal& journal, const std::string& folder, int number,
                    const std::string& title) const {
  ASSERT_EQ(journal.open(folder + "/journal").problem(), "");
  ASSERT_TRUE(journal.start({0, number, "shop", "kestra:socket://127.0.0.1:9", title}));
}

std::string Machine::keep(const std::string& folder, int number, const Bytes& frame) const {
  char name[64];
  std::snprintf(name, sizeof name, "/frame-4711-%06d.dat", number);
  publish(folder + name, frame);
  return folder + name;
}

std::string Machine::leave(const std::string& name, const Bytes& frame, long age) const {
  const std::string path = places_.frames + "/" + name;
  publish(path, frame);
  const timespec time = {std::time(nullptr) - age, 0};
  const timespec times[2] = {time, time};
  EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  return path;
}

bool awaitFile(const std::string& path) {
  const auto end = std::chrono::steady_clock::now() + kLongest;
  while (!fs::exists(path) && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(kStep);
  }
  return fs::exists(path);
}

std::string digestOf(Bytes frame) { return frameDigest(frame.data(), frame.size()); }

bool noteDone(Journal& journal, const Bytes& frame) {
  const std::string digest = digestOf(frame);
  return journal.closing(digest, kUsualCommand) && journal.done(digest);
}

}  // namespace kestra::delivery::testing_support
