// Labels from other computers and phones: they name sizes in their own way, or not at all.
// Why: a size that gets lost on the way prints the label turned in the middle of a larger one.
#include <cups/raster.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "tests/cups/command.h"
#include "tests/cups/cups_case.h"
#include "tests/support/page_makers.h"

namespace kestra::cups_tests {

namespace ts = testing_support;

class Sharing : public CupsCase {
 protected:
  struct Size {
    std::string name;  // the description's
    float width;       // points
    float height;
    std::string settingsName;  // what the filter is told, where that is not the name
  };

  // Prints with options on a queue, and awaits the job on the shared queue `shared` that comes of
  // it. What is printed must be what the server's programs make of the size in the description's
  // words.
  void expectSize(const std::string& queue, const std::string& shared, const Size& size,
                  const std::vector<std::string>& words) {
    SCOPED_TRACE(size.name + " by " + words.back() + " on " + queue);
    const std::string pdf = document("label.pdf", barPdf(1, static_cast<int>(size.width + 0.5F),
                                                         static_cast<int>(size.height + 0.5F)));
    const std::string stream = renderByHand({"pdftopdf", "gstoraster"}, pdf, "application/pdf",
                                            server().ppd("kestra4"), "PageSize=" + size.name);
    JobReport report = printed(queue, pdf, words);
    if (queue != shared) report = server().await(report.id + 1);
    const std::string name = size.settingsName.empty() ? size.name : size.settingsName;
    const plain::Settings settings = labelSettings(name, size.width, size.height);
    // Each job is the first of its queue here: page numbers begin with 1.
    expectPrinted(report, predict(stream, settings, report.id, shared));
  }

  // Every way of asking is tried on a queue of its own, by itself and from another computer.
  void expectEverywhere(const Size& size, const std::vector<std::string>& ways) {
    for (const std::string& way : ways) {
      for (const bool isRemote : {false, true}) {
        const std::string queue = makeQueue() + std::to_string(++queues_);
        server().addQueue(queue, "kestra4");
        if (isRemote) server().addRemoteQueue(queue + "remote", queue);
        expectSize(isRemote ? queue + "remote" : queue, queue, size, {"-o", way});
      }
    }
  }

  int queues_ = 0;
};

TEST_F(Sharing, PrintsNamedSizes) {
  expectEverywhere({"w283h142", 283.4646F, 141.7323F, ""},
                   {"PageSize=w283h142", "PageSize=100x50mm", "media=100x50mm",
                    "media=custom_100x50mm_100x50mm"});
  expectEverywhere({"w227h170", 226.7717F, 170.0787F, ""}, {"media=80x60mm"});
}

TEST_F(Sharing, PrintsSizesWithoutMargins) {
  expectEverywhere({"w288h288", 288, 288, ""}, {"media=4x4.Borderless", "PageSize=4x4.Borderless"});
  expectEverywhere({"w142h85", 142.0441F, 85.0394F, ""},
                   {"media=50.11x30mm.Borderless", "media=50x30mm"});
}

// 74.53 mm are 211.265 points, and 595.65 dots: 596, a multiple of 4. 33 mm are 93.543 points.
TEST_F(Sharing, PrintsCustomSizesToTheHundredth) {
  expectEverywhere({"Custom.74.53x33mm", 211.2652F, 93.5433F, "Custom"},
                   {"PageSize=Custom.74.53x33mm", "media=Custom.74.53x33mm",
                    "media=custom_74.53x33mm_74.53x33mm"});
}

TEST_F(Sharing, WarnsOfASizeThatThePrinterDoesNotHave) {
  const std::string queue = makeQueue();
  const std::string pdf = document("bars.pdf", barPdf(1, 288, 432));
  const JobReport report = printed(queue, pdf, {"-o", "media=A4"});
  EXPECT_EQ(report.message,
            "The printer does not have the page size \"A4, 210 x 297 mm\"; it prints on w288h432 "
            "(Label 102 x 152 mm (4 x 6 inch)).");
  EXPECT_EQ(bars(report), std::vector<int>{1});
}

// A phone's page of 796 x 400 dots at 203 dpi, black from the left edge to the middle in its upper
// half; 99.6 x 50 mm are within half a millimetre of 100 x 50 mm.
TEST_F(Sharing, GivesDotsWithoutASizeTheirOwn) {
  for (const cups_mode_t mode : {CUPS_RASTER_WRITE_PWG, CUPS_RASTER_WRITE_APPLE}) {
    const bool isPwg = mode == CUPS_RASTER_WRITE_PWG;
    SCOPED_TRACE(isPwg ? "PWG" : "Apple");
    const std::string page = document(isPwg ? "page.pwg" : "page.urf", "");
    const int file = ::open(page.c_str(), O_WRONLY);
    cups_raster_t* raster = cupsRasterOpen(file, mode);
    cups_page_header2_t header;
    std::memset(&header, 0, sizeof header);
    header.HWResolution[0] = header.HWResolution[1] = 203;
    header.cupsWidth = header.cupsBytesPerLine = 796;
    header.cupsHeight = 400;
    header.cupsBitsPerColor = header.cupsBitsPerPixel = 8;
    header.cupsNumColors = 1;
    header.cupsColorSpace = CUPS_CSPACE_SW;
    cupsRasterWriteHeader2(raster, &header);
    for (int y = 0; y < 400; ++y) {
      std::vector<unsigned char> row(796, 255);
      if (y < 200) std::fill_n(row.begin(), 398, 0);
      cupsRasterWritePixels(raster, row.data(), 796);
    }
    cupsRasterClose(raster);
    ::close(file);
    const std::string queue = makeQueue() + std::to_string(++queues_);
    server().addQueue(queue, "kestra4");
    const JobReport report = printed(queue, page);
    // ((832.02 - 796) / 2 + 7) / 8 = 3.1 margin bytes; the picture may be drawn a dot wider.
    const Box box = blackBox(onlyFrame(report), 3);
    EXPECT_NEAR(box.left, 0, 1);
    EXPECT_NEAR(box.top, 0, 1);
    EXPECT_NEAR(box.right, 398, 2);
    EXPECT_NEAR(box.bottom, 200, 2);
  }
}

}  // namespace kestra::cups_tests
