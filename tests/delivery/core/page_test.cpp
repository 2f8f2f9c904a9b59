// What is taken for a label, and what must never be sent as one.
#include "delivery/core/page.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>

#include "delivery/core/digest.h"
#include "tests/delivery/core/frames.h"

namespace kestra::delivery {
namespace {

using namespace testing_support;

TEST(CommandPrefix, CountsTheBytesThatCanBeginACommand) {
  const Bytes command = {0x1B, 0x73, 0x01, 0x00, 0x00, 0xFD, 0x02};
  for (std::size_t size = 0; size <= command.size(); ++size) {
    EXPECT_EQ(commandPrefix(command.data(), size), size);
  }
  for (std::size_t wrong = 0; wrong < 5; ++wrong) {
    Bytes other = command;
    other[wrong] ^= 0x40;
    EXPECT_EQ(commandPrefix(other.data(), other.size()), wrong);
  }
}

TEST(FrameDigest, IsTheStandardHash) {
  // FIPS 180-2, appendix B.1; 3 bytes hold no page number.
  Bytes abc = {'a', 'b', 'c'};
  EXPECT_EQ(frameDigest(abc.data(), abc.size()),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(textDigest("abc"), frameDigest(abc.data(), abc.size()));
}

TEST(FrameDigest, LeavesOutThePageNumberAndNothingElse) {
  Bytes first = frameOf(1, 4, 1);
  Bytes later = frameOf(1, 4, 0x1234);
  const Bytes before = later;
  const std::string digest = frameDigest(first.data(), first.size());
  EXPECT_EQ(frameDigest(later.data(), later.size()), digest);
  EXPECT_EQ(later, before);
  for (std::size_t i = 0; i < first.size(); ++i) {
    if (i == 12 || i == 13) continue;
    Bytes other = first;
    other[i] ^= 1;
    EXPECT_NE(frameDigest(other.data(), other.size()), digest) << i;
  }
}

TEST(ReadPage, GivesTheCommandAndTheWholeFrame) {
  const Folder folder;
  const Bytes frame = frameOf(7);
  publish(folder / "f", frame);
  const Command command = {0x1B, 0x73, 1, 0, 0, 4, 2};
  const ReadPage read = readPage(folder / "f", command);
  EXPECT_EQ(read.problem, "");
  EXPECT_EQ(read.page.bytes, labelOf(frame, command));
  EXPECT_EQ(read.page.recordBytes, 3U);
  Bytes copy = frame;
  EXPECT_EQ(read.page.digest, frameDigest(copy.data(), copy.size()));
}

TEST(ReadPage, RefusesAFrameThatIsNotAsLongAsItSays) {
  const Folder folder;
  const Bytes frame = frameOf(7);
  for (std::size_t size = 0; size < frame.size(); ++size) {
    publish(folder / "f", Bytes(frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(size)));
    EXPECT_NE(readPage(folder / "f", kUsualCommand).problem, "") << size;
  }
  Bytes longer = frame;
  longer.push_back(0);
  publish(folder / "f", longer);
  EXPECT_NE(readPage(folder / "f", kUsualCommand).problem.find("announces 34 bytes and has 35"),
            std::string::npos);
}

TEST(ReadPage, RefusesWhatIsNoFrame) {
  const Folder folder;
  for (const std::size_t wrong : {0U, 1U, 2U, 14U, 15U, 16U, 17U}) {
    Bytes frame = frameOf(7);
    frame[wrong] ^= 0x20;
    publish(folder / "f", frame);
    EXPECT_NE(readPage(folder / "f", kUsualCommand).problem, "") << wrong;
  }
}

TEST(ReadPage, IsNotLedAstrayByLinksFoldersAndPipes) {
  const Folder folder;
  publish(folder / "real", frameOf(7));
  ASSERT_EQ(symlink((folder / "real").c_str(), (folder / "link").c_str()), 0);
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_NE(readPage(folder / "link", kUsualCommand).problem, "");
  EXPECT_NE(readPage(folder / "pipe", kUsualCommand).problem, "");
  EXPECT_NE(readPage(folder.path(), kUsualCommand).problem, "");
  EXPECT_NE(readPage(folder / "nothing", kUsualCommand).problem, "");
}

// As the print system's user, which is not root.
TEST(ReadPage, TakesFramesOfItsUserAndOfRootAlone) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  constexpr uid_t kFilters = 12345, kStranger = 12346;
  const Folder folder;
  ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
  for (const uid_t owner : {kFilters, kStranger, uid_t{0}}) {
    const std::string path = folder / std::to_string(owner);
    publish(path, frameOf(7));
    ASSERT_EQ(chmod(path.c_str(), 0644), 0);
    ASSERT_EQ(chown(path.c_str(), owner, owner), 0);
  }
  const pid_t child = fork();
  if (child == 0) {
    if (setuid(kFilters) != 0) _exit(9);
    int taken = 0;
    if (readPage(folder / "0", kUsualCommand).problem.empty()) taken += 1;
    if (readPage(folder / "12345", kUsualCommand).problem.empty()) taken += 2;
    if (readPage(folder / "12346", kUsualCommand).problem.empty()) taken += 4;
    _exit(taken);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(WEXITSTATUS(status), 1 + 2);
}

// 7 bytes of command, 22 of headers, then rows of 3: rows end at 32, 35, 38, 41.
TEST(EndOfRow, IsWhereAPageCanGoOnInWhite) {
  const Folder folder;
  publish(folder / "f", frameOf(7));
  const Page page = readPage(folder / "f", kUsualCommand).page;
  const std::size_t ends[][2] = {{0, 29},  {1, 29},  {28, 29}, {29, 29}, {30, 32},
                                 {32, 32}, {33, 35}, {40, 41}, {41, 41}};
  for (const auto& [sent, end] : ends) EXPECT_EQ(page.endOfRow(sent), end) << sent;
}

// A hole of the size that its header announces: it costs who planted it nothing.
TEST(ReadPage, RefusesAFrameThatIsLargerThanAFilterMakesAny) {
  const Folder folder;
  const std::string path = folder / "f";
  Bytes frame = frameOf(1);
  constexpr std::size_t kRecordBytesAt = 18;
  std::fill_n(frame.begin() + kRecordBytesAt, 4, std::uint8_t{0xFF});  // length and count
  publish(path, frame);
  std::filesystem::resize_file(path, 22 + std::uintmax_t{65535} * 65535);
  EXPECT_NE(readPage(path, kUsualCommand).problem.find("too large"), std::string::npos);
}

}  // namespace
}  // namespace kestra::delivery
