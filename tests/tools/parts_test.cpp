// Unit tests of small parts: the filter's log, document types, the progress bar, child processes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <sstream>

#include "tests/tools/proof_run.h"
#include "tools/proof/files.h"
#include "tools/proof/progress.h"
#include "tools/render/child.h"
#include "tools/render/document_type.h"
#include "tools/render/job_log.h"
#include "tools/render/ppd_place.h"

namespace kestra::proof {
namespace {

std::vector<std::string> errorsOf(const std::string& text) {
  std::istringstream log(text);
  return reportedErrors(log);
}

TEST(JobLog, TellsErrorsWithoutTheirPrefix) {
  EXPECT_EQ(errorsOf("DEBUG:PAGE: 1 1\n\nERROR:Page 2 is bad\nWARN:ERROR: no\nCRIT: no memory\n"),
            (std::vector<std::string>{"Page 2 is bad", "no memory"}));
}

TEST(JobLog, LeavesOutAnErrorWithoutWordsAndOneThatBreaksOff) {
  EXPECT_EQ(errorsOf("ERROR: \nERROR: whole\nERROR: brok"), std::vector<std::string>{"whole"});
}

TEST(JobLog, KeepsAtMostAHundredErrors) {
  std::string text;
  for (int i = 0; i < 150; ++i) text += "ERROR:" + std::to_string(i) + "\n";
  const std::vector<std::string> errors = errorsOf(text);
  ASSERT_EQ(errors.size(), 100U);
  EXPECT_EQ(errors.back(), "99");
}

TEST(DocumentType, IsToldByTheFirstBytes) {
  const ProofDirectory directory;
  const std::vector<std::pair<std::string, DocumentType>> known = {
      {"%PDF-1.7", DocumentType::kPdf},
      {"%!PS-Adobe-3.0", DocumentType::kPostScript},
      {"\x04%!PS-Adobe-3.0", DocumentType::kPostScript},
      {"\x89PNG\r\n\x1A\n", DocumentType::kImage},
      {"\xFF\xD8\xFF\xE0", DocumentType::kImage},
      {"RaS3", DocumentType::kRaster},
      {"3SaR", DocumentType::kRaster},
      {"SIZ\x01", DocumentType::kFrame},
      {"SIZE", DocumentType::kText},
      {"plain words", DocumentType::kText},
      {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\n\t\f", DocumentType::kText},
      {"\xE0\xA0\x80 \xED\x9F\xBF \xF4\x8F\xBF\xBF", DocumentType::kText},
  };
  for (const auto& [bytes, type] : known) {
    directory.writeText("document", bytes);
    const Result<DocumentType> found = documentType(directory.path("document"));
    ASSERT_TRUE(found) << bytes << found.problem();
    EXPECT_EQ(*found, type) << bytes;
  }
}

TEST(DocumentType, OfOtherBytesIsNone) {
  const ProofDirectory directory;
  for (const char* bytes : {"RaS2PwgRaster", "\xFF\xFE", "words\x01", "\xC3", "\xC0\x80", "\x7F",
                            "\xC3(", "\xE0\x80\x80", "\xED\xA0\x80", "\xF0\x80\x80\x80",
                            "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xE2\x82", "\x0E"}) {
    directory.writeText("document", std::string(bytes));
    const Result<DocumentType> found = documentType(directory.path("document"));
    EXPECT_FALSE(found) << bytes;
    EXPECT_NE(found.problem(), "");
  }
}

TEST(PpdPlace, IsLookedForBesideTheProgramFirst) {
  EXPECT_EQ(ppdName("label"), "kestra4.ppd");
  EXPECT_EQ(ppdName("stencil"), "kestraa4.ppd");
  EXPECT_EQ(ppdName("poster"), "");
  const std::vector<std::string> places = ppdPlaces("stencil");
  ASSERT_EQ(places.size(), 4U);
  const std::string besides = "/ppd/kestraa4.ppd";
  EXPECT_EQ(places[0].substr(places[0].size() - besides.size()), besides);
  EXPECT_EQ(places[3], "/usr/share/ppd/rastertokestra/kestraa4.ppd");
}

TEST(Progress, ShowsHowFarADocumentIs) {
  // 30 signs of bar: page 5 of 10 is half of them.
  EXPECT_EQ(progressText("a.pdf", 5, 10, 80),
            "a.pdf [###############               ] page 5 of 10");
  EXPECT_EQ(progressText("a.pdf", 10, 10, 80),
            "a.pdf [##############################] page 10 of 10");
  EXPECT_EQ(progressText("a.pdf", 12, 10, 80).find("page 12 of 10"), 39U) << "more than expected";
  EXPECT_EQ(progressText("a.pdf", 1, std::nullopt, 80), "a.pdf: 1 page");
  EXPECT_EQ(progressText("a.pdf", 7, 0, 80), "a.pdf: 7 pages");
}

TEST(Progress, FitsTheTerminal) {
  EXPECT_EQ(progressText("a-long-name.pdf", 7, std::nullopt, 12), "a-l: 7 pages");
  EXPECT_LE(progressText("a-long-name.pdf", 7, 10, 20).size(), 20U);
}

TEST(Child, ReturnsItsStatusOrSignal) {
  Child good;
  ASSERT_TRUE(good.run([] { return 3; }));
  EXPECT_EQ(good.wait(), 3);
  EXPECT_EQ(endWords(3), "status 3");
  Child killed;
  ASSERT_TRUE(killed.run([] {
    kill(getpid(), SIGKILL);
    return 0;
  }));
  EXPECT_EQ(endWords(killed.wait()), "signal 9");
  Child missing;
  Program program;
  program.path = "/nowhere/at/all";
  program.words = {"all"};
  ASSERT_TRUE(missing.start(program));
  EXPECT_EQ(missing.wait(), 127);
}

// nohup, and a shell's background jobs, hand on signals that are ignored.
TEST(Interrupts, ThatWereIgnoredStayIgnored) {
  Child child;
  ASSERT_TRUE(child.run([] {
    std::signal(SIGHUP, SIG_IGN);
    catchInterrupts();
    std::raise(SIGHUP);
    if (interruptSignal() != 0) return 1;
    std::raise(SIGTERM);
    return interruptSignal() == SIGTERM ? 0 : 2;
  }));
  EXPECT_EQ(child.wait(), 0);
}

TEST(PictureName, IsTheDocumentsWithoutItsEnding) {
  EXPECT_EQ(stem("some/where/label.pdf"), "label");
  EXPECT_EQ(stem("a.b.pdf"), "a.b");
  EXPECT_EQ(stem("label"), "label");
  EXPECT_EQ(stem(".label"), ".label") << "a hidden file has no ending";
  EXPECT_EQ(stem("dir.d/.label"), ".label");
}

TEST(Child, IsEndedWithItsObject) {
  pid_t pid = 0;
  {
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe(ends), 0);
    Child child;
    ASSERT_TRUE(child.run([&] {
      const pid_t self = getpid();
      if (write(ends[1], &self, sizeof self) != sizeof self) return 1;
      for (;;) pause();
      return 0;
    }));
    ASSERT_EQ(read(ends[0], &pid, sizeof pid), static_cast<ssize_t>(sizeof pid));
    EXPECT_EQ(kill(pid, 0), 0);
    close(ends[0]);
    close(ends[1]);
  }
  EXPECT_NE(kill(pid, 0), 0);
}

}  // namespace
}  // namespace kestra::proof
