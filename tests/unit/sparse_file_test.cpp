// Tests files that keep blank stretches as holes: whoever reads one finds every byte.
#include "printer/sparse_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "filter/base/file.h"
#include "tests/unit/full_disk.h"
#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

constexpr std::size_t kBlock = 4096;

class SparseFile : public SpoolTest {
 protected:
  // What a file holds after `header` bytes of 'h' and the data behind them.
  Bytes written(std::size_t header, const Bytes& data) {
    const FilePtr file = openPrivateFile("tmp/image");
    for (std::size_t i = 0; i < header; ++i) std::fputc('h', file.get());
    std::fflush(file.get());
    EXPECT_TRUE(writeSparse(fileno(file.get()), header, data.data(), data.size()));
    return readBytes("tmp/image");
  }

  void expectEveryByte(std::size_t header, const Bytes& data) {
    Bytes wanted(header, 'h');
    wanted.insert(wanted.end(), data.begin(), data.end());
    // Not compared by EXPECT_EQ, which would print a page of bytes.
    EXPECT_TRUE(wanted == written(header, data)) << header << " + " << data.size();
  }
};

TEST_F(SparseFile, HoldsEveryByteWhereverBlankStretchesBeginAndEnd) {
  // Ink in one place of four blocks of blank paper: at both ends and around every block's edge.
  for (const std::size_t header : {std::size_t{0}, std::size_t{1078}, kBlock, kBlock + 1}) {
    for (const std::size_t size : {4 * kBlock - 1, 4 * kBlock, 4 * kBlock + 1, 5 * kBlock - 1078}) {
      for (std::size_t place = 0; place < size; place += place % kBlock == 1 ? kBlock - 2 : 1) {
        if (place % kBlock > 1 && place % kBlock < kBlock - 1 && place != size - 1) continue;
        Bytes data(size, 0);
        data[place] = 1;
        expectEveryByte(header, data);
        if (HasFailure()) return;
      }
    }
  }
}

TEST_F(SparseFile, HoldsEveryByteOfBlankPaperAndOfNone) {
  for (const std::size_t header : {std::size_t{0}, std::size_t{1078}}) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, kBlock - 1078, kBlock,
                                   2 * kBlock - 1078, 7 * kBlock + 5}) {
      expectEveryByte(header, Bytes(size, 0));
      expectEveryByte(header, Bytes(size, 0xFF));
    }
  }
}

TEST_F(SparseFile, HoldsEveryByteBetweenManyBlankStretches) {
  Bytes data(64 * kBlock, 0);
  for (std::size_t block = 0; block < 64; ++block) {
    // A bit for each block: blank and inked ones in runs of 1, 2, 3, ...
    if ((0xF0E3C86B2D4A9715ULL >> block & 1) != 0) data[block * kBlock + block * 61] = 0x80;
  }
  expectEveryByte(0, data);
  expectEveryByte(1078, data);
}

TEST_F(SparseFile, TakesNoRoomForBlankPaper) {
  constexpr std::size_t kPage = 256 * kBlock;
  const auto roomOf = [](const char* path) {
    struct stat status = {};
    EXPECT_EQ(0, stat(path, &status));
    return static_cast<std::size_t>(status.st_blocks) * 512;
  };
  writeBytes("tmp/ink", Bytes(kPage, 1));
  writeBytes("tmp/hole", {});
  std::filesystem::resize_file("tmp/hole", kPage);
  if (roomOf("tmp/ink") < kPage || roomOf("tmp/hole") > 0) {
    GTEST_SKIP() << "this file system has no holes, or does not tell the room that a file takes";
  }
  Bytes page(kPage, 0);
  page[kPage / 2] = 1;
  written(1078, page);
  // The header's block, the one with ink and the last, which is not whole: 12 KiB, and some for
  // the file system's own tables; or for what may follow, of which there are some that keep 64 KiB
  // behind each write that makes a file longer.
  EXPECT_GE(64 * kBlock, roomOf("tmp/image"));
}

TEST_F(SparseFile, TellsThatTheDiskIsFull) {
  const FilePtr file = openPrivateFile("tmp/image");
  const Bytes ink(4 * kBlock, 1);
  const Bytes blank(4 * kBlock, 0);
  const FullDisk disk(2 * kBlock);
  EXPECT_FALSE(writeSparse(fileno(file.get()), 0, ink.data(), ink.size()));
  EXPECT_EQ(2 * kBlock, readBytes("tmp/image").size()) << "what had room stays";
  EXPECT_FALSE(writeSparse(fileno(file.get()), 0, blank.data(), blank.size()));
}

}  // namespace
}  // namespace kestra
