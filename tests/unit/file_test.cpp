// Tests how diagnostics are opened: they show what people print and lie in folders that others
// write to, so nothing but a plain file of our own may be touched.
#include "filter/base/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <vector>

#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

constexpr auto kOwnerAlone = std::filesystem::perms(0600);

class PrivateFile : public SpoolTest {};

TEST_F(PrivateFile, IsMadeForItsOwnerAlone) {
  const mode_t before = umask(0);
  FilePtr file = openPrivateFile("page.bmp");
  umask(before);
  ASSERT_NE(nullptr, file);
  std::fputs("dots", file.get());
  file.reset();
  EXPECT_EQ(kOwnerAlone, std::filesystem::status("page.bmp").permissions());
  EXPECT_EQ((Bytes{'d', 'o', 't', 's'}), readBytes("page.bmp"));
}

TEST_F(PrivateFile, IsWrittenFromItsStartAgain) {
  writeBytes("page.bmp", {'o', 'l', 'd', ' ', 't', 'e', 'x', 't'});
  FilePtr file = openPrivateFile("page.bmp");
  ASSERT_NE(nullptr, file);
  std::fputs("new", file.get());
  file.reset();
  EXPECT_EQ((Bytes{'n', 'e', 'w'}), readBytes("page.bmp"));
}

TEST_F(PrivateFile, FollowsNoSymbolicLink) {
  writeBytes("target", {'k', 'e', 'e', 'p'});
  std::filesystem::create_symlink("target", "page.bmp");
  EXPECT_EQ(nullptr, openPrivateFile("page.bmp"));
  EXPECT_NE(0, errno);
  EXPECT_EQ((Bytes{'k', 'e', 'e', 'p'}), readBytes("target"));
}

TEST_F(PrivateFile, MakesNothingBehindADanglingLink) {
  std::filesystem::create_symlink("nowhere", "page.bmp");
  EXPECT_EQ(nullptr, openPrivateFile("page.bmp"));
  EXPECT_FALSE(std::filesystem::exists("nowhere"));
}

TEST_F(PrivateFile, LeavesAFileWithASecondNameAsItIs) {
  writeBytes("other", {'k', 'e', 'e', 'p'});
  std::filesystem::create_hard_link("other", "page.bmp");
  EXPECT_EQ(nullptr, openPrivateFile("page.bmp"));
  EXPECT_NE(0, errno);
  EXPECT_EQ((Bytes{'k', 'e', 'e', 'p'}), readBytes("other"));
}

TEST_F(PrivateFile, WaitsForNoReaderOfAFifo) {
  ASSERT_EQ(0, mkfifo("page.bmp", 0600));
  EXPECT_EQ(nullptr, openPrivateFile("page.bmp"));
}

TEST_F(PrivateFile, WritesIntoNoFifoThatIsBeingRead) {
  ASSERT_EQ(0, mkfifo("page.bmp", 0600));
  const int reader = open("page.bmp", O_RDONLY | O_NONBLOCK);
  ASSERT_LE(0, reader);
  EXPECT_EQ(nullptr, openPrivateFile("page.bmp"));
  close(reader);
}

TEST_F(PrivateFile, IsNoFolder) {
  std::filesystem::create_directory("page.bmp");
  EXPECT_EQ(nullptr, openPrivateFile("page.bmp"));
}

TEST_F(PrivateFile, TellsWhyItCannotBeHad) {
  errno = 0;
  EXPECT_EQ(nullptr, openPrivateFile("missing/page.bmp"));
  EXPECT_EQ(ENOENT, errno);
}

TEST_F(PrivateFile, IsNotAnotherUsersFile) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  writeBytes("page.bmp", {'k', 'e', 'e', 'p'});
  ASSERT_EQ(0, chown("page.bmp", 12345, 12345));
  EXPECT_EQ(nullptr, openPrivateFile("page.bmp"));
  EXPECT_EQ((Bytes{'k', 'e', 'e', 'p'}), readBytes("page.bmp"));
}

