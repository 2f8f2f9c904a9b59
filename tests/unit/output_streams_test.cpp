// Tests the output operations: every byte meant for the printer goes to each stream of the list,
// so that a copy file holds exactly what the printer got.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/unit/bare_printer.h"
#include "tests/unit/capture.h"

namespace kestra {
namespace {

/// A printer that writes to two files of the test's.
class OutputStreams : public testing::Test {
 protected:
  OutputStreams() { *printer.getOutputStreams() = {first, second}; }
  ~OutputStreams() override {
    std::fclose(first);
    std::fclose(second);
  }

  void expectBoth(const std::string& wanted) {
    EXPECT_EQ(wanted, contentsOf(first));
    EXPECT_EQ(wanted, contentsOf(second));
  }

  std::FILE* first = std::tmpfile();
  std::FILE* second = std::tmpfile();
  BarePrinter printer;
};

TEST_F(OutputStreams, GetTheSameBytes) {
  const unsigned char bytes[] = {0x1B, 0x73, 0x00, 0xFF, 0x0A};
  printer.printBytes(bytes, sizeof bytes);
  expectBoth(std::string("\x1B\x73\x00\xFF\x0A", 5));
}

TEST_F(OutputStreams, GetNothingOfNoBytes) {
  printer.printBytes("x", 0);
  expectBoth("");
}

TEST_F(OutputStreams, GetATextWithoutItsEndAndWithItsPercentSigns) {
  printer.printStr("100%s %n");
  expectBoth("100%s %n");
}

TEST_F(OutputStreams, GetSingleBytes) {
  printer.printByte(0x00);
  printer.printByte(0xFF);
  expectBoth(std::string("\x00\xFF", 2));
}

TEST_F(OutputStreams, GetFormattedTextWithFreshArgumentsEach) {
  EXPECT_EQ(12, printer.printFormat("%d %s %.2f", 42, "dots", 2.5));
  expectBoth("42 dots 2.50");
}

TEST_F(OutputStreams, GetFormattedTextOfAnyLength) {
  const std::string text(100000, 'q');
  EXPECT_EQ(100002, printer.printFormat("<%s>", text.c_str()));
  expectBoth("<" + text + ">");
}

TEST_F(OutputStreams, KeepTheOrderOfTheCalls) {
  printer.printStr("a");
  printer.printByte('b');
  printer.printBytes("cd", 2);
  printer.printFormat("%c", 'e');
  expectBoth("abcde");
}

TEST_F(OutputStreams, GoOnBehindOneThatFails) {
  std::FILE* broken = std::fopen("/dev/null", "r");  // cannot be written
  ASSERT_NE(nullptr, broken);
  printer.getOutputStreams()->push_front(broken);
  printer.printBytes("ab", 2);
  printer.printStr("cd");
  printer.printByte('e');
  EXPECT_EQ(1, printer.printFormat("f"));  // the count of the last stream
  expectBoth("abcdef");
  std::fclose(broken);
}

TEST_F(OutputStreams, TellTheFailureOfTheLastOne) {
  std::FILE* broken = std::fopen("/dev/null", "r");
  ASSERT_NE(nullptr, broken);
  printer.getOutputStreams()->push_back(broken);
  EXPECT_GT(0, printer.printFormat("abc"));
  expectBoth("abc");
  std::fclose(broken);
}

TEST_F(OutputStreams, MayBeNone) {
  printer.getOutputStreams()->clear();
  printer.printBytes("ab", 2);
  printer.printStr("cd");
  printer.printByte('e');
  printer.printFormat("f");
  expectBoth("");
}

TEST(OutputCopy, HoldsWhatStandardOutputGets) {
  std::FILE* copy = std::tmpfile();
  ASSERT_NE(nullptr, copy);
  std::string out;
  {
    BarePrinter printer;
    printer.getOutputStreams()->push_back(copy);
    Capture capture(Capture::kStdout);
    printer.printBytes("\x1B\x73\x01\x00\x00\x02\x01", 7);
    printer.printStr("text");
    printer.printByte(0);
    printer.printFormat("%d", 9000);
    out = capture.stop();
  }
  EXPECT_EQ(std::string("\x1B\x73\x01\x00\x00\x02\x01text\x00"
                        "9000",
                        16),
            out);
  EXPECT_EQ(out, contentsOf(copy));
  std::fclose(copy);
}

}  // namespace
}  // namespace kestra
