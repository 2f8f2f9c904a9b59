// What a printer's offered room says about bytes that it acknowledged and has not read.
#include "delivery/sinks/tcp_state.h"
#include <cstdint>

#include <gtest/gtest.h>

namespace kestra::delivery {
namespace {

TcpSample offering(std::uint32_t window) {
  TcpSample sample;
  sample.window = window;
  return sample;
}

TEST(WindowBook, AnUnknownRoomMaySwallowTheUsual64KiB) {
  WindowBook book;
  EXPECT_EQ(book.mostUnread(), 65536U);
  EXPECT_EQ(book.mostHidden(), 65536U);
  EXPECT_EQ(book.shownUnread(), 0U);
  book.note(TcpSample{});
  EXPECT_EQ(book.mostUnread(), 65536U);
}

TEST(WindowBook, TheLargestOfferIsTheMeasure) {
  WindowBook book;
  book.note(offering(16000));
  EXPECT_EQ(book.shownUnread(), 0U);
  EXPECT_EQ(book.mostUnread(), 16000U);
  book.note(offering(4000));  // 12,000 shown, up to 16,000 held back
  EXPECT_EQ(book.shownUnread(), 12000U);
  EXPECT_EQ(book.mostHidden(), 16000U);
  EXPECT_EQ(book.mostUnread(), 28000U);
  book.note(offering(20000));  // it had held back 4,000 at least
  EXPECT_EQ(book.shownUnread(), 0U);
  EXPECT_EQ(book.mostUnread(), 20000U);
  book.note(offering(0));
  EXPECT_EQ(book.shownUnread(), 20000U);
  EXPECT_EQ(book.mostUnread(), 40000U);
}

}  // namespace
}  // namespace kestra::delivery
