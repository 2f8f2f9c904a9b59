// Masks and compares messages.
// Why: the masks are narrow, so that a wrong value cannot hide behind one.
#include "tests/support/log_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <vector>

namespace kestra::testing_support {

namespace {

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', start)) {
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  if (start < text.size()) lines.push_back(text.substr(start) + "(no line end)");
  return lines;
}

bool same(const std::string& expected, const std::string& actual) {
  if (expected == "ERROR:*") return actual.compare(0, 6, "ERROR:") == 0;
  return expected == actual;
}

constexpr char kDigits[] = "0123456789";

// Replaces what follows each `before` and consists of `allowed` characters only by '#'.
std::string maskAfter(std::string text, const std::string& before, const char* allowed) {
  for (std::size_t at = text.find(before); at != std::string::npos; at = text.find(before, at)) {
    at += before.size();
    const std::size_t end = std::min(text.find_first_not_of(allowed, at), text.size());
    if (end > at) text.replace(at, end - at, "#");
  }
  return text;
}

// The time between `kind` and the last number before ".bmp": six numbers and their separators.
std::string maskTime(std::string text, const std::string& kind) {
  constexpr char kName[] = "%*[0-9]-%*[0-9]-%*[0-9]_%*[0-9]_%*[0-9]_%*[0-9]%n_%*[0-9].bmp%n";
  for (std::size_t at = text.find(kind); at != std::string::npos; at = text.find(kind, at)) {
    at += kind.size();
    int time = 0;
    int name = 0;  // stays 0 where the text is none
    static_cast<void>(std::sscanf(&text[at], kName, &time, &name));
    if (name > 0) text.replace(at, static_cast<std::size_t>(time), "#");
  }
  return text;
}

}  // namespace

std::string maskImageName(const std::string& name) {
  return maskTime(maskTime(name, "origin_"), "dithered_");
}

std::string maskLog(const std::string& log) {
  const std::string hexadecimal = "0123456789abcdefx";
  std::string text = maskAfter(log, "allocated memory, address: ", hexadecimal.c_str());
  text = maskAfter(text, "processing result, address: ", hexadecimal.c_str());
  text = maskAfter(text, "pointer address: ", kDigits);
  for (const char* name :
       {"DEBUG:settings->VBarcodeOpt:", "DEBUG:KCLSendPaperInfo: settings->pageWidth:",
        "DEBUG:KCLSendPaperInfo: settings->pageHeight:"}) {
    text = maskAfter(text, name, "-.0123456789");
  }
  for (std::size_t at = text.find("-nan"); at != std::string::npos; at = text.find("-nan")) {
    text.erase(at, 1);
  }
  // A program built to count covered lines says so where it may not write its counts.
  const std::string counts = "LLVM Profile";
  for (std::size_t at = text.find(counts); at != std::string::npos; at = text.find(counts)) {
    text.erase(at, text.find('\n', at) - at + 1);
  }
  return maskImageName(text);
}

std::string compareLogs(const std::string& expected, const std::string& actual) {
  const std::vector<std::string> want = lines(expected);
  const std::vector<std::string> got = lines(maskLog(actual));
  for (std::size_t i = 0; i < want.size() || i < got.size(); ++i) {
    const std::string wanted = i < want.size() ? want[i] : "(end)";
    const std::string found = i < got.size() ? got[i] : "(end)";
    if (!same(wanted, found)) {
      std::string report =
          "line " + std::to_string(i + 1) + "\n  wanted: " + wanted + "\n  found:  " + found;
      // What follows tells more than the first line of, for example, a leak report.
      for (std::size_t k = i + 1; k < got.size() && k < i + 9; ++k)
        report += "\n          " + got[k];
      return report;
    }
  }
  return "";
}

}  // namespace kestra::testing_support
