// Tests of kestra-paper as a printer: connections, pace, and every fault that it can be told to
// have.
//
// Each fault is seen from the sender's end, because that is where delivery will meet it.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

#include "tests/paper/paper_run.h"

namespace kestra::paper {
namespace {

TEST(PaperPrinter, TakesOneConnectionAfterTheOther) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--ready", "ready"});
  ASSERT_TRUE(awaitThat([&] { return folder.exists("ready"); }));
  EXPECT_EQ(folder.read("ready"), std::to_string(paper.port()) + "\n");
  const Sender first(paper.port());
  ASSERT_TRUE(first.send(smallLabel()));
  ASSERT_TRUE(paper.await("label", 1));
  const Sender second(paper.port());  // waits its turn
  ASSERT_TRUE(second.isConnected());
  ASSERT_TRUE(second.send(smallLabel()));
  ASSERT_TRUE(first.send(smallLabel()));
  ASSERT_TRUE(paper.await("label", 2));
  EXPECT_EQ(paper.events("label")[1]["connection"].number, 1);
  first.endSending();
  EXPECT_EQ(first.await(), "end");
  ASSERT_TRUE(paper.await("label", 3));
  EXPECT_EQ(paper.events("label")[2]["connection"].number, 2);
  EXPECT_EQ(paper.events("label")[2]["offset"].number, 0);
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperPrinter, ListensOnAUnixSocketAndRemovesIt) {
  const Folder folder;
  Paper paper(folder, {"unix:socket", "--ready", "ready"});
  ASSERT_TRUE(awaitThat([&] { return folder.exists("ready"); }));
  EXPECT_EQ(folder.read("ready"), "socket\n");
  const Sender sender(folder.path("socket"));
  ASSERT_TRUE(sender.send(smallLabel()));
  sender.endSending();
  EXPECT_EQ(sender.await(), "end");
  EXPECT_EQ(paper.events("label").size(), 1U);
  EXPECT_EQ(paper.stop(), 0);
  EXPECT_FALSE(folder.exists("socket"));
}

TEST(PaperPrinter, TakesTheNameOfASocketThatNobodyListensTo) {
  const Folder folder;
  {
    Paper killed(folder, {"unix:socket"});
    ASSERT_TRUE(killed.await("ready", 1));
  }
  ASSERT_TRUE(folder.exists("socket"));
  Paper paper(folder, {"unix:socket"});
  ASSERT_TRUE(paper.await("ready", 1)) << paper.errors();
  EXPECT_TRUE(Sender(folder.path("socket")).isConnected());
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperPrinter, ForgetsHalfALabelWithItsConnection) {
  const Folder folder;
  Paper paper(folder, {"tcp:0"});
  {
    const Sender sender(paper.port());
    ASSERT_TRUE(sender.send(smallLabel().substr(0, 20)));
  }
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel()));
  ASSERT_TRUE(paper.await("label", 2));
  EXPECT_EQ(paper.stop(), 1);
  EXPECT_EQ(paper.events("counters")[0]["whole"].number, 1);
  EXPECT_EQ(paper.events("counters")[0]["torn"].number, 1);
  EXPECT_EQ(paper.events("counters")[0]["faults"].number, 0);
}

TEST(PaperPrinter, KeepsHalfALabelWhereToldToUntilASoftReset) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--keep-state"});
  {
    const Sender sender(paper.port());
    ASSERT_TRUE(sender.send(smallLabel().substr(0, 20)));
  }
  {
    const Sender sender(paper.port());
    ASSERT_TRUE(sender.send(smallLabel().substr(20) + smallLabel().substr(0, 20)));
    ASSERT_TRUE(paper.await("label", 1));
  }
  ASSERT_TRUE(awaitThat([&] { return paper.events("connection").size() == 4; }));
  EXPECT_TRUE(paper.events("label")[0]["whole"].boolean);
  paper.signal(SIGUSR1);
  ASSERT_TRUE(paper.await("label", 2));
  EXPECT_EQ(paper.events("label")[1]["cut"].string, "soft reset");
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel()));
  ASSERT_TRUE(paper.await("label", 3));
  EXPECT_EQ(paper.stop(), 1);
  EXPECT_EQ(paper.events("counters")[0]["whole"].number, 2);
  EXPECT_EQ(paper.events("counters")[0]["torn"].number, 1);
}