TEST_F(PrivateFile, IsClosedByItsPointer) {
  FilePtr file = openPrivateFile("page.bmp");
  ASSERT_NE(nullptr, file);
  const int descriptor = fileno(file.get());
  ASSERT_NE(-1, fcntl(descriptor, F_GETFD));
  file.reset();
  EXPECT_EQ(-1, fcntl(descriptor, F_GETFD));
}

TEST_F(PrivateFile, GetsItsModeBackWhereItWasReadableByOthers) {
  writeBytes("page.bmp", {'o', 'l', 'd'});
  ASSERT_EQ(0, chmod("page.bmp", 0666));
  EXPECT_NE(nullptr, openPrivateFile("page.bmp"));
  EXPECT_EQ(kOwnerAlone, std::filesystem::status("page.bmp").permissions());
}

class RegularFile : public SpoolTest {};

TEST_F(RegularFile, IsOpenedForReading) {
  writeBytes("queue.pgc", {7, 9});
  const FilePtr file = openRegularFile("queue.pgc");
  ASSERT_NE(nullptr, file);
  EXPECT_EQ(7, std::fgetc(file.get()));
  EXPECT_EQ(9, std::fgetc(file.get()));
  EXPECT_EQ(EOF, std::fgetc(file.get()));
  EXPECT_EQ(EOF, std::fputc(1, file.get()));  // reading only
}

TEST_F(RegularFile, IsNoLinkNoFolderAndNoFifo) {
  writeBytes("target", {7, 9});
  std::filesystem::create_symlink("target", "link");
  std::filesystem::create_directory("folder");
  ASSERT_EQ(0, mkfifo("fifo", 0600));
  EXPECT_EQ(nullptr, openRegularFile("link"));
  EXPECT_EQ(nullptr, openRegularFile("folder"));
  EXPECT_EQ(nullptr, openRegularFile("fifo"));  // without waiting for a writer
}

TEST_F(RegularFile, IsNotMadeWhereThereIsNone) {
  errno = 0;
  EXPECT_EQ(nullptr, openRegularFile("missing"));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_EQ(nullptr, openRegularFile(""));
  EXPECT_FALSE(std::filesystem::exists("missing"));
}

class TrustedFolder : public SpoolTest {};

TEST_F(TrustedFolder, IsAFolderOfOurOwnOrOfTheAdministrator) {
  std::filesystem::create_directory("ours");
  EXPECT_TRUE(isTrustedFolder("ours"));
  EXPECT_TRUE(isTrustedFolder("/"));
}

TEST_F(TrustedFolder, IsNoLinkNoFileAndNothingMissing) {
  std::filesystem::create_directory("ours");
  std::filesystem::create_symlink("ours", "link");
  writeBytes("file", {1});
  EXPECT_FALSE(isTrustedFolder("link"));
  EXPECT_FALSE(isTrustedFolder("file"));
  EXPECT_FALSE(isTrustedFolder("missing"));
}

TEST_F(TrustedFolder, IsNotAnotherUsersFolder) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
  std::filesystem::create_directory("theirs");
  ASSERT_EQ(0, chown("theirs", 12345, 12345));
  EXPECT_FALSE(isTrustedFolder("theirs"));
}

/// Numbers 0 to 2 of a child process that closed some of them and opened the missing ones again:
/// a child, so that the test's own output stays where it is.
int openStreamsOfAChild(const std::vector<int>& closed) {
  const pid_t child = fork();
  if (child == 0) {
    for (const int descriptor : closed) close(descriptor);
    openMissingStandardStreams();
    int open = 0;
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
      if (fcntl(descriptor, F_GETFD) >= 0) ++open;
    }
    // The next file must not get the number of a standard stream.
    const int next = ::open("/dev/null", O_RDONLY);
    _exit(next > 2 ? open : 100);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(StandardStreams, AreAllOpenAfterwards) {
  for (const auto& closed : std::vector<std::vector<int>>{{}, {0}, {1}, {2}, {0, 2}, {0, 1, 2}}) {
    EXPECT_EQ(3, openStreamsOfAChild(closed)) << testing::PrintToString(closed);
  }
}

}  // namespace
}  // namespace kestra
