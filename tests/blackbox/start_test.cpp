// How a job starts and ends: arguments, files, the paper check, streams without pages.
// Why: the print system decides by exit status and messages whether the queue goes on.
#include <gtest/gtest.h>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

namespace {

std::string usage(const std::string& name) {
  return name + " v1.0.0\n\nUsage:\n\n    " + name +
         " job_id user title copyies options [file]\n\n";
}

// Starts the filter with a PPD and nothing else in its tree.
ts::Result start(ts::Run run) {
  ts::Sandbox box;
  box.write("tmp/test.ppd", ts::PpdText().text());
  run.ppd = ts::Sandbox::inside("tmp/test.ppd");
  return box.start(run);
}

}  // namespace

TEST(Start, ShowsTheUsageForFewerThanSixArguments) {
  const std::vector<std::string> all = {"42", "user", "title", "1"};
  for (std::size_t count = 0; count <= all.size(); ++count) {
    ts::Run run;
    run.queueName = "label";
    run.arguments.assign(all.begin(), all.begin() + static_cast<long>(count));
    const ts::Result result = start(run);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.messages, usage("label"));
    EXPECT_EQ(result.files.size(), 1U) << "only the PPD";
  }
}

TEST(Start, NamesOnlyTheLastPartOfItsPathInTheUsage) {
  const std::vector<std::pair<std::string, std::string>> paths = {
      {"/usr/lib/filter/queue", "queue"},
      {"a/b\\queue", "queue"},
      {"a\\b/queue", "queue"},
      {"queue", "queue"},
      {"ends/here/", ""}};
  for (const auto& [path, name] : paths) {
    ts::Run run;
    run.queueName = path;
    run.arguments.clear();
    EXPECT_EQ(start(run).messages, usage(name)) << path;
  }
}

TEST(Start, ReadsStandardInputWithSixArgumentsAndTheFileWithSeven) {
  JobCase job = onePage(16, 4, "noise");
  expectAsPlain(job);
  job.fileArgument = true;
  expectAsPlain(job);
}

TEST(Start, EndsWithStatusOneWhenTheFileCannotBeOpened) {
  ts::Run run;
  run.arguments.push_back(ts::Sandbox::inside("tmp/nothing.ras"));
  const ts::Result result = start(run);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  // Nothing follows the blank, and no setting has been read yet.
  EXPECT_EQ(result.messages, "ERROR: Unable to open raster file - ");
  EXPECT_EQ(result.files.size(), 1U);
}

TEST(Start, TreatsAnEmptyFileNameAsAFileThatCannotBeOpened) {
  ts::Run run;
  run.arguments.emplace_back("");
  const ts::Result result = start(run);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.messages, "ERROR: Unable to open raster file - ");
}

TEST(Start, EndsAnEmptyStreamNormally) {
  JobCase job;
  job.stream = "";
  expectAsPlain(job);  // no data directory, so no counter file either
  job.marker = hex("07 00");
  expectAsPlain(job);
  job.marker.reset();
  job.makeDataDirectory();
  const ts::Result result = expectAsPlain(job);
  // The counter of a queue that has never printed is 1.
  EXPECT_EQ(counterOf(result), hex("01 00"));
}

TEST(Start, EndsAStreamWithoutAnyPageNormally) {
  for (const auto& stream : {std::string("3SaR"), std::string("RaS3"), std::string("2SaR")}) {
    JobCase job;
    job.stream = stream;
    EXPECT_EQ(expectAsPlain(job).status, 0);
  }
}

TEST(Start, EndsNormallyWhenStandardInputIsEmptyOrClosed) {
  for (const ts::Input input : {ts::Input::kDevNull, ts::Input::kClosed}) {
    ts::Run run;
    run.input = input;
    const ts::Result result = start(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.files.size(), 1U);
  }
}

TEST(Start, ReadsTheFileEvenWhenStandardInputIsClosed) {
  JobCase job = onePage(8, 1, "solid");
  job.fileArgument = true;
  ts::Sandbox box;
  ts::Run run = prepare(job, box);
  run.input = ts::Input::kClosed;
  const ts::Result result = box.start(run);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, hex("1B 73 01 00 00 02 01"));
}

TEST(Start, RefusesPaperOfAtMostOneMillimetre) {
  // 2.8344671 points x 0.3528 is 1.0 in single precision: exactly one millimetre is too small.
  for (const double points : {0.5, 2.83, 2.8344671}) {
    for (const bool across : {true, false}) {
      JobCase job = onePage(8, 1, "solid");
      job.onlySize("Tiny", across ? points : 72, across ? 72 : points);
      job.makeDataDirectory();
      const ts::Result result = expectAsPlain(job);  // no counter file: no job end
      EXPECT_EQ(result.status, 1);
      EXPECT_NE(result.messages.find("ERROR: Paper size must not less than 1.0 : ("),
                std::string::npos);
    }
  }
}

TEST(Start, AcceptsPaperJustAboveOneMillimetre) {
  JobCase job = onePage(8, 1, "solid");
  job.onlySize("Tiny", 2.84, 3);
  EXPECT_EQ(expectAsPlain(job).status, 0);
}

TEST(Start, StopsWithThePaperErrorWhenThePpdIsMissing) {
  for (const bool unset : {true, false}) {
    ts::Sandbox box;
    ts::Run run;
    if (!unset) run.ppd = ts::Sandbox::inside("tmp/none.ppd");
    run.inputBytes = ts::writeStream({{ts::makeHeader(8, 1, 8), ts::uniform(8, 1, 255)}});
    const ts::Result result = box.start(run);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    // Texts empty, numbers 0; what VBarcodeOpt shows means nothing.
    const std::string before =
        "DEBUG:PageSizeName: \nDEBUG:settings->Resolution:\nDEBUG:settings->MediaMethod:\n"
        "DEBUG:settings->PaperType:\nDEBUG:settings->GapsHeight:0\nDEBUG:settings->PostAction:\n"
        "DEBUG:settings->Occurrence:\nDEBUG:settings->Origin:\nDEBUG:settings->MirrorImage:0\n"
        "DEBUG:settings->NegativeImage:0\nDEBUG:settings->PrintSpeed:\n"
        "DEBUG:settings->Darkness:0\nDEBUG:settings->halftoneType:0\nDEBUG:settings->PageSize:\n"
        "DEBUG:settings->pageWidth:0.000000\nDEBUG:settings->pageHeight:0.000000\n"
        "DEBUG:settings->MaxMediaWidth:0.000000\nDEBUG:settings->VBarcodeOpt:";
    const std::string after = "\nERROR: Paper size must not less than 1.0 : (0.000000, 0.000000)\n";
    EXPECT_EQ(result.messages.substr(0, before.size()), before);
    ASSERT_GE(result.messages.size(), after.size());
    EXPECT_EQ(result.messages.substr(result.messages.size() - after.size()), after);
    EXPECT_TRUE(result.files.empty());
  }
}

TEST(Start, OpensTheFileBeforeItLooksAtThePaper) {
  ts::Sandbox box;
  ts::Run run;  // no PPD: the paper check would fail
  run.arguments.push_back(ts::Sandbox::inside("tmp/nothing.ras"));
  EXPECT_EQ(box.start(run).messages, "ERROR: Unable to open raster file - ");
}

}  // namespace kestra::blackbox