TEST(PaperPrinter, EndsWithTheLabelsThatItWasToWaitFor) {
  const Folder folder;
  folder.write("wanted", listLine(smallFrame(1), "one") + listLine(smallFrame(2), "two"));
  Paper paper(folder, {"tcp:0", "--expect", "wanted", "--labels", "2"});
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel(1) + smallLabel(2)));
  EXPECT_EQ(paper.finish(), 0);
}

TEST(PaperPrinter, ReadsWhatHasComeBeforeItJudges) {
  const Folder folder;
  // It pauses at the first byte: what comes then lies in the system's buffers, also of a connection
  // that was never accepted.
  Paper paper(folder, {"tcp:0", "--fault", "label 1 slow 0.001"});
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel() + smallLabel()));
  sender.endSending();
  const Sender waiting(paper.port());
  ASSERT_TRUE(waiting.send(smallLabel()));
  ASSERT_TRUE(awaitThat([&] { return sender.unacknowledged() + waiting.unacknowledged() == 0; }));
  EXPECT_EQ(paper.events("label").size(), 0U);
  EXPECT_EQ(paper.stop(), 0);
  EXPECT_EQ(paper.events("label").size(), 3U);
}

TEST(PaperPrinter, EndsWhenNothingComesAnyMore) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--idle", "0.2"});
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel()));
  EXPECT_EQ(paper.finish(), 0);
  const Folder other;
  Paper brief(other, {"tcp:0", "--for", "0.1"});
  EXPECT_EQ(brief.finish(), 0);
}

TEST(PaperPrinter, PrintsAsFastAsItIsToldTo) {
  const Folder folder;
  // 80 rows at 203 dpi are 10.01 mm, 0.25 s at 40 mm a second.
  Paper paper(folder, {"tcp:0", "--speed", "40"});
  const Sender sender(paper.port());
  double least = 1000;
  for (std::size_t i = 0; i < 5 && least >= 1.0; ++i) {  // a busy machine adds to it
    ASSERT_TRUE(sender.send(largeLabel(106, 80)));
    ASSERT_TRUE(paper.await("label", i + 1));
    const JsonValue label = paper.events("label")[i];
    const double seconds = label["last"].number - label["first"].number;
    EXPECT_GT(seconds, 0.22);  // its last rows are read 10 ms before the paper has moved over them
    least = std::min(least, seconds);
  }
  EXPECT_LT(least, 1.0);
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperPrinter, TheResolutionMakesTheSameRowsLonger) {
  const Folder folder;
  // 80 rows at 50 dpi are 40.6 mm, 0.41 s at 100 mm a second; at 203 dpi they would be 0.1 s.
  Paper paper(folder, {"tcp:0", "--speed", "100", "--dpi", "50"});
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(largeLabel(106, 80)));
  ASSERT_TRUE(paper.await("label", 1));
  const JsonValue label = paper.events("label")[0];
  EXPECT_GT(label["last"].number - label["first"].number, 0.36);
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperPrinter, ASenderFeelsThePressure) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "label 1 2% pause 100"});
  const Sender sender(paper.port());
  const Bytes label = largeLabel(1000, 20000);  // 20 MB
  std::size_t sent = 0;
  ASSERT_TRUE(awaitThat([&] {
    sent += sender.sendWhatFits(label.substr(sent));
    return paper.events("action").size() == 1;
  }));
  // The sender's own buffer takes what it will; the printer's takes 16 KB, of which the system
  // keeps twice as much.
  for (int still = 0; still < 50;) {
    const std::size_t more = sender.sendWhatFits(label.substr(sent));
    sent += more;
    still = more > 0 ? 0 : still + 1;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  const std::size_t read = 400000;  // 2 per cent
  const std::size_t arrived = sent - static_cast<std::size_t>(sender.unacknowledged());
  EXPECT_GE(arrived, read);
  EXPECT_LE(arrived, read + 3000 + 65536);
  EXPECT_LT(sent, label.size());
  EXPECT_EQ(paper.stop(), 1);  // torn
}

