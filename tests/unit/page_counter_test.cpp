// Tests the page counter's marker files: two bytes per queue, kept from job to job.
#include "printer/page_counter.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

class PageCounter : public SpoolTest {
 protected:
  void SetUp() override {
    SpoolTest::SetUp();
    makeDataFolder();
  }
  std::string marker(const std::string& queue) const { return kData + "/" + queue + ".pgc"; }

  /// What comes of a counter of 0x1234.
  static std::uint16_t read(const char* queue = "labels") {
    std::uint16_t counter = 0x1234;
    readPageCounter(queue, &counter);
    return counter;
  }
  std::uint16_t readFrom(const Bytes& bytes) {
    writeBytes(marker("labels"), bytes);
    return read();
  }
};

TEST_F(PageCounter, IsStoredLittleEndian) {
  storePageCounter("labels", 8999);  // 0x2327
  EXPECT_EQ((Bytes{0x27, 0x23}), readBytes(marker("labels")));
  EXPECT_EQ(Names{"labels.pgc"}, namesIn(kData));
}

TEST_F(PageCounter, ComesBackAsItWasStored) {
  for (const int value : {0, 1, 255, 256, 9000, 65535}) {
    storePageCounter("labels", static_cast<std::uint16_t>(value));
    EXPECT_EQ(value, read());
  }
}

TEST_F(PageCounter, IsReadFromAsManyBytesAsThereAre) {
  EXPECT_EQ(0x1234, readFrom({}));      // an empty marker changes nothing
  EXPECT_EQ(0x1256, readFrom({0x56}));  // one byte replaces the low byte
  EXPECT_EQ(0x7856, readFrom({0x56, 0x78}));
  EXPECT_EQ(0x7856, readFrom({0x56, 0x78, 0x9A, 0xBC}));  // more are ignored
}

TEST_F(PageCounter, StaysAsItIsWithoutAMarker) {
  EXPECT_EQ(0x1234, read());
  std::filesystem::remove_all("var");
  EXPECT_EQ(0x1234, read());
}

TEST_F(PageCounter, BelongsToItsQueue) {
  storePageCounter("a", 5);
  storePageCounter("b", 6);
  EXPECT_EQ(5, read("a"));
  EXPECT_EQ((Names{"a.pgc", "b.pgc"}), namesIn(kData));
}

TEST_F(PageCounter, ReplacesALongerMarkerAsAWhole) {
  writeBytes(marker("labels"), {1, 2, 3, 4, 5});
  storePageCounter("labels", 258);
  EXPECT_EQ((Bytes{2, 1}), readBytes(marker("labels")));
  EXPECT_EQ(Names{"labels.pgc"}, namesIn(kData));
}

TEST_F(PageCounter, IsNotStoredWithoutItsFolder) {
  std::filesystem::remove_all(kData);
  storePageCounter("labels", 5);
  EXPECT_FALSE(std::filesystem::exists(kData));
}

TEST_F(PageCounter, OfAnEmptyQueueNameHasAMarkerToo) {
  storePageCounter("", 5);
  EXPECT_EQ(Names{".pgc"}, namesIn(kData));
  EXPECT_EQ(5, read(""));
}

TEST_F(PageCounter, TakesOrdinaryQueueNamesWithDotsAndUnderscores) {
  storePageCounter("Dr__ck.2-b", 5);
  EXPECT_EQ(Names{"Dr__ck.2-b.pgc"}, namesIn(kData));
  storePageCounter("..", 6);  // "...pgc" is a plain name
  EXPECT_EQ((Names{"...pgc", "Dr__ck.2-b.pgc"}), namesIn(kData));
}

TEST_F(PageCounter, IsReadThroughNoLinkAndNoFifo) {
  writeBytes("target", {0x56, 0x78});
  std::filesystem::create_symlink("../../../../../target", marker("linked"));
  ASSERT_EQ(0x56, readBytes(marker("linked")).at(0));  // the link does lead there
  ASSERT_EQ(0, mkfifo(marker("fifo").c_str(), 0600));
  EXPECT_EQ(0x1234, read("linked"));
  EXPECT_EQ(0x1234, read("fifo"));  // without waiting for a writer
  storePageCounter("linked", 5);    // replaces the link, not what it leads to
  EXPECT_EQ((Bytes{5, 0}), readBytes(marker("linked")));
  EXPECT_EQ((Bytes{0x56, 0x78}), readBytes("target"));
}

TEST_F(PageCounter, IsNotReadFromSomebodyElsesFolder) {
  writeBytes(marker("labels"), {0x56, 0x78});
  std::filesystem::rename(kData, kTmp + "/elsewhere");
  std::filesystem::create_symlink("elsewhere", kData);
  ASSERT_EQ(0x56, readBytes(marker("labels")).at(0));  // the link does lead there
  EXPECT_EQ(0x1234, read());
  std::filesystem::remove(kData);
  std::filesystem::rename(kTmp + "/elsewhere", kData);
  EXPECT_EQ(0x7856, read());  // the folder itself again
}

TEST_F(PageCounter, IsNeverStoredOutsideItsFolder) {
  std::filesystem::create_directory(kData + "/sub");
  for (const char* queue : {"../outside", "sub/inside", "/outside", "sub/../inside"}) {
    storePageCounter(queue, 5);
  }
  EXPECT_EQ(Names{"kcv6data"}, namesIn(kTmp));
  EXPECT_EQ(Names{"sub"}, namesIn(kData));
  EXPECT_EQ(Names{}, namesIn(kData + "/sub"));
}

}  // namespace
}  // namespace kestra
