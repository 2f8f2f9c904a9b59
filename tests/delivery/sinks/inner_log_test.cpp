// Lines of wrapped programs, good and hostile.
#include "delivery/sinks/inner_log.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace kestra::delivery {
namespace {

TEST(InnerLog, LinesArePassedOnUnlessTheyCountPages) {
  const struct {
    std::string line;
    std::optional<std::string> passed;
  } table[] = {
      {"", std::nullopt},
      {"PAGE: 1 1", std::nullopt},
      {"PAGE: total 7", std::nullopt},
      {"INFO: Connected", "INFO: Connected"},
      {"DEBUG2: x", "DEBUG2: x"},
      {"STATE: +media-empty", "STATE: +media-empty"},
      {"ATTR: marker-levels=1", "ATTR: marker-levels=1"},
      {"ERROR:no blank", "ERROR:no blank"},
      {"hello", "DEBUG: hello"},
      {"INFORMATION: x", "DEBUG: INFORMATION: x"},
      {" PAGE: 1 1", "DEBUG:  PAGE: 1 1"},
      {"INFO: a\rb\x1B[0m\x7F", "INFO: a b [0m "},
      {std::string("INFO: a\0b", 9), "INFO: a b"},
      {"INFO: " + std::string(3000, 'x'), "INFO: " + std::string(1994, 'x')},
      {std::string(3000, 'x'), "DEBUG: " + std::string(1993, 'x')},
  };
  for (const auto& row : table) EXPECT_EQ(relayed(row.line), row.passed) << row.line;
}

TEST(InnerLog, OnlyTheExactWordsCountBytes) {
  const struct {
    const char* line;
    std::optional<std::uint64_t> bytes;
  } table[] = {
      {"DEBUG: Wrote 8192 bytes of print data...", 8192},
      {"DEBUG: Wrote 0 bytes of print data...", 0},
      {"DEBUG: Wrote 999999999 bytes of print data...", 999999999},
      {"DEBUG: Wrote 1000000000 bytes of print data...", std::nullopt},
      {"DEBUG: Wrote  bytes of print data...", std::nullopt},
      {"DEBUG: Wrote -1 bytes of print data...", std::nullopt},
      {"DEBUG: Wrote 5 bytes of side channel", std::nullopt},
      {"DEBUG: Read 5 bytes of print data...", std::nullopt},
      {"INFO: Wrote 5 bytes of print data...", std::nullopt},
      {"xDEBUG: Wrote 5 bytes of print data...", std::nullopt},
  };
  for (const auto& row : table) EXPECT_EQ(bytesWritten(row.line), row.bytes) << row.line;
}

TEST(InnerLog, AStreamIsCutIntoLinesWhereverItsPiecesEnd) {
  LineCutter cutter;
  std::vector<std::string> lines;
  const auto onLine = [&](const std::string& line) { lines.push_back(line); };
  cutter.add("INFO: o", onLine);
  cutter.add("ne\nINFO: two\n\nthr", onLine);
  EXPECT_EQ(lines, (std::vector<std::string>{"INFO: one", "INFO: two", ""}));
  cutter.add(std::string(100000, 'e'), onLine);
  cutter.add("\nnext\n", onLine);
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[3], "thr" + std::string(3997, 'e'));
  EXPECT_EQ(lines[4], "next");
}

}  // namespace
}  // namespace kestra::delivery