TEST(PaperFaults, PausesInTheMiddleOfALabel) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "label 2 80% pause 0.3"});
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel() + smallLabel() + smallLabel()));
  ASSERT_TRUE(paper.await("label", 3));
  const std::vector<JsonValue> labels = paper.events("label");
  EXPECT_GE(labels[1]["last"].number - labels[1]["first"].number, 0.3);
  const JsonValue action = paper.events("action")[0];
  EXPECT_EQ(action["action"].string, "pause 0.3");
  EXPECT_EQ(action["why"].string, "label 2 80%");
  EXPECT_EQ(action["label_bytes"].number, 32);  // of 39: 31.2, rounded up
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperFaults, HappenAtTheByteTheyArePlannedFor) {
  struct Planned {
    const char* when;
    double label;
    double bytes;  // of the label, 0 between labels
  };
  for (const Planned& planned :
       {Planned{"start", 0, 0}, Planned{"connection 1", 0, 0}, Planned{"label 1", 1, 1},
        Planned{"label 2", 2, 1}, Planned{"label 2 0%", 2, 1},
        Planned{"label 2 1%", 2, 29},  // the head
        Planned{"label 2 51%", 2, 29}, Planned{"label 2 75%", 2, 30}, Planned{"label 2 77%", 2, 31},
        Planned{"label 2 97%", 2, 38}, Planned{"label 2 99%", 2, 0},  // 37.8 and 38.6 bytes
        Planned{"label 2 100%", 2, 0}, Planned{"after 1", 1, 0}, Planned{"byte 1", 1, 1},
        Planned{"byte 40", 2, 1}, Planned{"byte 60", 2, 21}, Planned{"byte 78", 2, 0}}) {
    const Folder folder;
    Paper paper(folder, {"tcp:0", "--fault", std::string(planned.when) + " pause 0.05"});
    const Sender sender(paper.port());
    ASSERT_TRUE(sender.send(smallLabel() + smallLabel() + smallLabel()));
    ASSERT_TRUE(paper.await("label", 3)) << planned.when;
    ASSERT_EQ(paper.events("action").size(), 1U) << planned.when;
    const JsonValue action = paper.events("action")[0];
    EXPECT_EQ(action["label"].number, planned.label) << planned.when;
    EXPECT_EQ(action["label_bytes"].number, planned.bytes) << planned.when;
    EXPECT_EQ(paper.stop(), 0);
  }
}

TEST(PaperFaults, SlowsDownForAWhile) {
  double longest = 1000;  // of the labels that are not slow
  for (int attempt = 0; attempt < 5 && longest >= 1.0; ++attempt) {  // a busy machine adds to it
    const Folder folder;
    Paper paper(folder, {"tcp:0", "--fault", "label 2 slow 4 2"});
    const Sender sender(paper.port());
    // 40 rows at 4 mm a second take 1.25 s.
    const Bytes label = largeLabel(106, 40);
    ASSERT_TRUE(sender.send(label + label));
    ASSERT_TRUE(paper.await("label", 2));
    const auto duration = [&](std::size_t which) {
      const JsonValue event = paper.events("label")[which];
      return event["last"].number - event["first"].number;
    };
    EXPECT_GT(duration(1), 1.0);
    std::this_thread::sleep_for(std::chrono::seconds(2));  // until the fault is over
    ASSERT_TRUE(sender.send(label));
    ASSERT_TRUE(paper.await("label", 3));
    longest = std::max(duration(0), duration(2));
    EXPECT_EQ(paper.stop(), 0);
  }
  EXPECT_LT(longest, 1.0);
}

TEST(PaperFaults, ClosesInOrderBehindWhatWasSent) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "label 2 close"});
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel() + smallLabel()));
  EXPECT_EQ(sender.await(), "end");
  EXPECT_EQ(paper.events("label").size(), 2U);
  EXPECT_TRUE(awaitThat([&] { return paper.closings() == "closed by printer"; }));
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperFaults, ResetsBehindWhatWasSent) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "label 2 50% reset"});
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel() + smallLabel()));
  EXPECT_EQ(sender.await(), "reset");
  ASSERT_TRUE(awaitThat([&] { return paper.closings() == "reset by printer"; }));
  // All that was acknowledged was read as well.
  EXPECT_EQ(paper.events("label").size(), 2U);
  const Sender next(paper.port());
  EXPECT_TRUE(next.isConnected());
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperFaults, AResetInALongLabelTearsIt) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "label 1 50% reset"});
  const Sender sender(paper.port());
  EXPECT_FALSE(sender.send(largeLabel(1000, 20000)));  // 20 MB
  ASSERT_TRUE(paper.await("label", 1));
  const JsonValue label = paper.events("label")[0];
  EXPECT_FALSE(label["whole"].boolean);
  EXPECT_GE(label["bytes"].number, 10e6);
  EXPECT_LT(label["bytes"].number, 10.5e6);  // what was on its way
  for (const JsonValue& event : paper.events("connection")) {
    if (event["what"].string != "closed") continue;
    EXPECT_EQ(event["unread"].number, 0);
  }
}

