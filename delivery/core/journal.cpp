// One line of text per change, each with a check sum in front and flushed before anything is sent
// that depends on it. A line cut by a power loss is no line, so every prefix of a journal is a
// journal.
#include "delivery/core/journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sstream>

#include "filter/base/unbroken.h"

namespace kestra::delivery {
namespace {

constexpr std::size_t kSumDigits = 8;

// FNV-1a (Fowler, Noll, Vo, 1991), 32 bits: tells a cut line from a whole one.
std::uint32_t sumOf(const std::string& text) {
  std::uint32_t sum = 2166136261U;
  for (const char c : text) sum = (sum ^ static_cast<unsigned char>(c)) * 16777619U;
  return sum;
}

std::string lineOf(const std::string& words) {
  std::array<char, kSumDigits + 1> sum = {};
  std::snprintf(sum.data(), sum.size(), "%08x", sumOf(words));
  return std::string(sum.data()) + " " + words + "\n";
}

// A word of text that came from outside: blanks, line ends and per cent signs become %20 and so on.
std::string escaped(const std::string& text) {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string word;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte > ' ' && byte != '%' && byte != 0x7F) {
      word += c;
    } else {
      word += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return word.empty() ? "%" : word;
}

int valueOf(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

std::string unescaped(const std::string& word) {
  std::string text;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (word[i] != '%' || i + 2 >= word.size()) {
      if (word[i] != '%') text += word[i];
      continue;
    }
    text += static_cast<char>(valueOf(word[i + 1]) * 16 + valueOf(word[i + 2]));
    i += 2;
  }
  return text;
}

const char* wordOf(Rest rest) {
  switch (rest) {
    case Rest::kNone:
      break;
    case Rest::kAgain:
      return "again";
    case Rest::kLeft:
      return "left";
    case Rest::kStopped:
      return "stopped";
    case Rest::kHeld:
      return "held";
    case Rest::kChanged:
      return "changed";
    case Rest::kEnded:
      return "ended";
  }
  return "cut";
}

std::string hexOf(const Command& command) {
  std::string text;
  for (const std::uint8_t byte : command) {
    std::array<char, 3> digits = {};
    std::snprintf(digits.data(), digits.size(), "%02X", byte);
    text += digits.data();
  }
  return text;
}

void readCommand(const std::string& hex, Command& command) {
  if (hex.size() != 2 * command.size()) return;
  for (std::size_t i = 0; i < command.size(); ++i) {
    command[i] = static_cast<std::uint8_t>(valueOf(hex[2 * i]) * 16 + valueOf(hex[2 * i + 1]));
  }
}

// Pages from the doubted ones that a change settles come out of their list one by one.
void takeDoubted(JournalState& state) {
  if (!state.doubted.empty()) state.doubted.erase(state.doubted.begin());
}

void applyStart(JournalState& state, std::istringstream& words) {
  long long now = 0;
  std::string queue, device, title;
  words >> now >> state.completed >> state.number >> queue >> device >> title;
  if (state.begun == 0) state.begun = now;
  state.queue = unescaped(queue);
  state.device = unescaped(device);
  state.title = unescaped(title);
  state.rest = Rest::kNone;
  ++state.triesInVain;
}

void applyLost(JournalState& state, std::size_t page) {
  if (page == 0 || page > state.digests.size()) return;
  const auto first = state.digests.begin() + static_cast<std::ptrdiff_t>(page - 1);
  state.doubted.insert(state.doubted.begin(), first, state.digests.end());
  state.digests.erase(first, state.digests.end());
  while (!state.skipped.empty() && state.skipped.back() >= page) state.skipped.pop_back();
}

void applyRest(JournalState& state, const std::string& how) {
  for (const Rest rest :
       {Rest::kAgain, Rest::kLeft, Rest::kStopped, Rest::kHeld, Rest::kChanged, Rest::kEnded}) {
    if (how == wordOf(rest)) state.rest = rest;
  }
  if (state.rest != Rest::kAgain) state.triesInVain = 0;
}

void apply(JournalState& state, const std::string& line) {
  std::istringstream words(line);
  std::string verb, word;
  words >> verb;
  if (verb == "start") {
    applyStart(state, words);
  } else if (verb == "closing") {
    words >> word;
    if (state.doubted.empty()) state.doubted.push_back(word);
    words >> word;
    readCommand(word, state.command);
  } else if (verb == "done") {
    words >> word;
    takeDoubted(state);
    state.digests.push_back(word);
    state.triesInVain = state.triesInVain > 0 ? 1 : 0;
  } else if (verb == "lost") {
    std::size_t page = 0;
    words >> page;
    applyLost(state, page);
  } else if (verb == "again") {
    state.doubted.clear();
  } else if (verb == "skip" && !state.doubted.empty()) {
    state.digests.push_back(state.doubted.front());
    takeDoubted(state);
    state.skipped.push_back(state.digests.size());
  } else if (verb == "rest") {
    words >> word;
    applyRest(state, word);
  }
}

// A new file is found again after a power cut only when its folder is on the disk, too.
bool flushFolderOf(const std::string& path) {
  const std::string folder = path.substr(0, path.find_last_of('/') + 1);
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool flushed = fsync(descriptor) == 0;
  close(descriptor);
  return flushed;
}

}  // namespace

JournalState readJournal(const std::string& text) {
  JournalState state;
  std::size_t at = 0;
  for (;;) {
    const std::size_t end = text.find('\n', at);
    if (end == std::string::npos || end - at <= kSumDigits) break;
    const std::string words = text.substr(at + kSumDigits + 1, end - at - kSumDigits - 1);
    if (text.compare(at, end - at + 1, lineOf(words)) != 0) break;
    apply(state, words);
    at = end + 1;
  }
  state.validBytes = at;
  return state;
}

Journal::~Journal() {
  if (descriptor_ >= 0) close(descriptor_);
}

Result<void> Journal::open(const std::string& path) {
  constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
  descriptor_ =
      ::open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, kOwnerOnly);
  bool usable = descriptor_ >= 0;
  std::string text;
  std::array<char, 65536> part = {};
  while (usable) {
    const ssize_t got = unbroken([&] {
      return pread(descriptor_, part.data(), part.size(), static_cast<off_t>(text.size()));
    });
    usable = got >= 0;
    if (got <= 0) break;
    text.append(part.data(), static_cast<std::size_t>(got));
  }
  if (usable) {
    state_ = readJournal(text);
    // What a power cut left of a line must not stand before the next one.
    usable = ftruncate(descriptor_, static_cast<off_t>(state_.validBytes)) == 0 &&
             (!text.empty() || flushFolderOf(path));
  }
  if (!usable) return Problem{path + ": " + std::strerror(errno)};
  return {};
}

