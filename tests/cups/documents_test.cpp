// Every kind of document that a user may send, through the server's own programs.
// Why: each kind takes another way to the filter; a wrong one prints inverted, scaled or not at
// all.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/cups/command.h"
#include "tests/cups/cups_case.h"
#include "tests/support/page_makers.h"

namespace kestra::cups_tests {

namespace ts = testing_support;

class Documents : public CupsCase {};

TEST_F(Documents, PdfOfSeveralPagesGivesAFramePerPage) {
  const std::string queue = makeQueue();
  const JobReport report = printed(queue, document("bars.pdf", barPdf(4, 288, 432)));
  EXPECT_EQ(report.errors, std::vector<std::string>{});
  EXPECT_EQ(report.sent, commands(4));
  ASSERT_EQ(report.frames.size(), 4U);
  for (int page = 1; page <= 4; ++page) {
    const auto frame = report.frames.find(frameName(page, report.id));
    ASSERT_NE(frame, report.frames.end()) << page;
    // 4 inches at 203 dpi are 812 dots, 6 inches 1218; a record is 2 + 2 + 102 bytes.
    EXPECT_EQ(frame->second.size(), 22U + 1218 * 106);
  }
  EXPECT_EQ(bars(report), (std::vector<int>{1, 2, 3, 4}));
  // The queue's next page is number 5.
  EXPECT_EQ(server().counter(queue + ".pgc"), std::string("\x05\0", 2));
}

TEST_F(Documents, PostScriptPrintsLikePdf) {
  const JobReport report = printed(makeQueue(), document("bars.ps", barPostScript(2, 288, 432)));
  EXPECT_EQ(report.errors, std::vector<std::string>{});
  EXPECT_EQ(report.sent, commands(2));
  EXPECT_EQ(bars(report), (std::vector<int>{1, 2}));
}

TEST_F(Documents, TextPrintsAsTheServersProgramsDrawIt) {
  const std::string queue = makeQueue();
  const std::string text = document("note.txt", "A label\nof two lines\n\fand a second page\n");
  const std::string stream = renderByHand({"texttopdf", "pdftopdf", "gstoraster"}, text,
                                          "text/plain", server().ppd("kestra4"), "");
  const JobReport report = server().print(queue, text);
  const plain::Outcome expected = predict(stream, labelSettings(), report.id, queue);
  EXPECT_EQ(expected.frames.size(), 2U);
  expectPrinted(report, expected);
}

TEST_F(Documents, PngPrintsAsLargeAsThePicture) {
  // A picture of 400 x 500 pixels is enlarged until it fills the width of 4 x 6 inches: 812 dots,
  // and 812 * 500 / 400 = 1015 rows, not the page's 1218.
  const std::string picture = server().document("picture.png");
  mustRun({"gs", "-q", "-dBATCH", "-dNOPAUSE", "-dSAFER", "-sDEVICE=pnggray", "-r100", "-g400x500",
           "-sOutputFile=" + picture, "-c", "0.5 setgray 72 36 144 72 rectfill showpage"});
  const std::string queue = makeQueue();
  const std::string stream = renderByHand({"imagetoraster"}, picture, "image/png",
                                          server().ppd("kestra4"), "HalftoneType=Ordered");
  const JobReport report = server().print(queue, picture, {"-o", "HalftoneType=Ordered"});
  plain::Settings settings = labelSettings();
  settings.halftone = 2;
  const plain::Outcome expected = predict(stream, settings, report.id, queue);
  expectPrinted(report, expected);
  // 812 dots are 102 bytes, with margin and count 106 = 0x6A; 1015 = 0x03F7; low byte first.
  EXPECT_EQ(onlyFrame(report).substr(18, 4), std::string("\x6A\0\xF7\x03", 4));
}

TEST_F(Documents, RarePicturesGoTheWayOfTheUsualOnes) {
  std::string grey = "P5 4 5 255\n";  // it fills the width of the paper
  for (int i = 0; i < 20; ++i) grey += static_cast<char>(12 * i);
  const std::string picture = document("picture.pgm", grey);
  const std::string queue = makeQueue();
  const std::string stream = renderByHand({"imagetoraster"}, picture, "image/x-portable-graymap",
                                          server().ppd("kestra4"), "");
  const JobReport report = server().print(queue, picture);
  expectPrinted(report, predict(stream, labelSettings(), report.id, queue));
  EXPECT_GT(server().lineOf(report.id, "/kestrasize"), 0);
}

TEST_F(Documents, RasterDocumentReachesTheFilterUnchanged) {
  const std::string queue = makeQueue();
  const std::vector<ts::StreamPage> pages = {rasterPage("photo", 812, 1218),
                                             rasterPage("bars", 400, 240)};
  const JobReport report =
      server().print(queue, raster(pages), {"-o", "HalftoneType=Stucki", "-o", "Brightness=-20"});
  plain::Settings settings = labelSettings();
  settings.halftone = 4;
  settings.brightness = -20;
  expectPrinted(report, predict(ts::writeStream(pages), settings, report.id, queue));
}

TEST_F(Documents, StencilPrintsOnTheWidePrinter) {
  const std::string queue = "StencilQueue";
  server().addQueue(queue, "kestraa4");
  const std::vector<ts::StreamPage> pages = {rasterPage("photo", 836, 500)};
  const JobReport report = server().print(
      queue, raster(pages),
      {"-o", "PageSize=Tattoo_A6", "-o", "HalftoneType=Tattoo", "-o", "Resolution=203dpi"});
  plain::Settings settings = labelSettings();
  settings.pageSize = "Tattoo_A6";
  // 105 x 148 mm, 0.52 points of margin left and right.
  const float points[6] = {297.637817382812F, 419.527557373047F, 0.519999980927F, 0,
                           297.117828369141F, 419.527557373047F};
  std::memcpy(settings.points, points, sizeof points);
  settings.maxMediaPoints = 612.900024414062;
  // This printer's own defaults.
  settings.paperType = "Continue";
  settings.gapsHeight = 0;
  settings.halftone = 8;
  expectPrinted(report, predict(ts::writeStream(pages), settings, report.id, queue));
}

}  // namespace kestra::cups_tests
