// How a job starts and ends: arguments, files, the paper check, streams without pages.
// Why: the print system decides by exit status and messages whether the queue goes on.
#include <gtest/gtest.h>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

namespace ts = testing_support;

namespace {

std::string usage(const std::string& name) {
  return name + " v1.0.0\n\nUsage:\n\n    " + name +
         " job_id user title copyies options [file]\n\n";
}

ts::Run plainRun(ts::Sandbox& box) {
  box.write("tmp/test.ppd", ts::PpdText().text());
  ts::Run run;
  run.ppd = ts::Sandbox::inside("tmp/test.ppd");
  return run;
}

}  // namespace

TEST(Start, ShowsTheUsageForFewerThanSixArguments) {
  const std::vector<std::string> all = {"42", "user", "title", "1"};
  for (std::size_t count = 0; count <= all.size(); ++count) {
    ts::Sandbox box;
    ts::Run run = plainRun(box);
    run.queueName = "label";
    run.arguments.assign(all.begin(), all.begin() + static_cast<long>(count));
    const ts::Result result = box.start(run);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.messages, usage("label"));
    EXPECT_EQ(result.files.size(), 1U) << "only the PPD";
  }
}

TEST(Start, NamesOnlyTheLastPartOfItsPathInTheUsage) {
  for (const char* path : {"/usr/lib/filter/queue", "a/b\\queue", "a\\b/queue", "queue"}) {
    ts::Sandbox box;
    ts::Run run = plainRun(box);
    run.queueName = path;
    run.arguments.clear();
    EXPECT_EQ(box.start(run).messages, usage("queue")) << path;
  }
  ts::Sandbox box;
  ts::Run run = plainRun(box);
  run.queueName = "ends/here/";
  run.arguments.clear();
  EXPECT_EQ(box.start(run).messages, usage(""));
}

TEST(Start, ReadsStandardInputWithSixArgumentsAndTheFileWithSeven) {
  JobCase job;
  job.addPage(16, 4, "noise");
  expectAsPlain(job);
  job.fileArgument = true;
  expectAsPlain(job);
}

TEST(Start, EndsWithStatusOneWhenTheFileCannotBeOpened) {
  ts::Sandbox box;
  ts::Run run = plainRun(box);
  run.arguments.push_back(ts::Sandbox::inside("tmp/nothing.ras"));
  const ts::Result result = box.start(run);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  // Nothing follows the blank, and no setting has been read yet.
  EXPECT_EQ(result.messages, "ERROR: Unable to open raster file - ");
  EXPECT_EQ(result.files.size(), 1U);
}

TEST(Start, TreatsAnEmptyFileNameAsAFileThatCannotBeOpened) {
  ts::Sandbox box;
  ts::Run run = plainRun(box);
  run.arguments.emplace_back("");
  const ts::Result result = box.start(run);
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
  job.place.dataDirectoryThere = true;
  job.prepare = [](ts::Sandbox& box) { box.makeDirectory(ts::kData); };
  const ts::Result result = expectAsPlain(job);
  // The counter of a queue that has never printed is 1.
  EXPECT_EQ(result.files.at(std::string(ts::kData) + "/label.pgc"), hex("01 00"));
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
    ts::Sandbox box;
    ts::Run run = plainRun(box);
    run.input = input;
    const ts::Result result = box.start(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.files.size(), 1U);
  }
}

TEST(Start, ReadsTheFileEvenWhenStandardInputIsClosed) {
  ts::Sandbox box;
  ts::Run run = plainRun(box);
  run.input = ts::Input::kClosed;
  box.write("tmp/pages.ras", ts::writeStream({{ts::makeHeader(8, 1, 8), ts::uniform(8, 1, 255)}}));
  run.arguments.push_back(ts::Sandbox::inside("tmp/pages.ras"));
  const ts::Result result = box.start(run);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, hex("1B 73 01 00 00 02 01"));
}

TEST(Start, RefusesPaperOfAtMostOneMillimetre) {
  // 2.8344671 points x 0.3528 is 1.0 in single precision: exactly one millimetre is too small.
  for (const double points : {0.5, 2.83, 2.8344671}) {
    for (const bool across : {true, false}) {
      JobCase job;
      const double width = across ? points : 72;
      const double length = across ? 72 : points;
      job.ppd.setSizes("Tiny", {{"Tiny", width, length}});
      job.settings.pageSize = "Tiny";
      const float values[6] = {static_cast<float>(width), static_cast<float>(length), 0, 0,
                               static_cast<float>(width), static_cast<float>(length)};
      std::copy(std::begin(values), std::end(values), std::begin(job.settings.points));
      job.addPage(8, 1, "solid");
      job.place.dataDirectoryThere = true;
      job.prepare = [](ts::Sandbox& box) { box.makeDirectory(ts::kData); };
      const ts::Result result = expectAsPlain(job);  // no counter file: no job end
      EXPECT_EQ(result.status, 1);
      EXPECT_NE(result.messages.find("ERROR: Paper size must not less than 1.0 : ("),
                std::string::npos);
    }
  }
}

TEST(Start, AcceptsPaperJustAboveOneMillimetre) {
  JobCase job;
  job.ppd.setSizes("Tiny", {{"Tiny", 2.84, 3}});
  job.settings.pageSize = "Tiny";
  const float values[6] = {2.84F, 3, 0, 0, 2.84F, 3};
  std::copy(std::begin(values), std::end(values), std::begin(job.settings.points));
  job.addPage(8, 1, "solid");
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