bool Journal::reserve() {
  constexpr std::size_t kPage = 512;  // more than the notes on one page
  constexpr std::size_t kAtOnce = 4096;
  if (descriptor_ < 0 || state_.validBytes + kPage <= reserved_) return true;
  if (fallocate(descriptor_, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(state_.validBytes),
                static_cast<off_t>(kAtOnce)) == 0) {
    reserved_ = state_.validBytes + kAtOnce;
    return true;
  }
  return errno == EOPNOTSUPP;
}

bool Journal::append(const std::string& words) {
  const std::string line = lineOf(words);
  if (descriptor_ >= 0) {
    if (isSpoilt_) return false;
    if (!writeAll(descriptor_, line.data(), line.size()) || fdatasync(descriptor_) != 0) {
      // Nothing may be written behind half a line: it would not be read again.
      const int why = errno;
      isSpoilt_ = ftruncate(descriptor_, static_cast<off_t>(state_.validBytes)) != 0;
      errno = why;
      return false;
    }
  }
  apply(state_, words);
  state_.validBytes += line.size();
  return true;
}

bool Journal::start(const StartFacts& facts) {
  return append("start " + std::to_string(std::time(nullptr)) + " " +
                std::to_string(facts.completed) + " " + std::to_string(facts.number) + " " +
                escaped(facts.queue) + " " + escaped(facts.device) + " " + escaped(facts.title));
}

bool Journal::closing(const std::string& digest, const Command& command) {
  return append("closing " + digest + " " + hexOf(command));
}

bool Journal::done(const std::string& digest) { return append("done " + digest); }

bool Journal::lost(std::size_t page) { return append("lost " + std::to_string(page)); }

bool Journal::again() { return append("again"); }

bool Journal::skip() { return append("skip"); }

bool Journal::rest(Rest how) { return append(std::string("rest ") + wordOf(how)); }

}  // namespace kestra::delivery
