// Waiting for one thing while hearing all others.
#include "delivery/core/watch.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <memory>
#include <utility>

namespace kestra::delivery {
namespace {

struct Pipe {
  int ends[2] = {-1, -1};
  Pipe() { EXPECT_EQ(pipe(ends), 0); }
  ~Pipe() {
    close(ends[0]);
    close(ends[1]);
  }
  void put() const { EXPECT_EQ(write(ends[1], "x", 1), 1); }
  void take() const {
    char one = 0;
    EXPECT_EQ(read(ends[0], &one, 1), 1);
  }
};

// 50 us at first, as long as was waited, 5 ms at most, and 50 ms from the first second on.
TEST(Watch, LooksAgainSoonAtFirstAndSeldomAfterASecond) {
  using std::chrono::microseconds;
  const auto look = [](long long waited) { return nextLook(microseconds(waited)); };
  EXPECT_EQ(look(0), microseconds(50));
  EXPECT_EQ(look(51), microseconds(51));
  EXPECT_EQ(look(4999), microseconds(4999));
  EXPECT_EQ(look(5001), microseconds(5000));
  EXPECT_EQ(look(999999), microseconds(5000));
  EXPECT_EQ(look(1000000), microseconds(50000));
  EXPECT_EQ(look(3600000000), microseconds(50000));
}

TEST(Watch, IsReadyWhenItsDescriptorIs) {
  const Pipe pipe;
  Watch watch;
  EXPECT_EQ(watch.await(pipe.ends[0], POLLIN, Patience::forMilliseconds(1)), Woken::kTime);
  pipe.put();
  EXPECT_EQ(watch.await(pipe.ends[0], POLLIN, {}), Woken::kReady);
}

TEST(Watch, HoldsOnToWhatItKeepsUntilItEnds) {
  auto thing = std::make_shared<int>(1);
  const std::weak_ptr<int> isThere = thing;
  {
    Watch watch;
    watch.keep(std::move(thing));
    EXPECT_EQ(watch.pause(Patience::forMilliseconds(1)), Woken::kTime);
    EXPECT_FALSE(isThere.expired());
  }
  EXPECT_TRUE(isThere.expired());
}

TEST(Watch, ServesOthersWhileItWaits) {
  const Pipe awaited, other;
  Watch watch;
  int served = 0;
  watch.add(other.ends[0], [&] {
    other.take();
    ++served;
    awaited.put();
  });
  other.put();
  EXPECT_EQ(watch.await(awaited.ends[0], POLLIN, {}), Woken::kReady);
  EXPECT_EQ(served, 1);
}

TEST(Watch, WakesAfterAnyHandlerWhereThatIsAskedFor) {
  const Pipe other;
  Watch watch;
  watch.add(other.ends[0], [&] { other.take(); });
  EXPECT_EQ(watch.await(Patience::forMilliseconds(1)), Woken::kTime);
  other.put();
  EXPECT_EQ(watch.await({}), Woken::kReady);
}

TEST(Watch, EndsAWaitOnlyForAStopThatIsUrgentEnough) {
  Watch watch;
  watch.stop(Stop::kLeave);
  const auto soon = [](Stop endsWith) { return Patience::forMilliseconds(1, endsWith); };
  EXPECT_EQ(watch.pause(soon(Stop::kLeave)), Woken::kStopped);
  EXPECT_EQ(watch.pause(soon(Stop::kCancel)), Woken::kTime);
  EXPECT_EQ(watch.pause(soon(Stop::kNone)), Woken::kTime);
  watch.stop(Stop::kCancel);
  watch.stop(Stop::kLeave);  // too late to be kinder
  EXPECT_EQ(watch.pause(soon(Stop::kCancel)), Woken::kStopped);
  EXPECT_EQ(watch.pause(soon(Stop::kNone)), Woken::kTime);
}

TEST(Watch, AHandlerMayRemoveItselfAndOthers) {
  const Pipe first, second;
  Watch watch;
  int served = 0;
  const auto removeBoth = [&] {
    ++served;
    watch.remove(first.ends[0]);
    watch.remove(second.ends[0]);
  };
  watch.add(first.ends[0], removeBoth);
  watch.add(second.ends[0], removeBoth);
  first.put();
  second.put();
  EXPECT_EQ(watch.await({}), Woken::kReady);
  EXPECT_EQ(watch.await(Patience::forMilliseconds(1)), Woken::kTime);
  EXPECT_EQ(served, 1);
}

TEST(Watch, AnEndIsReadyToo) {
  Pipe pipe;
  Watch watch;
  close(pipe.ends[1]);
  EXPECT_EQ(watch.await(pipe.ends[0], POLLIN, {}), Woken::kReady);
  pipe.ends[1] = dup(pipe.ends[0]);
}

}  // namespace
}  // namespace kestra::delivery
