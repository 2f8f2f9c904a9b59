// Starts the program with its streams in files and connects to it.
//
// Files instead of pipes: the log can be read again and again while the program runs.
#include "tests/paper/paper_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

namespace kestra::paper {
namespace {

constexpr auto kPatience = std::chrono::seconds(30);
constexpr auto kLook = std::chrono::milliseconds(1);

// Only in the child, between fork and exec.
void redirect(const char* name, int flags, int target) {
  const int descriptor = open(name, flags, 0600);
  if (descriptor < 0 || dup2(descriptor, target) < 0) _exit(126);
  close(descriptor);
}

}  // namespace

bool awaitThat(const std::function<bool()>& condition) {
  const auto until = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > until) return false;
    std::this_thread::sleep_for(kLook);
  }
  return true;
}

void Folder::write(const std::string& name, const Bytes& bytes) const {
  std::ofstream file(path(name), std::ios::binary);
  file << bytes;
  EXPECT_TRUE(file.flush().good());
}

Bytes Folder::read(const std::string& name) const { return testing_support::readFile(path(name)); }

bool Folder::exists(const std::string& name) const { return std::filesystem::exists(path(name)); }

Paper::Paper(const Folder& folder, std::vector<std::string> words, const Bytes& input)
    : folder_(folder) {
  folder.write("stdin", input);
  folder.write("stdout", {});  // an earlier run's lines are not this one's
  std::string program = KESTRA_PAPER;
  std::vector<char*> argv = {program.data()};
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  child_ = fork();
  if (child_ != 0) return;
  // A test in the background ignores some of them, and hands that on.
  for (const int number : {SIGINT, SIGTERM, SIGUSR1, SIGPIPE}) std::signal(number, SIG_DFL);
  if (chdir(folder.path("").c_str()) != 0) _exit(126);
  redirect("stdin", O_RDONLY, 0);
  redirect("stdout", O_WRONLY | O_CREAT | O_TRUNC, 1);
  redirect("stderr", O_WRONLY | O_CREAT | O_TRUNC, 2);
  execv(program.c_str(), argv.data());
  _exit(127);
}

Paper::~Paper() {
  if (child_ <= 0) return;
  kill(child_, SIGKILL);
  waitpid(child_, nullptr, 0);
}

int Paper::finish() {
  int status = 0;
  const bool ended =
      child_ > 0 && awaitThat([&] { return waitpid(child_, &status, WNOHANG) == child_; });
  EXPECT_TRUE(ended) << "kestra-paper did not end";
  if (!ended) return -1;
  child_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void Paper::signal(int number) const { kill(child_, number); }

int Paper::stop() {
  signal(SIGTERM);
  return finish();
}

std::vector<JsonValue> Paper::events(const std::string& name) const {
  std::istringstream lines(folder_.exists("log") ? folder_.read("log") : output());
  std::vector<JsonValue> found;
  std::string line;
  while (std::getline(lines, line)) {
    // A file grows page by page of memory, also by the bytes of one call.
    if (lines.eof() && child_ > 0) break;
    const std::optional<JsonValue> value = parseJson(line);
    EXPECT_TRUE(value) << line;
    if (value && (*value)["event"].string == name) found.push_back(*value);
  }
  return found;
}

std::string Paper::closings() const {
  std::string how;
  for (const JsonValue& event : events("connection")) {
    if (event["what"].string == "closed") how += (how.empty() ? "" : ", ") + event["how"].string;
  }
  return how;
}

bool Paper::await(const std::string& name, std::size_t count) const {
  return awaitThat([&] { return events(name).size() >= count; });
}

std::uint16_t Paper::port() const {
  if (!await("ready", 1)) return 0;
  return static_cast<std::uint16_t>(events("ready")[0]["port"].number);
}

Result runOn(const Folder& folder, const Bytes& stream, std::vector<std::string> words) {
  words.insert(words.begin(), "-");
  Paper paper(folder, words, stream);
  Result result;
  result.status = paper.finish();
  result.output = paper.output();
  result.errors = paper.errors();
  if (result.output.empty() || result.output[0] != '{') return result;
  result.labels = paper.events("label");
  result.faults = paper.events("fault");
  const std::vector<JsonValue> verdicts = paper.events("verdict");
  if (!verdicts.empty()) result.verdict = verdicts[0];
  const std::vector<JsonValue> counters = paper.events("counters");
  if (!counters.empty()) result.counters = counters[0];
  return result;
}

Sender::Sender(std::uint16_t port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  connected_ = connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

Sender::Sender(const std::string& path) : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  connected_ = connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

Sender::Sender(int socket, const sockaddr* address, socklen_t size)
    : socket_(socket), connected_(connect(socket, address, size) == 0) {}

Sender Sender::toSixthVersion(std::uint16_t port) {
  sockaddr_in6 address = {};
  address.sin6_family = AF_INET6;
  address.sin6_port = htons(port);
  address.sin6_addr = in6addr_loopback;
  return {socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0),
          reinterpret_cast<const sockaddr*>(&address), sizeof address};
}

Sender::~Sender() { close(socket_); }

bool Sender::send(const Bytes& bytes) const {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t sent = ::send(socket_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
    if (sent <= 0) return false;
    done += static_cast<std::size_t>(sent);
  }
  return true;
}

std::size_t Sender::sendWhatFits(const Bytes& bytes) const {
  const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  return sent > 0 ? static_cast<std::size_t>(sent) : 0;
}

void Sender::endSending() const { shutdown(socket_, SHUT_WR); }

void Sender::resetAtOnce() const {
  const linger atOnce = {1, 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

std::string Sender::await(Bytes* reply) const {
  std::array<char, 256> buffer = {};
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(kPatience);
  while (true) {
    pollfd polled = {socket_, POLLIN, 0};
    if (poll(&polled, 1, static_cast<int>(milliseconds.count())) <= 0) return "nothing";
    const ssize_t got = recv(socket_, buffer.data(), buffer.size(), 0);
    if (got == 0) return "end";
    if (got < 0) return errno == ECONNRESET ? "reset" : std::strerror(errno);
    if (reply != nullptr) reply->append(buffer.data(), static_cast<std::size_t>(got));
  }
}

bool Sender::hasEnded() const {
  pollfd polled = {socket_, POLLIN, 0};
  return poll(&polled, 1, 0) > 0;
}

int Sender::unacknowledged() const {
  int bytes = 0;
  return ioctl(socket_, SIOCOUTQ, &bytes) == 0 ? bytes : -1;
}

}  // namespace kestra::paper
