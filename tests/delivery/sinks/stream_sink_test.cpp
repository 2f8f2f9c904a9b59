// Pipes, files and local sockets as ways for labels.
#include "delivery/sinks/stream_sink.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iterator>
#include <memory>

#include "tests/delivery/sinks/small_printer.h"
#include "tests/support/files.h"

namespace kestra::delivery {
namespace {

using test::Bytes;
using test::someBytes;
using test::StopWatch;
using test::Told;

constexpr long kLong = 20000;
Patience within(long time) { return Patience::forMilliseconds(time); }

Bytes readAll(int descriptor, std::size_t most) {
  Bytes bytes(most);
  std::size_t have = 0;
  while (have < most) {
    const ssize_t size = read(descriptor, bytes.data() + have, most - have);
    if (size <= 0) break;
    have += static_cast<std::size_t>(size);
  }
  bytes.resize(have);
  return bytes;
}

class StreamSinkTest : public ::testing::Test {
 protected:
  const testing_support::TemporaryFolder temporary_;
  const std::string& folder_ = temporary_.path();
  Watch watch_;
  Told told_;
};

TEST_F(StreamSinkTest, APipesReaderGetsTheBytesAndItsReadingIsTheProof) {
  std::array<int, 2> ends = {};
  ASSERT_EQ(pipe(ends.data()), 0);
  StreamSink sink(ends[1], "standard output", watch_, told_.tell());
  ASSERT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kDone);
  const Bytes page = someBytes(20000);
  ASSERT_EQ(sink.send(page.data(), page.size(), within(kLong)), Progress::kDone);
  EXPECT_EQ(sink.settle(nullptr, 0, within(100)), Progress::kTimedOut);
  EXPECT_EQ(sink.surelyRead(), 0U);
  EXPECT_EQ(readAll(ends[0], 15000).size(), 15000U);
  EXPECT_EQ(sink.prove(within(100)), Progress::kTimedOut);
  EXPECT_EQ(sink.surelyRead(), 15000U);
  EXPECT_EQ(readAll(ends[0], 5000), Bytes(page.begin() + 15000, page.end()));
  EXPECT_EQ(sink.prove(within(kLong)), Progress::kDone);
  EXPECT_EQ(sink.surelyRead(), page.size());
  EXPECT_EQ(sink.finish(within(kLong)), Progress::kDone);
  // It stays the caller's: open, and its flags as they were.
  EXPECT_EQ(fcntl(ends[1], F_GETFL) & O_NONBLOCK, 0);
  close(ends[0]);
  close(ends[1]);
}

TEST_F(StreamSinkTest, AStopEndsTheWaitForAFullPipe) {
  std::array<int, 2> ends = {};
  ASSERT_EQ(pipe(ends.data()), 0);
  StreamSink sink(ends[1], "standard output", watch_, told_.tell());
  ASSERT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kDone);
  // 64 KiB on most machines, more where memory has larger pages.
  const auto room = static_cast<std::size_t>(fcntl(ends[1], F_GETPIPE_SZ));
  const Bytes page = someBytes(2 * room);
  // Blocking, this would hang for ever.
  EXPECT_EQ(sink.send(page.data(), page.size(), within(200)), Progress::kTimedOut);
  EXPECT_EQ(sink.sent(), room);
  watch_.stop(Stop::kCancel);
  EXPECT_EQ(sink.send(page.data() + sink.sent(), 1000, {}), Progress::kStopped);
  close(ends[0]);
  close(ends[1]);
}

TEST_F(StreamSinkTest, AReaderThatLeavesIsABreakAndAGivenDescriptorIsThenOver) {
  std::array<int, 2> ends = {};
  ASSERT_EQ(pipe(ends.data()), 0);
  StreamSink sink(ends[1], "standard output", watch_, told_.tell());
  const Bytes page = someBytes(1000);
  ASSERT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kDone);
  ASSERT_EQ(sink.send(page.data(), page.size(), within(kLong)), Progress::kDone);
  ASSERT_EQ(readAll(ends[0], 400).size(), 400U);
  close(ends[0]);
  EXPECT_EQ(sink.settle(nullptr, 0, within(kLong)), Progress::kBroken);
  EXPECT_EQ(sink.surelyRead(), 400U);
  sink.drop();
  EXPECT_EQ(sink.open(Before::kTornPage, within(kLong)), Progress::kHopeless);
  EXPECT_NE(sink.problem().find("standard output"), std::string::npos);
  close(ends[1]);
}

