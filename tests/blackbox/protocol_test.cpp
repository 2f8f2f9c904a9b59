// The setting command and the page frame, byte by byte, with examples worked out by hand.
// Why: the printer has no other input; one shifted byte prints nothing or garbage.
#include <gtest/gtest.h>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

TEST(Protocol, FrameOfASmallPageByHand) {
  // Row 0: sixteen levels above 128 -> FF FF, 16 dots. Row 1: only the first pixel above -> 80 00.
  JobCase job = onePage(16, 2, "solid");
  for (std::size_t x = 17; x < 32; ++x) job.pages[0].pixels[x] = 128;
  job.pages[0].pixels[16] = 129;
  const std::string frame = frameOf(job);
  // Label: gaps (01), 16 x 25.4 / 203 mm back to dots = 16, height 2, gap 2 mm = 15.98 -> 15,
  // page 1.
  EXPECT_EQ(frame.substr(0, 14), hex("53 49 5A 01 10 00 02 00 0F 00 00 00 01 00"));
  // Margin ((812 - 16) / 2 + 7) / 8 = 50.6 -> 50 bytes; record = 2 + 50 + 2 = 54 = 0x36; 2 rows.
  EXPECT_EQ(frame.substr(14, 8), hex("1D 76 30 00 36 00 02 00"));
  const std::string margin(50, '\0');
  EXPECT_EQ(frame.substr(22),
            hex("10 00") + margin + hex("FF FF") + hex("01 00") + margin + hex("80 00"));
}

TEST(Protocol, SendsOneSettingCommandPerPageAndNothingElse) {
  JobCase job = onePage(16, 2, "solid");
  job.addPage(30, 5, "noise");
  job.addPage(8, 1, "blank");
  const std::string one = hex("1B 73 01 00 00 02 01");
  EXPECT_EQ(expectAsPlain(job).output, one + one + one);
}

TEST(Protocol, AnnouncesTheGapInDotsCutToWholeOnes) {
  // mm / 25.4 x 203: 0 -> 0, 1 -> 7.99, 3 -> 23.98, 25 -> 199.8, -1 -> -7.99 = -7 = FFF9.
  const std::vector<std::pair<int, std::string>> gaps = {
      {0, "00 00"}, {1, "07 00"}, {3, "17 00"}, {25, "C7 00"}, {-1, "F9 FF"}};
  for (const auto& [mm, bytes] : gaps) {
    SCOPED_TRACE(mm);
    JobCase job = onePage(16, 2, "solid");
    job.choose("GapsHeight", std::to_string(mm));
    job.settings.gapsHeight = mm;
    EXPECT_EQ(frameOf(job).substr(8, 2), hex(bytes));
  }
}

TEST(Protocol, AnnouncesSomePagesOneDotSmaller) {
  // 100 dots at 203 dpi are 12.5123148 mm as a float, 99.999996 dots: 99 = 0x63. 10 dots stay 10.
  EXPECT_EQ(frameOf(onePage(100, 10, "noise")).substr(4, 4), hex("63 00 0A 00"));
}

TEST(Protocol, UsesTheHorizontalResolutionForTheHeightToo) {
  // 40 rows at 406 dpi are 2.5025 mm; at 203 dots per inch that is 20 dots.
  JobCase job = onePage(16, 40, "noise");
  job.pages[0].header.HWResolution[1] = 406;
  EXPECT_EQ(frameOf(job).substr(6, 2), hex("14 00"));
}

TEST(Protocol, WrapsHeightsAndCountsAt16Bits) {
  // 65537 rows of 8 dots: 65537 = 0x10001. Only the low 16 bits are written.
  JobCase job = onePage(8, 65537, "solid");
  job.mediaWidth("3");  // 8.46 dots: a margin of 0 keeps the frame small
  EXPECT_EQ(frameOf(job).substr(20, 2), hex("01 00"));
  // A row of 65536 dots counts 0. 24000 points are 67666.7 dots: margin ((67666.7 - 65536) / 2 + 7)
  // / 8 = 134, record 2 + 134 + 8192 = 8328 = 0x2088.
  JobCase wide = onePage(65536, 2, "solid");
  wide.mediaWidth("24000");
  const std::string frame = frameOf(wide);
  EXPECT_EQ(frame.substr(18, 2), hex("88 20"));
  EXPECT_EQ(frame.substr(22, 3), hex("00 00 00"));
  EXPECT_EQ(frame.back(), '\xFF');
}

TEST(Protocol, PrintsTheDotCountOfEachRowLowByteFirst) {
  // 300 dots = 0x012C; margin ((812 - 300) / 2 + 7) / 8 = 32.9 -> 32.
  EXPECT_EQ(frameOf(onePage(300, 1, "solid")).substr(22, 2), hex("2C 01"));
}

TEST(Protocol, LeavesABlankPageBlank) {
  const std::string frame = frameOf(onePage(48, 4, "blank"));
  EXPECT_EQ(frame.substr(22), std::string(frame.size() - 22, '\0'));
}

TEST(Protocol, PrintsANegativePageSolidBecauseNoByteStaysZero) {
  // 0 and 1 become 255 and 254; both are dots.
  JobCase job = onePage(8, 1, "noise");
  job.negative();
  EXPECT_EQ(frameOf(job).back(), '\xFF');
}

}  // namespace kestra::blackbox
