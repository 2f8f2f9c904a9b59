// Starts cupsd in the foreground on a socket of its own and talks to it as its clients do.
// Why: nothing of the machine's configuration may decide what a test sees.
#include "tests/cups/print_server.h"

#include <cups/cups.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>
#include <thread>

#include "tests/cups/command.h"
#include "tests/cups/private_machine.h"
#include "tests/cups/server_files.h"

namespace kestra::cups_tests {

namespace fs = std::filesystem;

namespace {

constexpr char kServer[] = "/usr/sbin/cupsd";

// Asks every 20 ms, for two minutes or more: what comes at all comes sooner, also on a machine that
// does much besides.
bool eventually(const std::function<bool()>& question) {
  for (int i = 0; i < 6000; ++i) {
    if (question()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

std::string textOf(ipp_t* answer, const char* name) {
  ipp_attribute_t* found = ippFindAttribute(answer, name, IPP_TAG_ZERO);
  const char* text = found == nullptr ? nullptr : ippGetString(found, 0, nullptr);
  return text == nullptr ? "" : text;
}

int numberOf(ipp_t* answer, const char* name) {
  ipp_attribute_t* found = ippFindAttribute(answer, name, IPP_TAG_ZERO);
  return found == nullptr ? -1 : ippGetInteger(found, 0);
}

JobReport ask(int job) {
  JobReport report;
  report.id = job;
  ipp_t* request = ippNewRequest(IPP_OP_GET_JOB_ATTRIBUTES);
  const std::string uri = "ipp://localhost/jobs/" + std::to_string(job);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "job-uri", nullptr, uri.c_str());
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, "tests");
  ipp_t* answer = cupsDoRequest(CUPS_HTTP_DEFAULT, request, "/");
  if (answer == nullptr) return report;
  report.state = static_cast<JobState>(numberOf(answer, "job-state"));
  report.reason = textOf(answer, "job-state-reasons");
  report.message = textOf(answer, "job-printer-state-message");
  report.sheets = numberOf(answer, "job-media-sheets-completed");
  report.copies = numberOf(answer, "copies");
  ippDelete(answer);
  return report;
}

// Whether the server knows the paper sizes of a queue.
bool knowsSizes(const std::string& queue) {
  ipp_t* request = ippNewRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
  const std::string uri = "ipp://localhost/printers/" + queue;
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri.c_str());
  ipp_t* answer = cupsDoRequest(CUPS_HTTP_DEFAULT, request, "/");
  const bool knows = ippFindAttribute(answer, "media-supported", IPP_TAG_ZERO) != nullptr;
  ippDelete(answer);
  return knows;
}

}  // namespace

PrintServer& PrintServer::running() {
  static PrintServer server;
  return server;
}

PrintServer::PrintServer() : place_(thisMachine().root + "tmp/cups/") {
  problem_ = thisMachine().obstacle;
  if (!problem_.empty()) return;
  if (::access(kServer, X_OK) != 0) {
    problem_ = std::string(kServer) + " is missing: install the package cups-daemon";
    return;
  }
  prepare();
  configure(Temporary::kInSpool);
  start();
}

PrintServer::~PrintServer() { stop(); }

std::string PrintServer::spoolTmp() const { return thisMachine().root + "var/spool/cups/tmp/"; }

void PrintServer::prepare() {
  for (const char* name : {"", "etc", "state", "cache", "home", "elsewhere", "documents"}) {
    fs::create_directories(place_ + name);
  }
  fs::create_directory(place_ + "captured");
  fs::permissions(place_ + "captured", fs::perms::all);
  problem_ = writeServerFiles(place_);
  // What lp, lpadmin and lpoptions of this process use; lpoptions of root writes to the second.
  ::setenv("CUPS_SERVER", (place_ + "sock").c_str(), 1);
  ::setenv("CUPS_SERVERROOT", (place_ + "home").c_str(), 1);
  ::setenv("HOME", (place_ + "home").c_str(), 1);
  ::setenv("LC_ALL", "C.UTF-8", 1);
  ::unsetenv("PRINTER");
  ::unsetenv("LPDEST");
  cupsSetServer((place_ + "sock").c_str());
}

void PrintServer::configure(Temporary where) {
  const std::string spool = thisMachine().root + "var/spool/cups";
  const std::string temporary =
      where == Temporary::kInSpool ? spool + "/tmp" : place_ + "elsewhere";
  writeFile(place_ + "cups-files.conf", serverPlaces(place_, spool, temporary));
  writeFile(place_ + "cupsd.conf", serverRules(place_));
}

void PrintServer::start() {
  if (!problem_.empty()) return;
  std::fflush(nullptr);
  server_ = ::fork();
  if (server_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    (void)!::freopen((place_ + "server.txt").c_str(), "w", stdout);
    ::dup2(1, 2);
    const std::string rules = place_ + "cupsd.conf";
    const std::string places = place_ + "cups-files.conf";
    ::execl(kServer, "cupsd", "-f", "-c", rules.c_str(), "-s", places.c_str(), nullptr);
    ::_exit(127);
  }
  const bool up = eventually([this] {
    if (::waitpid(server_, nullptr, WNOHANG) == server_) server_ = -1;
    if (server_ < 0) return true;
    Command ask;
    ask.words = {"lpstat", "-r"};
    return runCommand(ask).text.find("is running") != std::string::npos;
  });
  if (up && server_ >= 0) return;
  Command why;
  why.words = {kServer, "-t", "-c", place_ + "cupsd.conf", "-s", place_ + "cups-files.conf"};
  problem_ = "cupsd does not start: " + runCommand(why).text + readFile(place_ + "server.txt");
}

void PrintServer::stop() {
  if (server_ <= 0) return;
  ::kill(server_, SIGTERM);
  ::waitpid(server_, nullptr, 0);
  server_ = -1;
}

void PrintServer::restart(Temporary where) {
  stop();
  configure(where);
  start();
  EXPECT_EQ(problem_, "");
}

void PrintServer::addQueue(const std::string& name, const std::string& model,
                           const std::vector<std::string>& defaults) {
  std::vector<std::string> words = {
      "lpadmin", "-p", name, "-E", "-v", "capture:" + place_ + "captured", "-P", ppd(model)};
  for (const auto& choice : defaults) {
    words.emplace_back("-o");
    words.push_back(choice);
  }
  mustRun(words);
}

void PrintServer::addRemoteQueue(const std::string& name, const std::string& shared) {
  std::string socket = place_ + "sock";
  for (std::size_t at = 0; (at = socket.find('/', at)) != std::string::npos;)
    socket.replace(at, 1, "%2F");
  mustRun({"lpadmin", "-p", name, "-E", "-v", "ipp://" + socket + "/printers/" + shared, "-m",
           "everywhere"});
  // The server asks the shared queue in its own time, and reads the description that it made.
  EXPECT_TRUE(eventually([&] {
    return fs::exists(place_ + "etc/ppd/" + name + ".ppd") && knowsSizes(name);
  })) << name;
}

int PrintServer::send(const std::string& queue, const std::string& file,
                      const std::vector<std::string>& words) {
  std::vector<std::string> all = {"lp", "-d", queue};
  all.insert(all.end(), words.begin(), words.end());
  all.push_back(file);
  // "request id is label-12 (1 file(s))"
  const std::string answer = mustRun(all);
  const std::size_t id = answer.find("request id is " + queue + "-");
  if (id == std::string::npos) {
    ADD_FAILURE() << "lp said: " << answer;
    return 0;
  }
  return std::atoi(answer.c_str() + id + 14 + queue.size() + 1);
}

JobReport PrintServer::await(int job) {
  JobReport report;
  const bool done = eventually([&report, job] {
    report = ask(job);
    // A job counts as cancelled while its filters are still being ended.
    const bool isEnding =
        report.state == JobState::kCanceled && report.reason == "processing-to-stop-point";
    return report.state >= JobState::kStopped && !isEnding;
  });
  if (!done) ADD_FAILURE() << "job " << job << " does not end";
  report.sent = readFile(place_ + "captured/" + std::to_string(job) + ".bin");
  report.frames = frames(job);
  for (const auto& line : log(job)) {
    // "E [21/Nov/2026:07:39:21 +0000] [Job 12] text"
    if (line.rfind("E ", 0) != 0) continue;
    report.errors.push_back(line.substr(line.find("] ", line.find("[Job ")) + 2));
  }
  return report;
}

void PrintServer::awaitFrame(int job) {
  EXPECT_TRUE(eventually([this, job] { return !frames(job).empty(); })) << "no frame came";
}

void PrintServer::awaitLog(int job, const std::string& text) {
  const bool said = eventually([this, job, &text] {
    for (const auto& line : log(job)) {
      if (line.find(text) != std::string::npos) return true;
    }
    return false;
  });
  if (said) return;
  std::string all;
  for (const auto& line : log(job)) all += line + "\n";
  ADD_FAILURE() << "the log never says \"" << text << "\":\n" << all;
}

std::vector<std::string> PrintServer::log(int job) const {
  const std::string mark = "[Job " + std::to_string(job) + "] ";
  std::istringstream all(readFile(place_ + "error_log"));
  std::vector<std::string> lines;
  for (std::string line; std::getline(all, line);) {
    if (line.find(mark) != std::string::npos) lines.push_back(line);
  }
  return lines;
}

long PrintServer::lineOf(int job, const std::string& text) const {
  const std::string mark = "[Job " + std::to_string(job) + "] ";
  std::istringstream all(readFile(place_ + "error_log"));
  long number = 0;
  for (std::string line; std::getline(all, line); ++number) {
    const std::size_t at = line.find(mark);
    if (at != std::string::npos && line.find(text, at) != std::string::npos) return number;
  }
  ADD_FAILURE() << "job " << job << " never says \"" << text << "\"";
  return -1;
}

std::map<std::string, std::string> PrintServer::frames(int job) const {
  char mark[32];
  std::snprintf(mark, sizeof mark, "_jobid_%06d_", job);
  std::map<std::string, std::string> frames;
  std::error_code none;
  for (const auto& entry : fs::directory_iterator(spoolTmp() + "kcv6data", none)) {
    const std::string name = entry.path().filename();
    if (name.rfind("page_", 0) == 0 && name.find(mark) != std::string::npos) {
      frames[name] = readFile(entry.path());
    }
  }
  return frames;
}

std::string PrintServer::counter(const std::string& fileName) const {
  return readFile(spoolTmp() + "kcv6data/" + fileName);
}

}  // namespace kestra::cups_tests
