// Calls that signals break off, and parts of writes and reads.
#include "filter/base/unbroken.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <thread>

namespace kestra {
namespace {

struct Pipe {
  int ends[2] = {-1, -1};
  Pipe() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
  ~Pipe() {
    close(ends[0]);
    close(ends[1]);
  }
};

TEST(Unbroken, ACallThatASignalBreaksOffIsMadeAgain) {
  int calls = 0;
  const auto call = [&] {
    errno = EINTR;
    return ++calls < 3 ? -1 : 7;
  };
  EXPECT_EQ(unbroken(call), 7);
  EXPECT_EQ(calls, 3);
}

TEST(Unbroken, AnyOtherFailureIsTheCallsOwn) {
  int calls = 0;
  const auto call = [&] {
    errno = EIO;
    return --calls;
  };
  EXPECT_EQ(unbroken(call), -1);
  EXPECT_EQ(errno, EIO);
}

// A pipe holds 64 KB: neither side gets all at once.
TEST(Unbroken, WhatComesInPartsArrivesWhole) {
  const Pipe pipe;
  std::string sent(300000, 'a');
  sent.back() = 'z';
  std::thread writer([&] { EXPECT_TRUE(writeAll(pipe.ends[1], sent.data(), sent.size())); });
  std::string got(sent.size(), '-');
  EXPECT_TRUE(readAll(pipe.ends[0], got.data(), got.size()));
  writer.join();
  EXPECT_EQ(got, sent);
}

TEST(Unbroken, AnEarlierEndAndAFullDiskAreFailures) {
  Pipe pipe;
  ASSERT_TRUE(writeAll(pipe.ends[1], "ab", 2));
  close(pipe.ends[1]);
  pipe.ends[1] = open("/dev/full", O_WRONLY | O_CLOEXEC);
  char three[3] = {};
  EXPECT_FALSE(readAll(pipe.ends[0], three, sizeof three));
  EXPECT_FALSE(writeAll(pipe.ends[1], "ab", 2));
  EXPECT_EQ(errno, ENOSPC);
}

}  // namespace
}  // namespace kestra
