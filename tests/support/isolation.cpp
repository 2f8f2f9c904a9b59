// Mount namespaces for the child that runs the filter, and the probe whether they are allowed.
// Why: with them the very program that is installed can be tested with its real paths.
#include "tests/support/isolation.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace kestra::testing_support {

namespace {

std::string problem(const std::string& what) { return what + ": " + std::strerror(errno); }

bool writeText(const std::string& path, const std::string& text) {
  std::ofstream out(path);
  out << text;
  out.flush();
  return out.good();
}

bool namespaceWorks() {
  std::string name = std::filesystem::current_path() / "kestra-probe-XXXXXX";
  if (::mkdtemp(name.data()) == nullptr) return false;
  std::filesystem::create_directories(name + "/tmp");
  std::filesystem::create_directories(name + "/var/spool");
  const pid_t child = ::fork();
  if (child == 0) {
    const bool good = enterPrivateTree(name, false).empty() && ::access("/tmp", W_OK) == 0 &&
                      ::access("/var/spool/cups", F_OK) != 0;
    ::_exit(good ? 0 : 1);
  }
  int status = 1;
  ::waitpid(child, &status, 0);
  std::filesystem::remove_all(name);
  return status == 0;
}

Isolation decide() {
  const char* forced = std::getenv("KESTRA_TEST_ISOLATION");
  const std::string word = forced == nullptr ? "" : forced;
  if (word == "relative") return Isolation::kRelative;
  if (!word.empty() && word != "namespace") {
    std::fprintf(stderr, "KESTRA_TEST_ISOLATION=%s: use \"namespace\" or \"relative\"\n", forced);
    std::exit(2);
  }
  if (namespaceWorks()) return Isolation::kNamespace;
  if (word == "namespace") {
    std::fprintf(stderr, "KESTRA_TEST_ISOLATION=namespace, but this machine refuses it\n");
    std::exit(2);
  }
  return Isolation::kRelative;
}

}  // namespace

Isolation currentIsolation() {
  static const Isolation kDecided = decide();
  return kDecided;
}

std::string unshareAsOwnUser(int flags) {
  const std::string user = std::to_string(::geteuid());
  const std::string group = std::to_string(::getegid());
  const bool root = ::geteuid() == 0;
  if (::unshare(root ? flags : flags | CLONE_NEWUSER) != 0) return problem("unshare");
  if (root) return "";
  if (!writeText("/proc/self/setgroups", "deny")) return problem("setgroups");
  if (!writeText("/proc/self/uid_map", user + " " + user + " 1")) return problem("uid_map");
  if (!writeText("/proc/self/gid_map", group + " " + group + " 1")) return problem("gid_map");
  return "";
}

std::string enterPrivateTree(const std::string& root, bool tinyDisk) {
  const std::string unshared = unshareAsOwnUser(CLONE_NEWNS);
  if (!unshared.empty()) return unshared;
  if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
    return problem("private /");
  // /tmp last: the tree itself may lie below it.
  const std::string spool = root + "/var/spool";
  const std::string tmp = root + "/tmp";
  if (tinyDisk) {
    const std::string data = spool + "/cups/tmp/kcv6data";
    if (::mount("tmpfs", data.c_str(), "tmpfs", 0, "size=4096,mode=0700") != 0) {
      return problem("tiny disk");
    }
  }
  if (::mount(spool.c_str(), "/var/spool", nullptr, MS_BIND | MS_REC, nullptr) != 0) {
    return problem("bind /var/spool");
  }
  if (::mount(tmp.c_str(), "/tmp", nullptr, MS_BIND, nullptr) != 0) return problem("bind /tmp");
  if (::chdir("/") != 0) return problem("chdir /");
  return "";
}

}  // namespace kestra::testing_support
