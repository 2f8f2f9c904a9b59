// Names and reasons as people read them.
#include "delivery/sinks/peer.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace kestra::delivery {
namespace {

TEST(Peer, AnAddressWithColonsStandsInBrackets) {
  EXPECT_EQ(nameOfPeer("printer", "9100"), "printer:9100");
  EXPECT_EQ(nameOfPeer("10.0.0.7", "jetdirect"), "10.0.0.7:jetdirect");
  EXPECT_EQ(nameOfPeer("2001:db8::7", "9100"), "[2001:db8::7]:9100");
}

TEST(Peer, TheUsualReasonsAreInPlainWords) {
  EXPECT_EQ(reasonOf(ECONNREFUSED), "connection refused");
  EXPECT_EQ(reasonOf(ETIMEDOUT), "no answer");
  EXPECT_EQ(reasonOf(EHOSTUNREACH), "no route to this host");
  EXPECT_EQ(reasonOf(ENETUNREACH), "the network cannot be reached");
  EXPECT_EQ(reasonOf(ECONNRESET), "connection reset");
  EXPECT_FALSE(reasonOf(EMFILE).empty());
}

TEST(Peer, AConnectionThatFoundItselfIsKnown) {
  const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  ASSERT_EQ(bind(connection, reinterpret_cast<sockaddr*>(&address), size), 0);
  ASSERT_EQ(getsockname(connection, reinterpret_cast<sockaddr*>(&address), &size), 0);
  EXPECT_FALSE(isOwnEnd(connection));
  // Both ends open at once to the same port: they meet.
  ASSERT_EQ(connect(connection, reinterpret_cast<sockaddr*>(&address), size), 0);
  EXPECT_TRUE(isOwnEnd(connection));
  close(connection);
}

}  // namespace
}  // namespace kestra::delivery
