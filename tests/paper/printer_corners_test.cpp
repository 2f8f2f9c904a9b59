// Tests of kestra-paper where faults, clocks and ends meet: each is well alone, but a printer has
// several at once.
//
// A judge that ends early, or takes a reset for an end in order, would blame the sender.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "tests/paper/paper_run.h"

namespace kestra::paper {
namespace {

double unreadAtLast(const Paper& paper) {
  return paper.events("connection").back()["unread"].number;
}

TEST(PaperControl, ActionsWithoutAConnectionTouchNoLaterOne) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--control", "control"});
  const std::uint16_t port = paper.port();
  std::ofstream(folder.path("control")) << "close\nreset\nreset-unread\ngarbage x\nrefuse 0.01\n"
                                           "power-cycle 0.01\nconnection 2 garbage y\n";
  ASSERT_TRUE(paper.await("action", 6));
  ASSERT_TRUE(awaitThat([&] { return Sender(port).isConnected(); }));
  const Sender sender(port);
  ASSERT_TRUE(sender.send(smallLabel()));
  sender.endSending();
  Bytes reply;
  EXPECT_EQ(sender.await(&reply), "end");
  EXPECT_EQ(reply, "y");
  EXPECT_EQ(paper.events("label").size(), 1U);
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperControl, TheEndOfStandardInputIsNoEndOfTheRun) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--control", "-"}, "connection 1 garbage hello\n");
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel()));
  ASSERT_TRUE(paper.await("action", 1));
  sender.endSending();
  Bytes reply;
  EXPECT_EQ(sender.await(&reply), "end");
  EXPECT_EQ(reply, "hello");
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperFaults, OfTheSecondConnectionSpareTheFirst) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "connection 2 garbage x"});
  for (const char* const wanted : {"", "x"}) {
    const Sender sender(paper.port());
    ASSERT_TRUE(sender.send(smallLabel()));
    sender.endSending();
    Bytes reply;
    EXPECT_EQ(sender.await(&reply), "end");
    EXPECT_EQ(reply, wanted);
  }
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperFaults, AResetOnAUnixSocketEndsTheConnectionBehindWhatWasSent) {
  const Folder folder;
  Paper paper(folder, {"unix:socket", "--fault", "after 1 reset"});
  ASSERT_TRUE(paper.await("ready", 1));
  const Sender sender(folder.path("socket"));
  ASSERT_TRUE(sender.send(smallLabel()));
  EXPECT_EQ(sender.await(), "end");
  ASSERT_TRUE(awaitThat([&] { return paper.closings() == "reset by printer"; }));
  EXPECT_TRUE(Sender(folder.path("socket")).isConnected());
  EXPECT_EQ(paper.stop(), 0);
  EXPECT_EQ(paper.events("label").size(), 1U);
}

TEST(PaperFaults, AUnixSocketComesBackWithItsFolder) {
  const Folder folder;
  std::filesystem::create_directory(folder.path("sub"));
  Paper paper(folder, {"unix:sub/socket", "--control", "control"});
  ASSERT_TRUE(paper.await("ready", 1));
  std::filesystem::remove_all(folder.path("sub"));
  std::ofstream(folder.path("control")) << "refuse 0.01\n";
  ASSERT_TRUE(paper.await("action", 1));
  const auto start = Clock::now();
  // Several tries in vain.
  ASSERT_TRUE(awaitThat([&] { return secondsSince(start) > 0.1; }));
  EXPECT_FALSE(folder.exists("sub/socket"));
  std::filesystem::create_directory(folder.path("sub"));
  ASSERT_TRUE(awaitThat([&] { return Sender(folder.path("sub/socket")).isConnected(); }));
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperFaults, ThoseThatFollowAnEndedSenderFindTheEnd) {
  for (const char* const action : {"close", "reset"}) {
    const Folder folder;
    Paper paper(folder, {"tcp:0", "--control", "control", "--fault", "label 1 pause 60", "--fault",
                         std::string("after 1 ") + action});
    const Sender sender(paper.port());
    // All of it, and the end, have come before the printer reads on.
    ASSERT_TRUE(sender.send(smallLabel()));
    sender.endSending();
    ASSERT_TRUE(paper.await("action", 1));
    std::ofstream(folder.path("control")) << "pause 0.01\n";
    EXPECT_EQ(sender.await(), "end") << action;
    ASSERT_TRUE(awaitThat([&] { return paper.closings() == "end"; })) << action;
    EXPECT_EQ(paper.stop(), 0) << action;
  }
}

