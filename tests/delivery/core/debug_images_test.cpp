// Which of the filter's images go, and that nothing else does.
#include "delivery/core/debug_images.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "delivery/core/settings.h"
#include "tests/delivery/core/frames.h"

namespace kestra::delivery {
namespace {

namespace fs = std::filesystem;
using testing_support::Folder;
using Names = std::vector<std::string>;

constexpr std::uint64_t kSize = 16384;  // whole blocks of any usual file system

// Files whose age is set, the older one first.
class Images : public ::testing::Test {
 protected:
  void make(const std::string& name, std::size_t size = kSize) {
    std::ofstream(folder_ / name, std::ios::binary) << std::string(size, 'x');
    setAge(name);
  }
  void setAge(const std::string& name) {
    timespec times[2] = {};
    times[0] = times[1] = {1700000000 + ++age_ / 2, (age_ % 2) * 1000};
    ASSERT_EQ(utimensat(AT_FDCWD, (folder_ / name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
  }
  std::uint64_t onDisk(const std::string& name) {
    struct stat status = {};
    EXPECT_EQ(lstat((folder_ / name).c_str(), &status), 0);
    return static_cast<std::uint64_t>(status.st_blocks) * 512;
  }
  Names names() {
    Names all;
    for (const auto& entry : fs::directory_iterator(folder_.path())) {
      all.push_back(entry.path().filename());
    }
    std::sort(all.begin(), all.end());
    return all;
  }
  void trim(std::uint64_t bytes) { trimDebugImages(folder_.path(), bytes); }

  Folder folder_;
  long age_ = 0;
};

TEST_F(Images, TheOldestGoUntilTheOthersFitExactly) {
  make("origin_2026-1-2_3_4_5_0.bmp");
  make("dithered_2026-1-2_3_4_5_1.bmp");
  make("origin_2026-1-2_3_4_5_10.bmp");  // newer than _9, though before it in the alphabet
  make("prnimg_2026-1-2_3_4_5_9.bmp");
  const std::uint64_t two =
      onDisk("origin_2026-1-2_3_4_5_10.bmp") + onDisk("prnimg_2026-1-2_3_4_5_9.bmp");
  ASSERT_GE(two, 2 * kSize);
  trim(Settings::kAll);
  EXPECT_EQ(names().size(), 4U);
  trim(two);
  EXPECT_EQ(names(), (Names{"origin_2026-1-2_3_4_5_10.bmp", "prnimg_2026-1-2_3_4_5_9.bmp"}));
  trim(two - 1);
  EXPECT_EQ(names(), Names{"prnimg_2026-1-2_3_4_5_9.bmp"});
}

TEST_F(Images, ALargeOldOneDoesNotStayBesideASmallerOlderOne) {
  make("origin_2026-1-1_1_1_1_0.bmp", 100);
  make("origin_2026-1-1_1_1_1_1.bmp", 10 * kSize);
  make("origin_2026-1-1_1_1_1_2.bmp", kSize);
  trim(onDisk("origin_2026-1-1_1_1_1_2.bmp") + onDisk("origin_2026-1-1_1_1_1_0.bmp"));
  EXPECT_EQ(names(), Names{"origin_2026-1-1_1_1_1_2.bmp"});
}

TEST_F(Images, NoneMeansNoneEvenOfEmptyOnes) {
  make("origin_2026-1-1_1_1_1_0.bmp", 0);
  make("dithered_2026-1-1_1_1_1_1.bmp");
  trim(0);
  EXPECT_EQ(names(), Names{});
}

TEST_F(Images, HolesTakeNoRoom) {
  make("origin_2026-1-1_1_1_1_0.bmp", 0);
  ASSERT_EQ(truncate((folder_ / "origin_2026-1-1_1_1_1_0.bmp").c_str(), off_t{1} << 30), 0);
  setAge("origin_2026-1-1_1_1_1_0.bmp");
  make("origin_2026-1-1_1_1_1_1.bmp");
  trim(onDisk("origin_2026-1-1_1_1_1_0.bmp") + onDisk("origin_2026-1-1_1_1_1_1.bmp"));
  EXPECT_EQ(names().size(), 2U);
}

TEST_F(Images, OtherNamesStay) {
  const Names others = {"0001_origin_2026-1-1_1_1_1_0.bmp",
                        "dithered_2026-1-1_1_1_1_0.bmp.bak",
                        "origin_.bmp",
                        "origin_2026-1-1_1_1_1.bmp",
                        "origin_2026-1-1_1_1_1_.bmp",
                        "origin_2026-1-1_1_1_1_-1.bmp",
                        "origin_2026-1-1_1_1_1_0",
                        "origin_2026-1-1_1_1_1_0_0.bmp",
                        "origin_2026_1_1_1_1_1_0.bmp",
                        "origin_holiday.bmp",
                        "origin_x-1-1_1_1_1_0.bmp",
                        "original_2026-1-1_1_1_1_0.bmp"};
  for (const std::string& name : others) make(name);
  trim(0);
  Names expected = others;
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(names(), expected);
}

TEST_F(Images, LinksFoldersFifosAndFilesOfTwoNamesStay) {
  make("precious");
  make("origin_2026-1-1_1_1_1_1.bmp");
  fs::create_symlink(folder_ / "precious", folder_ / "origin_2026-1-1_1_1_1_2.bmp");
  fs::create_directory(folder_ / "origin_2026-1-1_1_1_1_3.bmp");
  ASSERT_EQ(mkfifo((folder_ / "origin_2026-1-1_1_1_1_4.bmp").c_str(), 0600), 0);
  fs::create_hard_link(folder_ / "precious", folder_ / "origin_2026-1-1_1_1_1_5.bmp");
  trim(0);
  EXPECT_EQ(names(),
            (Names{"origin_2026-1-1_1_1_1_2.bmp", "origin_2026-1-1_1_1_1_3.bmp",
                   "origin_2026-1-1_1_1_1_4.bmp", "origin_2026-1-1_1_1_1_5.bmp", "precious"}));
}

TEST_F(Images, FilesOfSomebodyElseStay) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  make("origin_2026-1-1_1_1_1_0.bmp");
  make("origin_2026-1-1_1_1_1_1.bmp");
  ASSERT_EQ(chown((folder_ / "origin_2026-1-1_1_1_1_0.bmp").c_str(), 12345, 12345), 0);
  trim(0);
  EXPECT_EQ(names(), Names{"origin_2026-1-1_1_1_1_0.bmp"});
}

TEST_F(Images, AFolderBehindALinkAndNoFolderAreLeftAlone) {
  make("origin_2026-1-1_1_1_1_0.bmp");
  const Folder other;
  fs::create_directory_symlink(folder_.path(), other / "link");
  trimDebugImages(other / "link", 0);
  trimDebugImages(other / "none", 0);
  EXPECT_EQ(names().size(), 1U);
}

TEST_F(Images, AWriterGoesOnWithAnImageThatIsGone) {
  make("origin_2026-1-1_1_1_1_0.bmp", 10);
  std::fstream writer(folder_ / "origin_2026-1-1_1_1_1_0.bmp");
  trim(0);
  EXPECT_EQ(names(), Names{});
  EXPECT_TRUE(writer.write("more", 4).flush().good());
}

}  // namespace
}  // namespace kestra::delivery