TEST_F(StreamSinkTest, AFileIsBegunAnewAndHoldsAllPages) {
  const std::string path = folder_ + "/out";
  std::ofstream(path) << "of yesterday, and longer than today's by a good deal of bytes";
  StreamSink sink(StreamSink::Place::kFile, path, watch_, told_.tell());
  for (const char* page : {"first", "second"}) {
    ASSERT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kDone);
    const std::string text = page;
    const Bytes bytes(text.begin(), text.end());
    ASSERT_EQ(sink.send(bytes.data(), bytes.size(), within(kLong)), Progress::kDone);
    ASSERT_EQ(sink.settle(nullptr, 0, within(kLong)), Progress::kDone);
    ASSERT_EQ(sink.prove(within(kLong)), Progress::kDone);
    EXPECT_EQ(sink.finish(within(kLong)), Progress::kDone);
  }
  EXPECT_EQ(sink.sent(), 11U);
  std::ifstream file(path);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "firstsecond");
}

TEST_F(StreamSinkTest, AFullDiskAndAFolderThatIsMissingAreHopeless) {
  StreamSink full(StreamSink::Place::kFile, "/dev/full", watch_, told_.tell());
  ASSERT_EQ(full.open(Before::kNothing, within(kLong)), Progress::kDone);
  const Bytes page = someBytes(10);
  EXPECT_EQ(full.send(page.data(), page.size(), within(kLong)), Progress::kHopeless);
  EXPECT_NE(full.problem().find("No space left"), std::string::npos) << full.problem();
  EXPECT_EQ(full.open(Before::kNothing, within(kLong)), Progress::kHopeless);

  StreamSink missing(StreamSink::Place::kFile, folder_ + "/no/out", watch_, told_.tell());
  EXPECT_EQ(missing.open(Before::kNothing, within(kLong)), Progress::kHopeless);
  EXPECT_NE(missing.problem().find(folder_ + "/no/out"), std::string::npos);

  StreamSink longName(StreamSink::Place::kUnix, folder_ + std::string(200, 'x'), watch_,
                      told_.tell());
  EXPECT_EQ(longName.open(Before::kNothing, within(kLong)), Progress::kHopeless);
}

TEST_F(StreamSinkTest, ASocketOfThisMachineIsWaitedForAndKnowsWhatWasRead) {
  const std::string path = folder_ + "/socket";
  StreamSink sink(StreamSink::Place::kUnix, path, watch_, told_.tell());
  EXPECT_EQ(sink.open(Before::kNothing, within(250)), Progress::kTimedOut);
  EXPECT_EQ(told_.count("INFO: Waiting"), 1);

  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listener, 1), 0);
  ASSERT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kDone);
  const int reader = accept(listener, nullptr, nullptr);
  const Bytes page = someBytes(9000);
  ASSERT_EQ(sink.send(page.data(), page.size(), within(kLong)), Progress::kDone);
  EXPECT_EQ(sink.prove(within(100)), Progress::kTimedOut);
  EXPECT_EQ(readAll(reader, page.size()), page);
  EXPECT_EQ(sink.prove(within(kLong)), Progress::kDone);
  ASSERT_EQ(sink.send(page.data(), page.size(), within(kLong)), Progress::kDone);
  close(reader);
  EXPECT_EQ(sink.settle(nullptr, 0, within(kLong)), Progress::kBroken);
  EXPECT_GE(sink.surelyRead(), page.size());
  EXPECT_LT(sink.surelyRead(), 2 * page.size());
  // The way can be had again.
  sink.drop();
  EXPECT_EQ(sink.open(Before::kTornPage, within(kLong)), Progress::kDone);
  EXPECT_EQ(sink.sent(), 0U);
  close(listener);
}

