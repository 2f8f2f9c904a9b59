// Tests how diagnostics are opened: they show what people print and lie in folders that others
// write to, so nothing but a plain file of our own may be touched.
#include "filter/base/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

class PrivateFile : public SpoolTest {
 protected:
  static mode_t modeOf(const char* path) {
    struct stat status {};
    EXPECT_EQ(0, stat(path, &status));
    return status.st_mode & 0777;
  }
};

TEST_F(PrivateFile, IsMadeForItsOwnerAlone) {
  const mode_t before = umask(0);
  FilePtr file = openPrivateFile("page.bmp");
  umask(before);
  ASSERT_NE(nullptr, file);
  std::fputs("dots", file.get());
  file.reset();
  EXPECT_EQ(0600U, modeOf("page.bmp"));
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

}  // namespace
}  // namespace kestra