TEST(PaperFaults, LosesWhatWasSentWhenItResetsUnread) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "label 2 reset-unread"});
  const Sender sender(paper.port());
  const auto start = Clock::now();
  ASSERT_TRUE(sender.send(smallLabel() + smallLabel() + smallLabel()));
  // To the sender all bytes are acknowledged before the reset comes.
  ASSERT_TRUE(awaitThat([&] { return sender.unacknowledged() == 0; }));
  EXPECT_EQ(sender.await(), "reset");
  EXPECT_GE(secondsSince(start), 0.3);  // time for the buffer to fill
  ASSERT_TRUE(awaitThat([&] { return paper.closings() == "reset by printer, unread"; }));
  EXPECT_EQ(paper.events("connection").back()["unread"].number, 38 + 39);
  EXPECT_EQ(paper.stop(), 1);
  EXPECT_EQ(paper.events("counters")[0]["whole"].number, 1);
  EXPECT_EQ(paper.events("counters")[0]["torn"].number, 1);
}

TEST(PaperFaults, AcceptsAndNeverReads) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "connection 1 deaf"});
  {
    const Sender sender(paper.port());
    ASSERT_TRUE(sender.send(smallLabel()));
    ASSERT_TRUE(awaitThat([&] { return sender.unacknowledged() == 0; }));
  }
  ASSERT_TRUE(awaitThat([&] { return paper.closings() == "end"; }));
  EXPECT_EQ(paper.events("connection").back()["unread"].number, 39);
  EXPECT_EQ(paper.events("label").size(), 0U);
  const Sender next(paper.port());
  ASSERT_TRUE(next.send(smallLabel()));
  ASSERT_TRUE(paper.await("label", 1));
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperFaults, HearsAgainAfterAWhile) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "connection 1 deaf 0.2"});
  const auto start = Clock::now();
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel()));
  ASSERT_TRUE(paper.await("label", 1));
  EXPECT_GE(secondsSince(start), 0.2);
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperFaults, RefusesForAWhileAtTheSamePort) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--control", "control", "--fault", "label 2 50% refuse 60"});
  const std::uint16_t port = paper.port();
  const Sender sender(port);
  ASSERT_TRUE(sender.send(smallLabel() + smallLabel().substr(0, 30)));
  EXPECT_EQ(sender.await(), "reset");
  EXPECT_FALSE(Sender(port).isConnected());
  const auto start = Clock::now();
  std::ofstream(folder.path("control")) << "refuse 0.3\n";
  ASSERT_TRUE(awaitThat([&] { return Sender(port).isConnected(); }));
  EXPECT_GE(secondsSince(start), 0.3);
  EXPECT_EQ(paper.stop(), 1);
  EXPECT_EQ(paper.events("counters")[0]["torn"].number, 1);
}