TEST_F(StreamSinkTest, AFifoIsWaitedForUntilSomebodyReads) {
  const std::string path = folder_ + "/fifo";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  StreamSink sink(StreamSink::Place::kFile, path, watch_, told_.tell());
  EXPECT_EQ(sink.open(Before::kNothing, within(150)), Progress::kTimedOut);
  const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  EXPECT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kDone);
  close(reader);
  watch_.stop(Stop::kCancel);
  StreamSink other(StreamSink::Place::kFile, path, watch_, told_.tell());
  EXPECT_EQ(other.open(Before::kNothing, {}), Progress::kStopped);
}

TEST_F(StreamSinkTest, AReaderThatComesWhileItIsWaitedForEndsTheWait) {
  const std::string path = folder_ + "/fifo";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  int reader = -1;
  // It comes when it is told of.
  StreamSink sink(StreamSink::Place::kFile, path, watch_, [&](const std::string& line) {
    told_.lines.push_back(line);
    if (line.rfind("INFO: Waiting", 0) == 0) reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
  });
  EXPECT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kDone);
  EXPECT_EQ(told_.lines.back(), "STATE: -connecting-to-device");
  ASSERT_GE(reader, 0);
  close(reader);
}

TEST_F(StreamSinkTest, NothingGoesWhereNothingIsOpen) {
  StreamSink sink(StreamSink::Place::kFile, folder_ + "/out", watch_, told_.tell());
  const Bytes page = someBytes(10);
  EXPECT_EQ(sink.send(page.data(), page.size(), within(kLong)), Progress::kBroken);
  EXPECT_EQ(sink.prove(within(kLong)), Progress::kBroken);
  EXPECT_EQ(sink.finish(within(kLong)), Progress::kDone);
  StreamSink none(-1, "standard output", watch_, told_.tell());
  EXPECT_EQ(none.open(Before::kNothing, within(kLong)), Progress::kHopeless);
  EXPECT_EQ(none.problem(), "The way to standard output is closed.");
}

TEST_F(StreamSinkTest, AStopEndsTheWaitForAReader) {
  std::array<int, 2> ends = {};
  ASSERT_EQ(pipe(ends.data()), 0);
  StreamSink sink(ends[1], "standard output", watch_, told_.tell());
  const Bytes page = someBytes(10);
  ASSERT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kDone);
  ASSERT_EQ(sink.send(page.data(), page.size(), within(kLong)), Progress::kDone);
  watch_.stop(Stop::kCancel);
  EXPECT_EQ(sink.prove({}), Progress::kStopped);
  close(ends[0]);
  close(ends[1]);
}

TEST_F(StreamSinkTest, ASocketThatNobodyListensToAnyMoreIsWaitedFor) {
  const std::string path = folder_ + "/socket";
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  StreamSink sink(StreamSink::Place::kUnix, path, watch_, told_.tell());
  EXPECT_EQ(sink.open(Before::kNothing, within(150)), Progress::kTimedOut);
  EXPECT_NE(sink.problem().find("Connection refused"), std::string::npos) << sink.problem();
  ASSERT_EQ(listen(listener, 1), 0);
  EXPECT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kDone);
  close(listener);
}

// It threw away what it had not read: nobody knows how much of it.
TEST_F(StreamSinkTest, AReaderOfASocketThatLeavesBytesUnreadIsABreak) {
  std::array<int, 2> ends = {};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
  StreamSink sink(ends[1], "the reader", watch_, told_.tell());
  const Bytes page = someBytes(1000);
  ASSERT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kDone);
  ASSERT_EQ(sink.send(page.data(), page.size(), within(kLong)), Progress::kDone);
  close(ends[0]);
  EXPECT_EQ(sink.send(page.data(), page.size(), within(kLong)), Progress::kBroken);
  EXPECT_EQ(sink.surelyRead(), 0U);
  EXPECT_EQ(sink.problem(), "Nobody reads the reader any more.");
  close(ends[1]);
}

}  // namespace
}  // namespace kestra::delivery
