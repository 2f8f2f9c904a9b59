// Jobs beside and after each other: two queues, a cancelled job, a failing one, page numbers.
// Why: a printer is shared; what one job does must not spoil the pages of the next.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/cups/command.h"
#include "tests/cups/cups_case.h"
#include "tests/support/page_makers.h"
#include "tools/frame/frame_reader.h"

namespace kestra::cups_tests {

namespace ts = testing_support;

class Jobs : public CupsCase {
 protected:
  std::string smallRaster() { return raster({rasterPage("text", 400, 100)}); }

  // The user sees the filter's words as the reason of the stop, or the print system's own two where
  // it noticed the end of the filter before it read those words.
  static bool isReasonOf(const JobReport& bad) {
    return bad.message == bad.errors[0] || bad.message == "Filter failed";
  }

  static void expectStopped(const JobReport& bad, const std::string& words) {
    EXPECT_EQ(bad.state, JobState::kStopped);
    EXPECT_EQ(bad.frames.size(), 0U);
    ASSERT_FALSE(bad.errors.empty());
    EXPECT_NE(bad.errors[0].find(words), std::string::npos) << bad.errors[0];
    EXPECT_TRUE(isReasonOf(bad)) << bad.message;
  }

  // A small page prints on the queue as the first of all.
  void expectPrints(const std::string& queue) {
    const std::string page = smallRaster();
    const JobReport report = server().print(queue, page);
    expectPrinted(report, predict(readFile(page), labelSettings(), report.id, queue));
  }

