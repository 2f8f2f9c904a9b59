// Tests files in the spool: whoever looks into the folder sees a frame whole under its name, or
// nothing.
#include "printer/spool_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "tests/unit/full_disk.h"
#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

// Without a name until it is published, and with a hidden one on systems that know no other way.
class SpoolFileTest : public SpoolTest, public testing::WithParamInterface<bool> {};

TEST_P(SpoolFileTest, AppearsUnderItsNameOnlyWhenPublished) {
  SpoolFile file("tmp", GetParam());
  ASSERT_TRUE(file.isOpen());
  ASSERT_TRUE(file.write("abc", 3));
  const Names before = namesIn("tmp");
  ASSERT_GE(1U, before.size());
  for (const std::string& name : before) EXPECT_EQ('.', name[0]);
  ASSERT_TRUE(file.publishAs("tmp/frame.dat"));
  EXPECT_EQ((Bytes{'a', 'b', 'c'}), readBytes("tmp/frame.dat"));
}

TEST_P(SpoolFileTest, LeavesOnlyItsFinalName) {
  {
    SpoolFile file("tmp", GetParam());
    ASSERT_TRUE(file.write("abc", 3));
    ASSERT_TRUE(file.publishAs("tmp/frame.dat"));
  }
  EXPECT_EQ(Names{"frame.dat"}, namesIn("tmp"));
}

TEST_P(SpoolFileTest, LeavesNothingWhenItWasNotPublished) {
  {
    SpoolFile file("tmp", GetParam());
    ASSERT_TRUE(file.write("abc", 3));
  }
  EXPECT_EQ(Names{}, namesIn("tmp"));
}

TEST_P(SpoolFileTest, IsReadableByItsOwnerAlone) {
  const mode_t before = umask(0);
  SpoolFile file("tmp", GetParam());
  umask(before);
  ASSERT_TRUE(file.publishAs("tmp/frame.dat"));
  EXPECT_EQ(std::filesystem::perms(0600), std::filesystem::status("tmp/frame.dat").permissions());
}

TEST_P(SpoolFileTest, TakesNoNameThatIsTaken) {
  writeBytes("tmp/frame.dat", {'o', 'l', 'd'});
  SpoolFile file("tmp", GetParam());
  ASSERT_TRUE(file.write("new", 3));
  errno = 0;
  EXPECT_FALSE(file.publishAs("tmp/frame.dat"));
  EXPECT_EQ(EEXIST, errno);
  EXPECT_EQ((Bytes{'o', 'l', 'd'}), readBytes("tmp/frame.dat"));
  EXPECT_TRUE(file.publishAs("tmp/frame2.dat"));  // another name is still possible
  EXPECT_EQ((Bytes{'n', 'e', 'w'}), readBytes("tmp/frame2.dat"));
}

TEST_P(SpoolFileTest, ReplacesAFileAsAWhole) {
  writeBytes("tmp/queue.pgc", {'o', 'l', 'd', 'e', 'r'});
  {
    SpoolFile file("tmp", GetParam());
    ASSERT_TRUE(file.write("ab", 2));
    EXPECT_EQ(5U, readBytes("tmp/queue.pgc").size());  // untouched until then
    EXPECT_TRUE(file.replace("tmp/queue.pgc"));
  }
  EXPECT_EQ((Bytes{'a', 'b'}), readBytes("tmp/queue.pgc"));
  EXPECT_EQ(Names{"queue.pgc"}, namesIn("tmp"));
}

TEST_P(SpoolFileTest, ReplacesALinkAndNotItsTarget) {
  writeBytes("target", {'k', 'e', 'e', 'p'});
  std::filesystem::create_symlink("../target", "tmp/queue.pgc");
  SpoolFile file("tmp", GetParam());
  ASSERT_TRUE(file.write("ab", 2));
  EXPECT_TRUE(file.replace("tmp/queue.pgc"));
  EXPECT_FALSE(std::filesystem::is_symlink("tmp/queue.pgc"));
  EXPECT_EQ((Bytes{'k', 'e', 'e', 'p'}), readBytes("target"));
}

TEST_P(SpoolFileTest, IsNotOpenWithoutItsFolder) {
  SpoolFile missing("nowhere", GetParam());
  EXPECT_FALSE(missing.isOpen());
  writeBytes("plain", {1});
  SpoolFile notAFolder("plain", GetParam());
  EXPECT_FALSE(notAFolder.isOpen());
}