TEST(PaperFaults, OfAFileOrAPipeEndTheReading) {
  for (const char* const action : {"refuse 1", "reset", "power-cycle 1", "close"}) {
    const Folder folder;
    const Result result =
        runOn(folder, smallLabel() + smallLabel(), {"--fault", std::string("after 1 ") + action});
    EXPECT_GE(result.labels.size(), 1U) << action;
    EXPECT_EQ(result.status, 0) << action;
  }
  const Folder folder;
  ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
  Paper paper(folder, {"pipe", "--fault", "start reset"});  // nobody has written yet
  EXPECT_EQ(paper.finish(), 0);
  EXPECT_EQ(paper.closings(), "reset by printer");
}

TEST(PaperFaults, AnAnswerToAFileGoesNowhere) {
  const Folder folder;
  const Result result = runOn(folder, smallLabel() + smallLabel(),
                              {"--fault", "after 1 garbage x", "--fault", "label 2 deaf 0.05",
                               "--fault", "after 2 no-close"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.labels.size(), 2U);
  EXPECT_EQ(folder.read("stdin"), smallLabel() + smallLabel());
}

TEST(PaperPrinter, TellsAResetOfTheSenderFromAnEnd) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "start no-close"});
  {
    const Sender sender(paper.port());
    ASSERT_TRUE(sender.send(smallLabel().substr(0, 20)));
    ASSERT_TRUE(paper.await("connection", 1));
    ASSERT_TRUE(awaitThat([&] { return sender.unacknowledged() == 0; }));
    sender.resetAtOnce();
  }
  ASSERT_TRUE(paper.await("label", 1));
  ASSERT_TRUE(awaitThat([&] { return paper.closings() == "reset"; }));
  EXPECT_FALSE(paper.events("label")[0]["whole"].boolean);
  EXPECT_EQ(paper.stop(), 1);
}

TEST(PaperPrinter, ADeafPrinterToldOfAResetSaysSo) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "connection 1 deaf"});
  {
    const Sender sender(paper.port());
    ASSERT_TRUE(sender.send(smallLabel()));
    ASSERT_TRUE(paper.await("action", 1));
    sender.resetAtOnce();
  }
  ASSERT_TRUE(awaitThat([&] { return paper.closings() == "reset"; }));
  EXPECT_EQ(paper.stop(), 0);
  EXPECT_EQ(paper.events("label").size(), 0U);
}

TEST(PaperPrinter, ReadsNothingAtItsEndThatAFaultKeepsUnread) {
  {
    const Folder folder;
    Paper deaf(folder, {"tcp:0", "--fault", "connection 1 deaf"});
    const Sender sender(deaf.port());
    ASSERT_TRUE(sender.send(smallLabel()));
    ASSERT_TRUE(deaf.await("action", 1));
    ASSERT_TRUE(awaitThat([&] { return sender.unacknowledged() == 0; }));
    EXPECT_EQ(deaf.stop(), 0);
    EXPECT_EQ(deaf.closings(), "end of run");
    EXPECT_EQ(unreadAtLast(deaf), 39);
  }
  {
    const Folder folder;
    Paper paused(folder, {"tcp:0", "--fault", "after 1 pause 60"});
    const Sender sender(paused.port());
    ASSERT_TRUE(sender.send(smallLabel() + smallLabel()));
    ASSERT_TRUE(paused.await("action", 1));
    ASSERT_TRUE(awaitThat([&] { return sender.unacknowledged() == 0; }));
    EXPECT_EQ(paused.stop(), 0);
    EXPECT_EQ(unreadAtLast(paused), 39);
    EXPECT_EQ(paused.events("label").size(), 1U);
  }
  const Folder folder;
  Paper failing(folder, {"tcp:0", "--labels", "1", "--fault", "after 1 reset-unread"});
  const Sender sender(failing.port());
  ASSERT_TRUE(sender.send(smallLabel() + smallLabel()));
  EXPECT_EQ(failing.finish(), 0);
  EXPECT_EQ(failing.events("label").size(), 1U);
}

TEST(PaperPrinter, TakesAPipeUntilItIsToldToEnd) {
  const Folder folder;
  ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
  Paper paper(folder, {"pipe", "--for", "60"});
  std::ofstream pipe(folder.path("pipe"));
  (pipe << smallLabel()).flush();
  ASSERT_TRUE(paper.await("label", 1));
  EXPECT_EQ(paper.stop(), 0);
  EXPECT_EQ(paper.closings(), "end of run");
}