  static bool says(const std::vector<std::string>& log, const std::string& text) {
    return std::any_of(log.begin(), log.end(), [&text](const std::string& line) {
      return line.find(text) != std::string::npos;
    });
  }
};

TEST_F(Jobs, OfTwoQueuesPrintAtOnceWithoutMixing) {
  std::vector<ts::StreamPage> ones;
  std::vector<ts::StreamPage> others;
  for (int i = 0; i < 20; ++i) {
    ones.push_back(rasterPage("photo", 812, 900));
    others.push_back(rasterPage("gradient", 636, 700));
  }
  plain::Settings settings = labelSettings();
  settings.halftone = 3;
  settings.darkness = 2;
  // On a busy machine one job can be done before the other one begins; then there is another try.
  bool atOnce = false;
  for (int turn = 1; turn <= 10 && !atOnce; ++turn) {
    const std::string first = "One" + std::to_string(turn);
    const std::string second = "Other" + std::to_string(turn);
    server().addQueue(first, "kestra4");
    server().addQueue(second, "kestra4", {"HalftoneType=Burkes", "Darkness=Dark"});
    // Both wait in stopped queues, so that the two jobs start within a moment of each other.
    mustRun({"cupsdisable", first, second});
    const int job1 = server().send(first, document("ones.ras", ts::writeStream(ones, true)));
    const int job2 = server().send(second, document("others.ras", ts::writeStream(others, true)));
    mustRun({"cupsenable", first, second});
    const JobReport report1 = server().await(job1);
    const JobReport report2 = server().await(job2);

    // Each filter had started before the other one ended.
    const std::string started = "Started filter";
    const std::string ended = "/rastertokestra) exited with no errors";
    atOnce = server().lineOf(job1, started) < server().lineOf(job2, ended) &&
             server().lineOf(job2, started) < server().lineOf(job1, ended);
    expectPrinted(report1, predict(ts::writeStream(ones), labelSettings(), job1, first));
    expectPrinted(report2, predict(ts::writeStream(others), settings, job2, second));
  }
  EXPECT_TRUE(atOnce);
}

TEST_F(Jobs, CancelledInTheMiddleLeaveWholeFramesOnly) {
  const std::string queue = makeQueue();
  const std::vector<ts::StreamPage> pages(120, rasterPage("gradient", 812, 2436));
  const int job = server().send(queue, raster(pages), {"-o", "HalftoneType=Sierra"});
  server().awaitFrame(job);
  mustRun({"cancel", std::to_string(job)});
  server().awaitLog(job, "/rastertokestra) was terminated normally with signal 15");
  const JobReport report = server().await(job);
  EXPECT_EQ(report.state, JobState::kCanceled);
  EXPECT_EQ(report.reason, "job-canceled-by-user");
  EXPECT_GE(report.frames.size(), 1U);
  EXPECT_LT(report.frames.size(), pages.size());
  // The same page again and again: each frame is the predicted one but for its page number.
  plain::Settings settings = labelSettings();
  settings.halftone = 6;  // Sierra
  const plain::Outcome expected = predict(ts::writeStream({pages[0]}), settings, job, queue);
  ASSERT_EQ(expected.frames.size(), 1U);
  const plain::Bytes& wanted = expected.frames.begin()->second;
  const std::string dots = std::string(wanted.begin(), wanted.end()).substr(14);
  for (const auto& [name, bytes] : report.frames) {
    EXPECT_TRUE(bytes.size() > 14 && bytes.substr(14) == dots) << name;
  }
  // A command leaves before its page is stored; the pages behind the cancelled one sent none.
  EXPECT_GE(report.sent.size(), 7 * report.frames.size());
  EXPECT_LE(report.sent.size(), 7 * (report.frames.size() + 1));
  // The job did not end well, so the queue's page numbers start at 1 for the next job.
  EXPECT_EQ(server().counter(queue + ".pgc"), "");
  const JobReport next = printed(queue, smallRaster());
  EXPECT_EQ(next.frames.count(frameName(1, next.id)), 1U);
}

TEST_F(Jobs, WithOneBitPagesStopAndTheNextOnePrints) {
  const std::string queue = makeQueue();
  cups_page_header2_t header = ts::makeHeader(400, 100, 50);
  header.cupsBitsPerColor = 1;
  header.cupsBitsPerPixel = 1;
  const JobReport bad = server().print(
      queue, document("onebit.ras", ts::rawStream({{header, ts::uniform(50, 100, 255)}})));
  expectStopped(bad, "Requires 8 bits per pixel!");
  EXPECT_TRUE(says(server().log(bad.id), "stopped with status 1"));
  expectPrints(queue);
}

TEST_F(Jobs, OnPaperBelowAMillimetreStopAndTheNextOnePrints) {
  const std::string queue = makeQueue();
  // 2 points are 0.7 mm.
  const JobReport bad = server().print(queue, smallRaster(), {"-o", "PageSize=Custom.2x2"});
  expectStopped(bad, "Paper size must not less than 1.0");
  EXPECT_EQ(bad.sent, "");
  expectPrints(queue);
}

TEST_F(Jobs, WithATruncatedRasterDocumentPrintTheWholePagesBeforeTheCut) {
  const std::string queue = makeQueue();
  const std::vector<ts::StreamPage> pages(2, rasterPage("text", 400, 100));
  const std::string whole = ts::rawStream(pages);
  // Cut 1000 bytes before the end: the second page's last rows are missing.
  const std::string cut = whole.substr(0, whole.size() - 1000);
  const JobReport report = server().print(queue, document("cut.ras", cut));
  const plain::Outcome expected = predict(cut, labelSettings(), report.id, queue);
  EXPECT_EQ(expected.frames.size(), 1U);
  ASSERT_EQ(report.frames.size(), 1U);
  EXPECT_EQ(report.frames.begin()->first, frameName(1, report.id));
  EXPECT_EQ(report.sent, commands(2));
}

TEST_F(Jobs, OfAQueueCountTheirPagesOn) {
  const std::string queue = makeQueue();
  const std::string two = raster({rasterPage("text", 400, 100), rasterPage("bars", 400, 100)});
  const JobReport first = server().print(queue, two);
  EXPECT_EQ(first.frames.count(frameName(1, first.id)), 1U);
  EXPECT_EQ(first.frames.count(frameName(2, first.id)), 1U);
  EXPECT_EQ(first.frames.size(), 2U);
  EXPECT_EQ(server().counter(queue + ".pgc"), std::string("\x03\0", 2));
  // With a counter file every page of the job carries its number: 3, told apart by the sequence.
  const JobReport second = server().print(queue, two);
  EXPECT_EQ(second.frames.count(frameName(3, second.id, 0)), 1U);
  EXPECT_EQ(second.frames.count(frameName(3, second.id, 1)), 1U);
  EXPECT_EQ(second.frames.size(), 2U);
  EXPECT_EQ(server().counter(queue + ".pgc"), std::string("\x04\0", 2));
}

TEST_F(Jobs, OfAQueueWithAnUmlautCountInAFileWithoutIt) {
  // The letter is two bytes in UTF-8, neither of which prints in ASCII.
  const std::string queue =
      "Dr\xC3\xBC"
      "ck";
  server().addQueue(queue, "kestra4");
  expectPrints(queue);
  EXPECT_EQ(server().counter("Dr__ck.pgc"), std::string("\x02\0", 2));
}

}  // namespace kestra::cups_tests
