// The private tree is what the variable KESTRA_DELIVERY_ROOT puts before every path of delivery.
#include "tests/delivery/backend/program_case.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "tests/support/files.h"

namespace kestra::delivery {

const std::string ProgramCase::kCommand("\x1B\x73\x01\x00\x00\x02\x01", 7);

namespace {

// A frame as old as the pipe could be another start's.
void makePipe(std::array<int, 2>& ends) {
  ASSERT_EQ(pipe(ends.data()), 0);
  kestra::testing_support::awaitTick();
}

}  // namespace

void ProgramCase::SetUp() {
  std::filesystem::create_directories(frames());
  std::filesystem::create_directories(tree() + "/var/lib");
  std::filesystem::create_directories(tree() + "/etc");
  if (geteuid() == 0) {
    ASSERT_EQ(chown(frames().c_str(), owner_, owner_), 0);
  }
  folder_.write("cups-files.conf",
                "User " + std::to_string(kUser) + "\nGroup " + std::to_string(kUser) + "\n");
  std::filesystem::create_directory(folder_.path() + "/backend");
  ASSERT_EQ(chmod((folder_.path() + "/backend").c_str(), 0755), 0);
  makePipe(filter_);
}

void ProgramCase::TearDown() {
  close(filter_[0]);
  endInput();
}

void ProgramCase::renewPipe() {
  endInput();
  close(filter_[0]);
  makePipe(filter_);
}

int ProgramCase::start(const std::string& program, const std::string& uri,
                       const std::vector<std::string>& more) const {
  const std::pair<const char*, std::string> environment[] = {{"KESTRA_DELIVERY_ROOT", tree()},
                                                             {"CUPS_SERVERROOT", folder_.path()},
                                                             {"CUPS_SERVERBIN", folder_.path()},
                                                             {"DEVICE_URI", uri},
                                                             {"PRINTER", "label"}};
  for (const auto& [name, value] : environment) setenv(name, value.c_str(), 1);
  dup2(filter_[0], STDIN_FILENO);
  close(filter_[0]);
  close(filter_[1]);
  std::vector<std::string> words = {
      uri,    "12",
      "anna", "title",
      "2",    "job-uuid=urn:uuid:0c6bdb70-8d3d-3f0c-4a0a-94e1d3b7b3a1 time-at-creation=1795226353"};
  words.back() += options_;
  words.insert(words.end(), more.begin(), more.end());
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  execv(program.c_str(), argv.data());
  return 127;
}

void ProgramCase::command() const {
  ASSERT_EQ(write(filter_[1], kCommand.data(), kCommand.size()),
            static_cast<ssize_t>(kCommand.size()));
}

// 12 x 2 dots, two records of 5 bytes, as docs/protocol.md shows them.
std::string ProgramCase::frame(int page) const {
  std::string bytes("SIZ\x01\x0C\x00\x02\x00\x0F\x00\x00\x00", 12);
  bytes += static_cast<char>(page);
  bytes += std::string("\x00\x1D\x76\x30\x00\x05\x00\x02\x00", 9);
  bytes += std::string("\x04\x00\x00\xF0\x00\x01\x00\x00\x00\x10", 10);
  store("page_000" + std::to_string(page) + "_jobid_000012_0000.dat", bytes);
  return bytes;
}

void ProgramCase::counter() const { store("label.pgc", std::string("\x03\x00", 2)); }

// Whole under its name, as the filter does it.
void ProgramCase::store(const std::string& name, const std::string& bytes) const {
  const std::string part = folder_.write("part", bytes, 0600);
  if (geteuid() == 0) {
    EXPECT_EQ(chown(part.c_str(), owner_, owner_), 0);
  }
  EXPECT_EQ(rename(part.c_str(), (frames() + name).c_str()), 0);
}

void ProgramCase::endInput() {
  if (filter_[1] >= 0) close(filter_[1]);
  filter_[1] = -1;
}

Listener::Listener() {
  listening_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const auto* any = reinterpret_cast<const sockaddr*>(&address);
  if (bind(listening_, any, sizeof address) != 0 || listen(listening_, 1) != 0) {
    ADD_FAILURE() << "no port can be had";
  }
}

Listener::~Listener() { close(listening_); }

std::string Listener::uri() const {
  sockaddr_in address = {};
  socklen_t size = sizeof address;
  getsockname(listening_, reinterpret_cast<sockaddr*>(&address), &size);
  return "socket://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

std::string Listener::received() const {
  constexpr int kLimit = 30000;  // ms
  std::string text;
  pollfd waiting = {listening_, POLLIN, 0};
  if (poll(&waiting, 1, kLimit) <= 0) {
    ADD_FAILURE() << "nobody connects";
    return text;
  }
  const int peer = accept(listening_, nullptr, nullptr);
  pollfd one = {peer, POLLIN, 0};
  std::array<char, 4096> buffer = {};
  while (poll(&one, 1, kLimit) > 0) {
    const ssize_t size = recv(peer, buffer.data(), buffer.size(), 0);
    if (size <= 0) break;
    text.append(buffer.data(), static_cast<std::size_t>(size));
  }
  close(peer);
  return text;
}

}  // namespace kestra::delivery
