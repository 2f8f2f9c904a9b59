// Options from everywhere a user can give them: with the job, with the queue, as a user's default.
// Why: an option that gets lost on the way prints too pale, too large or once instead of thrice.
#include <gtest/gtest.h>

#include "tests/cups/command.h"
#include "tests/cups/cups_case.h"
#include "tests/support/page_makers.h"

namespace kestra::cups_tests {

namespace ts = testing_support;

class Options : public CupsCase {
 protected:
  std::string bars4x6(int pages) { return document("bars.pdf", barPdf(pages, 288, 432)); }

  // Prints a PDF page of this size with an option and compares with the server's programs and the
  // plain version; returns the frame.
  std::string printSized(const std::string& queue, const std::string& pdf,
                         const std::string& option, const plain::Settings& settings) {
    const std::string stream = renderByHand({"pdftopdf", "gstoraster"}, pdf, "application/pdf",
                                            server().ppd("kestra4"), option);
    const JobReport report = server().print(queue, pdf, {"-o", option});
    const plain::Outcome expected = predict(stream, settings, report.id, queue);
    expectPrinted(report, expected);
    return onlyFrame(report);
  }
};

namespace {

int word(const std::string& bytes, std::size_t at) {
  return (bytes[at] & 255) + 256 * (bytes[at + 1] & 255);
}

}  // namespace

TEST_F(Options, OfTheJobSetSpeedHeatAndPaper) {
  const JobReport report =
      printed(makeQueue(), bars4x6(1),
              {"-o", "PrintSpeed=6", "-o", "Darkness=Light", "-o", "PaperType=LabelMark", "-o",
               "GapsHeight=5", "-o", "MirrorImage=True"});
  // Speed 6 is code 4, Light is 0.
  EXPECT_EQ(report.sent, commands(1, 4, 0));
  const std::string frame = onlyFrame(report);
  // Marks are 2; 5 mm are 5 / 25.4 * 203 = 39.96, so 39 dots.
  EXPECT_EQ(frame[3], 2);
  EXPECT_EQ(word(frame, 8), 39);
  // Mirrored, the first inch is the last one: columns 812 - 203 to 812.
  EXPECT_EQ(blackBox(frame, kLabelMargin), (Box{609, 812, 812, 1015}));
}

TEST_F(Options, OfTheQueueHoldForEveryJob) {
  const std::string queue = makeQueue({"PrintSpeed=2", "Darkness=Dark"});
  EXPECT_EQ(server().print(queue, bars4x6(2)).sent, commands(2, 0, 2));
  EXPECT_EQ(server().print(queue, bars4x6(1)).sent, commands(1, 0, 2));
}

TEST_F(Options, OfTheJobWinOverThoseOfTheQueue) {
  const std::string queue = makeQueue({"PrintSpeed=2", "Darkness=Dark"});
  const JobReport report = server().print(queue, bars4x6(1), {"-o", "Darkness=Light"});
  EXPECT_EQ(report.sent, commands(1, 0, 0));
}

TEST_F(Options, OfTheQueuePrintTheCornerOfALargerPageInItsOwnSize) {
  // A4 with a square inch at its left edge, 72 to 144 points above what is the lower edge of a
  // label in the page's upper left corner: 842 - 432 + 72 = 482.
  const std::string page = document("shop.ps",
                                    "%!PS-Adobe-3.0\n<< /PageSize [595 842] >> setpagedevice\n"
                                    "0 setgray 0 482 72 72 rectfill showpage\n");
  const std::string queue = makeQueue();
  // As it is, the page is made smaller.
  EXPECT_EQ(bars(server().print(queue, page)), std::vector<int>{0});
  mustRun({"lpadmin", "-p", queue, "-o", "print-scaling-default=none", "-o",
           "position-default=top-left"});
  EXPECT_EQ(bars(server().print(queue, page)), std::vector<int>{1});
}

TEST_F(Options, OfLpoptionsHoldForTheUsersJobs) {
  const std::string queue = makeQueue();
  mustRun({"lpoptions", "-p", queue, "-o", "PrintSpeed=3", "-o", "Darkness=Dark"});
  const JobReport report = printed(queue, bars4x6(1));
  EXPECT_EQ(report.sent, commands(1, 1, 2));
}

TEST_F(Options, UnknownChoicesLeaveTheDefault) {
  const JobReport report =
      printed(makeQueue(), bars4x6(1), {"-o", "Darkness=Scorching", "-o", "PrintSpeed=99"});
  EXPECT_EQ(report.sent, commands(1));
}

TEST_F(Options, ThreeCopiesOfAPdfAreExactlyThree) {
  const JobReport report = printed(makeQueue(), bars4x6(2), {"-n", "3"});
  EXPECT_EQ(report.copies, 3);
  EXPECT_EQ(report.sent, commands(6));
  EXPECT_EQ(bars(report), (std::vector<int>{1, 1, 1, 2, 2, 2}));
}

TEST_F(Options, PageLoggingCountsEverySheet) {
  // Without the option the print system counts no pages of this printer at all.
  const std::string queue = makeQueue();
  EXPECT_EQ(server().print(queue, bars4x6(2)).sheets, 0);
  const JobReport logged = server().print(queue, bars4x6(2), {"-n", "3", "-o", "page-logging=on"});
  EXPECT_EQ(logged.frames.size(), 6U);
  EXPECT_EQ(logged.sheets, 6);
}

TEST_F(Options, PageLoggingCanBeTheDefaultOfAQueue) {
  const JobReport report = server().print(makeQueue({"page-logging-default=on"}), bars4x6(2));
  EXPECT_EQ(report.frames.size(), 2U);
  EXPECT_EQ(report.sheets, 2);
}

TEST_F(Options, CollatedCopiesComeSetBySet) {
  const JobReport report = printed(makeQueue(), bars4x6(2), {"-n", "3", "-o", "collate=true"});
  EXPECT_EQ(bars(report), (std::vector<int>{1, 2, 1, 2, 1, 2}));
}

TEST_F(Options, ThreeCopiesOfATextAreExactlyThree) {
  const JobReport report = printed(makeQueue(), document("note.txt", "one page\n"), {"-n", "3"});
  const std::vector<std::string> frames = inOrder(report);
  ASSERT_EQ(frames.size(), 3U);
  // They differ in the page number alone, which is at bytes 12 and 13.
  EXPECT_EQ(frames[1].substr(14), frames[0].substr(14));
  EXPECT_EQ(frames[2].substr(14), frames[0].substr(14));
  EXPECT_EQ(report.sent, commands(3));
}

TEST_F(Options, CopiesOfARasterDocumentPrintOnce) {
  const std::string page = document("page.ras", ts::writeStream({rasterPage("text", 400, 100)}));
  const JobReport report = printed(makeQueue(), page, {"-n", "3"});
  EXPECT_EQ(report.frames.size(), 1U);
  EXPECT_EQ(report.sent, commands(1));
}

TEST_F(Options, PageRangesPrintThosePagesAlone) {
  const JobReport report = printed(makeQueue(), bars4x6(4), {"-P", "2,4"});
  EXPECT_EQ(bars(report), (std::vector<int>{2, 4}));
  EXPECT_EQ(report.sent, commands(2));
}

TEST_F(Options, LandscapeTurnsThePage) {
  const std::string queue = makeQueue();
  const std::string frame =
      printSized(queue, document("wide.pdf", barPdf(1, 432, 288)), "landscape", labelSettings());
  // Still a sheet of 812 x 1218 dots. The inch at the left edge of the document, 1 inch above its
  // lower edge, is now at the lower edge and 1 inch from the right, or at the upper and 1 inch
  // from the left: which of them is the print system's choice, PDF says 90 degrees either way.
  const Box box = blackBox(frame, kLabelMargin);
  EXPECT_TRUE(box == (Box{203, 0, 406, 203}) || box == (Box{406, 1015, 609, 1218}))
      << testing::PrintToString(box);
}

TEST_F(Options, CustomSizesGiveFramesOfThatSize) {
  // 159 points are 448.3 dots, 212 are 597.7: rounded, 448 and 598.
  const std::string frame =
      printSized(makeQueue(), document("custom.pdf", barPdf(1, 159, 212)),
                 "PageSize=Custom.159x212", labelSettings("Custom", 159, 212));
  // Margin ((832.02 - 448) / 2 + 7) / 8 = 24.9 -> 24 bytes, record 2 + 24 + 56 = 82.
  EXPECT_EQ(word(frame, 18), 82);
  EXPECT_EQ(word(frame, 20), 598);
  const Box box = blackBox(frame, 24);
  EXPECT_EQ(box.left, 0);
  EXPECT_EQ(box.right, 203);
  EXPECT_EQ(box.bottom - box.top, 203);
}

// A queue made with a description that names no kestrafit keeps it, and prints as it always did.
TEST_F(Options, PageWiderThanTheHeadOfAnOlderQueueHasOverlappingRows) {
  // 400 points are 1127.8 dots: 1128. Margin ((832.02 - 1128) / 2 + 7) / 8 = -17.6 -> -17 bytes;
  // record 2 - 17 + 141 = 126 bytes. 144 points are 406 rows.
  std::string ppd = readFile(server().ppd("kestra4"));
  const std::size_t stage = ppd.find("*cupsPreFilter:");
  ASSERT_NE(stage, std::string::npos);
  ppd.erase(stage, ppd.find('\n', stage) + 1 - stage);
  writeFile(server().ppd("older"), ppd);
  server().addQueue("OlderQueue", "older");
  const std::string frame =
      printSized("OlderQueue", document("banner.pdf", barPdf(1, 400, 144)),
                 "PageSize=Custom.400x144", labelSettings("Custom", 400, 144));
  EXPECT_EQ(word(frame, 18), 126);
  EXPECT_EQ(word(frame, 20), 406);
  EXPECT_EQ(frame.size(), 22U + 406 * 126);
}

}  // namespace kestra::cups_tests
