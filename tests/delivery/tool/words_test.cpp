// What a person reads, and what no terminal may get.
#include "delivery/tool/words.h"

#include <gtest/gtest.h>

#include <string>

namespace kestra::delivery {
namespace {

TEST(ToolWords, PlainTextStaysAndEverythingElseBecomesAQuestionMark) {
  EXPECT_EQ(harmless("Invoice 7, A/B \"x\""), "Invoice 7, A/B \"x\"");
  EXPECT_EQ(harmless("Gr\xC3\xB6\xC3\x9F"
                     "e \xE7\x9F\xAD \xF0\x9F\x90\x88"),
            "Gr\xC3\xB6\xC3\x9F"
            "e \xE7\x9F\xAD \xF0\x9F\x90\x88");
  EXPECT_EQ(harmless("\033[31mred\n\r\t\x7F"), "?[31mred????");
  EXPECT_EQ(harmless(std::string("a\0b", 3)), "a?b");
  EXPECT_EQ(harmless("\xC2\x9B"
                     "2J"),
            "?2J");  // a control character of 8 bits
  EXPECT_EQ(harmless("a\xE2\x80\xAE"
                     "b\xEF\xBB\xBF"),
            "a?b?");                                // writing turned, a hidden mark
  EXPECT_EQ(harmless("\xFF\xC3"), "??");            // no UTF-8, and the half of it
  EXPECT_EQ(harmless("\xC0\xAF"), "??");            // '/' in too many bytes
  EXPECT_EQ(harmless("\xED\xA0\x80"), "???");       // half of a pair
  EXPECT_EQ(harmless("\xF4\x90\x80\x80"), "????");  // beyond the last character
}

TEST(ToolWords, LongTextIsCutBehindACharacter) {
  EXPECT_EQ(harmless("abc", 3), "abc");
  EXPECT_EQ(harmless("abcd", 3), "abc...");
  EXPECT_EQ(harmless("\xC3\xB6\xC3\xB6\xC3\xB6", 2), "\xC3\xB6\xC3\xB6...");
}

TEST(ToolWords, JsonTextCanBeReadBack) {
  EXPECT_EQ(jsonText("a\"b\\c\n\xFF"), "\"a\\\"b\\\\c??\"");
  EXPECT_EQ(jsonText(std::string(200, 'x')).size(), 202U);
}

TEST(ToolWords, LabelsAreNamedInRuns) {
  EXPECT_EQ(labelWords({3}), "label 3");
  EXPECT_EQ(labelWords({3, 4}), "labels 3 and 4");
  EXPECT_EQ(labelWords({1, 2, 3, 7, 9, 10, 11, 12}), "labels 1 to 3, 7 and 9 to 12");
}

TEST(ToolWords, AgesAndSizesAreRounded) {
  EXPECT_EQ(agoWords(-5), "just now");
  EXPECT_EQ(agoWords(59), "just now");
  EXPECT_EQ(agoWords(60), "1 minute ago");
  EXPECT_EQ(agoWords(3599), "59 minutes ago");
  EXPECT_EQ(agoWords(7200), "2 hours ago");
  EXPECT_EQ(agoWords(86400), "1 day ago");
  EXPECT_EQ(sizeWords(1), "1 byte");
  EXPECT_EQ(sizeWords(1023), "1023 bytes");
  EXPECT_EQ(sizeWords(1024), "1 KB");
  EXPECT_EQ(sizeWords(1536), "2 KB");
  EXPECT_EQ(sizeWords(1048576 - 512), "1 MB");
  EXPECT_EQ(sizeWords(1048576 + 524288), "2 MB");
}

TEST(ToolWords, LinesForThePrintSystemAreSpoken) {
  EXPECT_EQ(spokenLine("INFO: Printing label 3 of 7", false), "Printing label 3 of 7");
  EXPECT_EQ(spokenLine("WARNING: Label 2 may come twice", false),
            "Warning: Label 2 may come twice");
  EXPECT_EQ(spokenLine("ERROR: the disk is full", false), "Error: the disk is full");
  EXPECT_EQ(spokenLine("INFO: a\033b", false), "a?b");
  for (const char* line :
       {"DEBUG: x", "STATE: +offline-report", "PAGE: total 3", "ATTR: job-media-progress=1"}) {
    EXPECT_EQ(spokenLine(line, false), "") << line;
    EXPECT_EQ(spokenLine(line, true), line);
  }
}

TEST(ToolWords, MarksThatTurnOrHideTextAreShownAsQuestionMarks) {
  for (const char* hidden :
       {"\xE2\x80\x8B", "\xE2\x81\xA0", "\xD8\x9C", "\xEF\xBF\xB9", "\xF3\xA0\x80\x81"}) {
    EXPECT_EQ(harmless(hidden), "?") << hidden;
  }
  EXPECT_EQ(harmless("\xE2\x80\x90"), "\xE2\x80\x90");  // a hyphen, just behind some of them
  EXPECT_EQ(harmless("\xEF\xBF\xBD"), "\xEF\xBF\xBD");  // and the sign for an unknown character
  EXPECT_EQ(harmless("\xC3("), "?(");                   // half a character and a whole one
}

}  // namespace
}  // namespace kestra::delivery
