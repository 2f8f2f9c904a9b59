// Pages of any width through the server's whole chain, told by one upright bar.
// Why: a page that the filter prints slanted shows only behind everything that makes the page.
#include <gtest/gtest.h>

#include "tests/cups/command.h"
#include "tests/cups/cups_case.h"

namespace kestra::cups_tests {

namespace ts = testing_support;

class Fit : public CupsCase {
 protected:
  // The log line of a job that holds the text, without what stands before the message.
  std::string line(int job, const std::string& text) {
    for (const std::string& line : server().log(job)) {
      const std::size_t at = line.find(text);
      if (at != std::string::npos) return line.substr(at);
    }
    return "";
  }

  // Bytes 18 and 19 are a record's length: count, margin and dots.
  static std::size_t recordBytes(const std::string& frame) {
    return static_cast<std::uint8_t>(frame[18]) + 256U * static_cast<std::uint8_t>(frame[19]);
  }
};

TEST_F(Fit, StandsBeforeTheFilterForEveryKindOfDocument) {
  // 70 mm are 559 dots: 1 dot of 0.1 mm is missing.
  const std::string queue = makeQueue();
  const std::vector<std::string> documents = {
      document("fit.pdf", barPdf(1, 198, 113)), document("fit.ps", barPostScript(1, 198, 113)),
      document("fit.txt", "A label\n"), raster({rasterPage("bars", 559, 100)})};
  for (const std::string& document : documents) {
    const JobReport report = printed(queue, document, {"-o", "PageSize=Custom.70x40mm"});
    EXPECT_EQ(report.frames.size(), 1U) << document;
    EXPECT_EQ(line(report.id, "Page 1 is 559"),
              "Page 1 is 559 dots wide and gets 0.1 mm (1 dot) of paper on the right, so that it "
              "prints straight")
        << document;
    EXPECT_NE(line(report.id, "header.cupsWidth:560"), "") << document;
  }
}

TEST_F(Fit, PrintsAPictureOfAnyWidthStraight) {
  // 553 x 300 pixels at one pixel a dot, a bar from the upper to the lower edge.
  const std::string picture = server().document("odd.png");
  mustRun({"gs", "-q", "-dBATCH", "-dNOPAUSE", "-dSAFER", "-sDEVICE=pnggray", "-r72", "-g553x300",
           "-sOutputFile=" + picture, "-c", "0 setgray 100 0 50 300 rectfill showpage"});
  const std::string frame = onlyFrame(printed(makeQueue(), picture, {"-o", "ppi=203"}));
  // 553 + 3 = 556 dots are 70 bytes; margin ((832.02 - 556) / 2 + 7) / 8 = 18.1.
  EXPECT_EQ(recordBytes(frame), 2U + 18 + 70);
  EXPECT_EQ(blackBox(frame, 18), (Box{100, 0, 150, 300}));
}

TEST_F(Fit, PrintsSizesTypedByHandStraight) {
  // 558, 559 and 560 dots. The bar is 1 inch wide and its upper part lies on the label, so a
  // slanted one would be no rectangle.
  const std::string queue = makeQueue();
  for (const char* size : {"PageSize=Custom.69.9x40mm", "media=Custom.70x40mm", "PageSize=70x40mm",
                           "media=Custom.70.07x40mm"}) {
    SCOPED_TRACE(size);
    const std::string pdf = document("typed.pdf", barPdf(1, 198, 113));
    const std::string frame = onlyFrame(printed(queue, pdf, {"-o", size}));
    // 560 dots are 70 bytes; margin ((832.02 - 560) / 2 + 7) / 8 = 17.9.
    EXPECT_EQ(recordBytes(frame), 2U + 17 + 70);
    const Box box = blackBox(frame, 17);
    EXPECT_EQ(box.right - box.left, 203);
    EXPECT_NEAR(box.left, 0, 1);
  }
}

TEST_F(Fit, CutsAPageWiderThanTheHeadAndSaysHowMuch) {
  // 850 points are 2397 dots, 1565 more than the head has: 782 go on the left, 97.8 mm, and 783 on
  // the right, 98.0 mm. The fifth page's bar ends 5 inches from the left edge: 1015 - 782 = 233
  // dots of it are left. The page has 900 / 72 * 203 = 2537 rows, the bar ends 203 above the last.
  const JobReport report = printed(makeQueue(), document("wide.pdf", barPdf(5, 850, 900)),
                                   {"-o", "PageSize=Custom.850x900", "-o", "page-ranges=5"});
  EXPECT_EQ(line(report.id, "Page 1 is"),
            "Page 1 is 195.8 mm (1565 dots) wider than the print head: 97.8 mm (782 dots) on the "
            "left and 98.0 mm (783 dots) on the right are not printed; choose a narrower page "
            "size");
  // 832 dots are 104 bytes, which need no margin.
  const std::string frame = onlyFrame(report);
  EXPECT_EQ(recordBytes(frame), 2U + 104);
  EXPECT_EQ(blackBox(frame, 0), (Box{0, 2131, 233, 2334}));
}

}  // namespace kestra::cups_tests