TEST(PaperFaults, RefusesOnAUnixSocketAsWell) {
  const Folder folder;
  Paper paper(folder, {"unix:socket", "--control", "control", "--fault", "start refuse 60"});
  ASSERT_TRUE(paper.await("action", 1));
  ASSERT_TRUE(awaitThat([&] { return !Sender(folder.path("socket")).isConnected(); }));
  std::ofstream(folder.path("control")) << "refuse 0.2\n";
  ASSERT_TRUE(awaitThat([&] { return Sender(folder.path("socket")).isConnected(); }));
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperFaults, LosesPowerAndForgetsHalfALabel) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--keep-state", "--fault", "label 1 80% power-cycle 0.2"});
  const std::uint16_t port = paper.port();
  {
    const Sender sender(port);
    ASSERT_TRUE(sender.send(smallLabel()));
    EXPECT_EQ(sender.await(), "reset");
  }
  ASSERT_TRUE(paper.await("label", 1));
  EXPECT_EQ(paper.events("label")[0]["cut"].string, "power lost");
  EXPECT_EQ(paper.events("label")[0]["bytes"].number, 32);
  ASSERT_TRUE(awaitThat([&] {
    const Sender sender(port);
    return sender.isConnected() && sender.send(smallLabel()) && paper.await("label", 2);
  }));
  EXPECT_TRUE(paper.events("label")[1]["whole"].boolean);
  EXPECT_EQ(paper.stop(), 1);
}

TEST(PaperFaults, NeverClosesButTakesTheNextConnection) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "start no-close"});
  const Sender first(paper.port());
  ASSERT_TRUE(first.send(smallLabel()));
  first.endSending();
  ASSERT_TRUE(awaitThat([&] { return paper.closings() == "end"; }));
  const Sender second(paper.port());
  ASSERT_TRUE(second.send(smallLabel()));
  ASSERT_TRUE(paper.await("label", 2));
  Bytes reply;
  paper.signal(SIGSTOP);  // what would have come of the first has come
  EXPECT_TRUE(awaitThat([&] { return first.unacknowledged() == 0; }));
  EXPECT_FALSE(first.hasEnded());
  paper.signal(SIGCONT);
  EXPECT_EQ(paper.stop(), 0);
  EXPECT_EQ(first.await(&reply), "end");
  EXPECT_EQ(reply, "");
}

TEST(PaperFaults, AnswersWithGarbage) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "label 1 garbage 1B 40", "--fault",
                       "after 1 garbage paper out"});
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel()));
  sender.endSending();
  Bytes reply;
  EXPECT_EQ(sender.await(&reply), "end");
  EXPECT_EQ(reply, "\x1B@paper out");
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperFaults, Dies) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--fault", "label 1 die"});
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel()));
  EXPECT_EQ(paper.finish(), 3);
}

TEST(PaperFaults, EachHappensOnceInTheOrderGiven) {
  const Folder folder;
  folder.write("script", "# twice\nlabel 1 garbage b\nlabel 1 garbage c\n");
  Paper paper(folder, {"tcp:0", "--fault", "label 1 garbage a", "--script", "script"});
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel() + smallLabel()));
  sender.endSending();
  Bytes reply;
  EXPECT_EQ(sender.await(&reply), "end");
  EXPECT_EQ(reply, "abc");
  EXPECT_EQ(paper.stop(), 0);
}

TEST(PaperControl, TakesActionsWhileItRuns) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--control", "control"});
  const Sender sender(paper.port());
  ASSERT_TRUE(sender.send(smallLabel()));
  ASSERT_TRUE(paper.await("label", 1));
  struct stat found = {};
  ASSERT_EQ(stat(folder.path("control").c_str(), &found), 0);
  EXPECT_TRUE(S_ISFIFO(found.st_mode));
  std::ofstream(folder.path("control")) << "garbage a\nnonsense\nlabel 2 garbage b\n";
  ASSERT_TRUE(paper.await("problem", 1));
  ASSERT_TRUE(paper.await("action", 1));
  ASSERT_TRUE(sender.send(smallLabel()));
  ASSERT_TRUE(paper.await("action", 2));
  EXPECT_EQ(paper.events("action")[0]["why"].string, "control");
  EXPECT_EQ(paper.events("action")[1]["why"].string, "label 2");
  EXPECT_EQ(paper.events("problem")[0]["problem"].string, "control: unknown action \"nonsense\"");
  std::ofstream(folder.path("control")) << "reset\n";
  Bytes reply;
  EXPECT_EQ(sender.await(&reply), "reset");
  EXPECT_EQ(paper.stop(), 0);
  EXPECT_FALSE(folder.exists("control"));
}

TEST(PaperControl, TakesActionsFromStandardInput) {
  const Folder folder;
  Paper paper(folder, {"tcp:0", "--control", "-"}, "die\n");
  EXPECT_EQ(paper.finish(), 3);
}

}  // namespace
}  // namespace kestra::paper