TEST(PaperPrinter, IsNotIdleBeforeTheFirstLabelNorWhileOutOfPaper) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--idle", "0.1", "--for", "60", "--control", "control", "--fault",
                       "label 1 80% pause 60"});
  const Sender sender(paper.port());
  ASSERT_TRUE(paper.await("connection", 1));
  const auto connected = Clock::now();
  ASSERT_TRUE(awaitThat([&] { return secondsSince(connected) > 0.3; }));
  ASSERT_TRUE(sender.send(smallLabel().substr(0, 32)));  // 80 per cent of 39
  ASSERT_TRUE(paper.await("action", 1));
  const auto paused = Clock::now();
  ASSERT_TRUE(awaitThat([&] { return secondsSince(paused) > 0.3; }));
  ASSERT_TRUE(sender.send(smallLabel().substr(32)));
  ASSERT_TRUE(awaitThat([&] { return sender.unacknowledged() == 0; }));
  EXPECT_EQ(paper.events("label").size(), 0U);
  std::ofstream(folder.path("control")) << "pause 0.01\n";
  EXPECT_EQ(paper.finish(), 0);
  ASSERT_EQ(paper.events("label").size(), 1U);
  EXPECT_TRUE(paper.events("label")[0]["whole"].boolean);
}

TEST(PaperPrinter, IsNotIdleWhileItRefuses) {
  const Folder folder;
  const auto start = Clock::now();
  Paper paper(folder, {"tcp:0", "--idle", "0.1", "--fault", "after 1 refuse 0.5"});
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel()));
  EXPECT_EQ(paper.finish(), 0);
  EXPECT_GE(secondsSince(start), 0.5);
}

TEST(PaperPrinter, DoesNotCatchUpWithAPauseOfTheSender) {
  const Folder folder;
  // 80 rows at 203 dpi are 10.01 mm, 0.25 s at 40 mm a second: half of them takes 0.125 s.
  Paper paper(folder, {"tcp:0", "--speed", "40"});
  const Sender sender(paper.port());
  const Bytes label = largeLabel(106, 80);
  ASSERT_TRUE(sender.send(label.substr(0, label.size() / 2)));
  const auto start = Clock::now();
  ASSERT_TRUE(awaitThat([&] { return secondsSince(start) > 0.6; }));
  const auto resumed = Clock::now();
  ASSERT_TRUE(sender.send(label.substr(label.size() / 2)));
  ASSERT_TRUE(paper.await("label", 1));
  EXPECT_GT(secondsSince(resumed), 0.1);
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperPrinter, ListensOnAnAddressOfTheSixthVersion) {
  const Folder folder;
  if (std::ifstream("/proc/net/if_inet6").peek() == EOF) GTEST_SKIP() << "no such addresses here";
  Paper paper(folder, {"tcp:[::1]:0"});
  const std::uint16_t port = paper.port();
  ASSERT_NE(port, 0);
  EXPECT_EQ(paper.events("ready")[0]["address"].string, "[::1]:" + std::to_string(port));
  const Sender sender = Sender::toSixthVersion(port);
  ASSERT_TRUE(sender.isConnected());
  ASSERT_TRUE(sender.send(smallLabel()));
  ASSERT_TRUE(paper.await("label", 1));
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperOptions, ATakenUnixSocketStaysItsOwners) {
  const Folder folder;
  Paper first(folder, {"unix:socket", "--log", "log"});
  ASSERT_TRUE(first.await("ready", 1));
  Paper second(folder, {"unix:socket"});
  EXPECT_EQ(second.finish(), 2);
  EXPECT_EQ(second.errors(), "kestra-paper: cannot listen on socket: Address already in use\n");
  EXPECT_TRUE(Sender(folder.path("socket")).isConnected());
  EXPECT_EQ(first.stop(), 0);
}

TEST(PaperOptions, AReadyFileThatIsAFolderLeavesNothingBehind) {
  const Folder folder;
  std::filesystem::create_directory(folder.path("ready"));
  Paper paper(folder, {"tcp:0", "--ready", "ready"});
  EXPECT_EQ(paper.finish(), 2);
  EXPECT_EQ(paper.errors(), "kestra-paper: ready cannot be written: Is a directory\n");
  for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) {
    EXPECT_EQ(entry.path().filename().string().find("ready."), std::string::npos) << entry.path();
  }
}

}  // namespace
}  // namespace kestra::paper