TEST_P(SpoolFileTest, WritesPiecesBehindEachOther) {
  SpoolFile file("tmp", GetParam());
  EXPECT_TRUE(file.write("ab", 2));
  EXPECT_TRUE(file.write("", 0));
  EXPECT_TRUE(file.write("c", 1));
  ASSERT_TRUE(file.publishAs("tmp/frame.dat"));
  EXPECT_EQ((Bytes{'a', 'b', 'c'}), readBytes("tmp/frame.dat"));
}

TEST_P(SpoolFileTest, WritesTwoPlacesAsOne) {
  SpoolFile file("tmp", GetParam());
  EXPECT_TRUE(file.write("ab", 2, "cde", 3));
  EXPECT_TRUE(file.write("", 0, "f", 1));
  EXPECT_TRUE(file.write("g", 1, nullptr, 0));
  ASSERT_TRUE(file.publishAs("tmp/frame.dat"));
  EXPECT_EQ((Bytes{'a', 'b', 'c', 'd', 'e', 'f', 'g'}), readBytes("tmp/frame.dat"));
}

TEST_P(SpoolFileTest, TellsThatTheDiskIsFullInEitherOfTwoPlaces) {
  const Bytes large(10000, 7);
  for (const bool first : {true, false}) {
    const FullDisk full(4096);
    SpoolFile file("tmp", GetParam());
    errno = 0;
    EXPECT_FALSE(first ? file.write(large.data(), large.size(), "x", 1)
                       : file.write("x", 1, large.data(), large.size()));
    EXPECT_EQ(EFBIG, errno);  // what this kind of full disk answers
  }
  EXPECT_EQ(Names{}, namesIn("tmp"));
}

TEST_P(SpoolFileTest, TellsThatTheDiskIsFull) {
  const Bytes frame(10000, 7);
  {
    const FullDisk full(4096);
    SpoolFile file("tmp", GetParam());
    errno = 0;
    EXPECT_FALSE(file.write(frame.data(), frame.size()));
    EXPECT_NE(0, errno);
  }
  EXPECT_EQ(Names{}, namesIn("tmp"));
}

TEST_P(SpoolFileTest, GivesEachFileUnderWayANameOfItsOwn) {
  SpoolFile first("tmp", GetParam());
  SpoolFile second("tmp", GetParam());
  ASSERT_TRUE(first.write("1", 1));
  ASSERT_TRUE(second.write("2", 1));
  ASSERT_TRUE(second.publishAs("tmp/b"));
  ASSERT_TRUE(first.publishAs("tmp/a"));
  EXPECT_EQ(Bytes{'1'}, readBytes("tmp/a"));
  EXPECT_EQ(Bytes{'2'}, readBytes("tmp/b"));
}

INSTANTIATE_TEST_SUITE_P(Each, SpoolFileTest, testing::Bool(),
                         [](const auto& way) { return way.param ? "Nameless" : "Hidden"; });

// What a killed job of the same process number left behind stops no counter.
TEST_F(SpoolTest, AReplacementMindsNoLeavingsOfItsOwnName) {
  const std::string leaving = "tmp/.part_" + std::to_string(getpid());
  writeBytes("tmp/queue.pgc", {'o', 'l', 'd'});
  writeBytes(leaving, {'h', 'a', 'l', 'f'});
  SpoolFile file("tmp");
  ASSERT_TRUE(file.write("ab", 2));
  EXPECT_TRUE(file.replace("tmp/queue.pgc"));
  EXPECT_EQ((Bytes{'a', 'b'}), readBytes("tmp/queue.pgc"));
}

// Where folders can hold files without a name, a job that is killed leaves nothing at all.
TEST_F(SpoolTest, AFileUnderWayHasNoName) {
  const int probe = open("tmp", O_TMPFILE | O_WRONLY, 0600);
  if (probe < 0) GTEST_SKIP() << "the disk of the tests cannot hold files without a name";
  close(probe);
  SpoolFile file("tmp");
  ASSERT_TRUE(file.write("abc", 3));
  EXPECT_EQ(Names{}, namesIn("tmp"));
}

}  // namespace
}  // namespace kestra
