// Tests of the command line and of places that cannot be used.
//
// Every wrong line ends with status 2 and one sentence; 1 is for labels alone.
#include <gtest/gtest.h>

#include "tests/paper/paper_run.h"

namespace kestra::paper {
namespace {

struct WrongLine {
  std::vector<std::string> words;
  const char* sentence;  // its start
};

TEST(PaperOptions, SaysWhatIsWrongWithTheLine) {
  const Folder folder;
  folder.write("script", "label 1 reset\nlabel 2 rest\n");
  folder.write("list", "no digest\n");
  folder.write("file", "");
  const std::string longPath(120, 'p');
  const std::vector<WrongLine> lines = {
      {{}, "no source given: tcp:PORT, unix:PATH, - or a file"},
      {{"-", "x"}, "one source only, 2 are given"},
      {{"--frob"}, "unknown option --frob"},
      {{"tcp:"}, "\"tcp:\" is no TCP address; it goes tcp:PORT or tcp:HOST:PORT"},
      {{"tcp:http"}, "\"tcp:http\" is no TCP address"},
      {{"tcp:65536"}, "\"tcp:65536\" is no TCP address"},
      {{"tcp:100000"}, "\"tcp:100000\" is no TCP address"},
      {{"tcp:[::1:0"}, "[::1 is no address of this machine: "},
      {{"tcp::9100"}, "\"tcp::9100\" is no TCP address"},
      {{"tcp:256.0.0.1:0"}, "256.0.0.1 is no address of this machine: "},
      {{"unix:"}, "\"unix:\" is no Unix socket; its path has 1 to 107 bytes"},
      {{"unix:" + longPath}, "\"unix:ppp"},
      {{"unix:missing/socket"}, "cannot listen on missing/socket: No such file or directory"},
      {{"unix:file"}, "cannot listen on file: Address already in use"},
      {{""}, "the source is empty"},
      {{"missing"}, "missing cannot be read: No such file or directory"},
      {{"."}, ". cannot be read: Is a directory"},
      {{"-", "--speed", "fast"},
       "--speed wants mm a second, 0 for as fast as it comes, not \"fast\""},
      {{"-", "--speed", "1..2"}, "--speed wants mm a second"},
      {{"-", "--speed", "10001"}, "--speed wants mm a second"},
      {{"-", "--dpi", "0"}, "--dpi wants a whole number from 1 to 9999, not \"0\""},
      {{"-", "--dpi", "10000"}, "--dpi wants a whole number from 1 to 9999, not \"10000\""},
      {{"-", "--labels", "1234567890123"}, "--labels wants a whole number from 1"},
      {{"-", "--speed", "1.00000000000000"}, "--speed wants mm a second"},
      {{"-", "--fault", "after 1.00000000000000 reset"}, "--fault wants WHEN ACTION"},
      {{"-", "--fault", "label 1234567890123456 reset"}, "--fault wants WHEN ACTION"},
      {{"-", "--dpi"}, "--dpi wants a whole number from 1 to 9999\n"},
      {{"-", "--buffer", "-1"}, "--buffer wants a whole number"},
      {{"-", "--labels", "0"}, "--labels wants a whole number from 1"},
      {{"-", "--idle", "x"}, "--idle wants a number of seconds, not \"x\""},
      {{"-", "--for="}, "--for wants a number of seconds\n"},
      {{"-", "--allow-twice", "many"}, "--allow-twice wants a whole number"},
      {{"-", "--fault", "label 1 rest"}, "--fault wants WHEN ACTION: unknown action \"rest\""},
      {{"-", "--script", "missing"}, "missing cannot be read: No such file or directory"},
      {{"-", "--script", "script"}, "script, line 2: unknown action \"rest\""},
      {{"-", "--expect", "missing"}, "missing cannot be read: No such file or directory"},
      {{"-", "--expect", "."}, ". cannot be read"},
      {{"-", "--expect", "list"}, "list: line 1 does not start with a digest"},
      {{"-", "--expect", ""}, "--expect wants the name of a file"},
      {{"-", "--list", "--expect", "list"}, "give --list or --expect, not both"},
      {{"-", "--control", "-"}, "--control and the source cannot both be standard input"},
      {{"-", "--control", "file"}, "file cannot be used for control: it is no FIFO"},
      {{"-", "--control", "missing/fifo"},
       "missing/fifo cannot be used for control: No such file or directory"},
      {{"-", "--ready", "r"}, "--ready is for tcp: and unix:, nobody connects to a file"},
      {{"tcp:0", "--ready", "missing/r"}, "missing/r cannot be written: No such file or directory"},
      {{"-", "--output", "file/out"}, "file/out cannot be made: Not a directory"},
      {{"-", "--log", "missing/log"}, "missing/log cannot be written: No such file or directory"},
      {{"--digest"}, "--digest wants page frames"},
      {{"--digest", "missing"}, "missing cannot be read: No such file or directory"},
      {{"--came", "list"}, "--came needs --expect: nothing to judge by"},
      {{"-", "--came", "list", "--expect", "list"}, "give a source or --came, not both"},
  };
  for (const WrongLine& line : lines) {
    Paper paper(folder, line.words);
    const std::string sentence = "kestra-paper: " + std::string(line.sentence);
    EXPECT_EQ(paper.finish(), 2) << sentence;
    EXPECT_EQ(paper.errors().substr(0, sentence.size()), sentence) << paper.errors();
  }
}

TEST(PaperOptions, SaysThatAPortIsTaken) {
  const Folder first;
  Paper paper(first, {"tcp:0"});
  const std::string address = "tcp:" + std::to_string(paper.port());
  const Folder folder;
  Paper second(folder, {address});
  EXPECT_EQ(second.finish(), 2);
  EXPECT_EQ(second.errors(), "kestra-paper: cannot listen on 127.0.0.1:" + address.substr(4) +
                                 ": Address already in use\n");
}

TEST(PaperOptions, SaysThatTheLogIsFull) {
  const Folder folder;
  Paper paper(folder, {"-", "--log", "/dev/full"}, smallLabel());
  EXPECT_EQ(paper.finish(), 2);
  EXPECT_EQ(paper.errors(), "kestra-paper: the log cannot be written: No space left on device\n");
}

TEST(PaperOptions, HelpNamesEveryOption) {
  const Folder folder;
  Paper paper(folder, {"--help"});
  EXPECT_EQ(paper.finish(), 0);
  const std::string help = paper.output();
  for (const char* option :
       {"--ready",         "--buffer",    "--keep-state", "--no-command", "--any-count",
        "--speed",         "--dpi",       "--output",     "--fault",      "--script",
        "--control",       "--expect",    "--came",       "--allow-torn", "--allow-twice",
        "--allow-unknown", "--any-order", "--list",       "--digest",     "--labels",
        "--for",           "--idle",      "--log",        "--quiet",      "--version"}) {
    EXPECT_NE(help.find(option), std::string::npos) << option;
  }
  Paper version(folder, {"--version"});
  EXPECT_EQ(version.finish(), 0);
  EXPECT_EQ(version.output(), "kestra-paper (rastertokestra) " KESTRA_VERSION "\n");
}

}  // namespace
}  // namespace kestra::paper
