// Page numbers across jobs, counter files, file names of frames, job ids and queue names.
// Why: the delivery stage finds a page by its file name, so no two may collide or go missing.
#include <gtest/gtest.h>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

namespace {

const std::string kDataDir = std::string(ts::kData) + "/";

JobCase pages(int count) {
  JobCase job;
  for (int i = 0; i < count; ++i) job.addPage(16, 2 + static_cast<unsigned>(i), "noise");
  return job;
}

// What a job of so many pages leaves on a queue whose counter file holds these bytes.
ts::Result print(int count, const std::string& marker) {
  JobCase job = pages(count);
  job.marker = marker;
  return expectAsPlain(job);
}

bool has(const ts::Result& result, const std::string& name) {
  return result.files.count(kDataDir + name) > 0;
}

}  // namespace

TEST(Counter, NumbersTheFirstJobOfAQueueOneTwoThree) {
  const ts::Result result = expectAsPlain(pages(3));
  EXPECT_TRUE(has(result, "page_0001_jobid_000042_0000.dat"));
  EXPECT_TRUE(has(result, "page_0002_jobid_000042_0000.dat"));
  EXPECT_TRUE(has(result, "page_0003_jobid_000042_0000.dat"));
  EXPECT_EQ(counterOf(result), hex("04 00"));
}

TEST(Counter, GivesAllPagesOfAJobWithACounterFileOneNumber) {
  const ts::Result result = print(3, hex("05 00"));
  EXPECT_TRUE(has(result, "page_0005_jobid_000042_0000.dat"));
  EXPECT_TRUE(has(result, "page_0005_jobid_000042_0001.dat"));
  EXPECT_TRUE(has(result, "page_0005_jobid_000042_0002.dat"));
  EXPECT_EQ(counterOf(result), hex("06 00"));
}

TEST(Counter, StartsAgainFrom9000On) {
  // 8998 = 0x2326 -> 8999 is stored; 8999 -> 9000 -> 1; 9000 and more -> 1.
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"26 23", "27 23"}, {"27 23", "01 00"}, {"28 23", "01 00"}, {"10 27", "01 00"}};
  for (const auto& [before, after] : cases) {
    SCOPED_TRACE(before);
    EXPECT_EQ(counterOf(print(1, hex(before))), hex(after));
  }
}

TEST(Counter, PrintsNumbersAboveFourDigitsInFull) {
  EXPECT_TRUE(has(print(1, hex("FF FF")), "page_65535_jobid_000042_0000.dat"));
}

TEST(Counter, WrapsFrom65535ToZeroInsideAJob) {
  // Both pages are 65535, the file is read again; what is stored is 0.
  const ts::Result result = print(2, hex("FF FF"));
  EXPECT_TRUE(has(result, "page_65535_jobid_000042_0001.dat"));
  EXPECT_EQ(counterOf(result), hex("00 00"));
}

TEST(Counter, TakesACounterFileOfOneByteForTheLowByte) {
  const ts::Result result = print(2, hex("09"));
  EXPECT_TRUE(has(result, "page_0009_jobid_000042_0001.dat"));
  EXPECT_EQ(counterOf(result), hex("0A 00"));
}

TEST(Counter, IgnoresAnEmptyCounterFile) {
  const ts::Result result = print(3, "");
  EXPECT_TRUE(has(result, "page_0003_jobid_000042_0000.dat"));
  EXPECT_EQ(counterOf(result), hex("04 00"));
}

TEST(Counter, ReadsTwoBytesOfALongerCounterFileAndShortensIt) {
  const ts::Result result = print(1, hex("02 01 77 77"));
  EXPECT_TRUE(has(result, "page_0258_jobid_000042_0000.dat"));
  EXPECT_EQ(counterOf(result), hex("03 01"));
}

TEST(Counter, NeverOverwritesAnEarlierFrame) {
  JobCase job = pages(2);
  job.framesThere = {"page_0001_jobid_000042_0000.dat", "page_0001_jobid_000042_0001.dat",
                     "page_0002_jobid_000042_0001.dat"};
  const ts::Result result = expectAsPlain(job);
  EXPECT_TRUE(has(result, "page_0001_jobid_000042_0002.dat"));
  EXPECT_TRUE(has(result, "page_0002_jobid_000042_0000.dat"));
}

TEST(Counter, ReadsTheJobNumberFromAtMostTwentyCharacters) {
  const std::vector<std::pair<std::string, std::string>> ids = {
      {"", "000000"},
      {"abc", "000000"},
      {"12abc", "000012"},
      {" 7", "000007"},
      {"+8", "000008"},
      {"-5", "-00005"},
      {"1234567", "1234567"},
      {"2147483647", "2147483647"},
      {"2147483648", "-2147483648"},               // cut to 32 bits
      {"4294967297", "000001"},                    //
      {"00000000000000000042", "000042"},          // exactly twenty characters
      {"000000000000000000421", "000042"},         // the 21st does not count
      {"99999999999999999999", "-00001"},          // 2^63 - 1, low 32 bits all set
      {"-9999999999999999999", "000000"},          // -2^63, low 32 bits all clear
      {"18446744073709551617", "-00001"},          // beyond 2^63 as well
      {std::string(20, '0') + "1234", "000000"}};  // twenty zeros, then the digits
  for (const auto& [id, shown] : ids) {
    SCOPED_TRACE(id);
    JobCase job = pages(1);
    job.jobId = id;
    EXPECT_TRUE(has(expectAsPlain(job), "page_0001_jobid_" + shown + "_0000.dat"));
  }
}

TEST(Counter, NamesTheCounterFileAfterTheQueueWithUnprintableBytesReplaced) {
  const std::vector<std::pair<std::string, std::string>> queues = {
      {"Label-1.a_b", "Label-1.a_b"},
      {"a\tb\x01\x7F", "a_b__"},
      {"Dr\xC3\xBC"
       "ck",
       "Dr__ck"},  // two bytes, two marks
      {"with blank", "with blank"},
      {"", ""}};
  for (const auto& [queue, name] : queues) {
    SCOPED_TRACE(name);
    JobCase job = pages(1);
    job.queue = queue;
    EXPECT_TRUE(has(expectAsPlain(job), name + ".pgc"));
  }
}

TEST(Counter, TakesAnUnsetQueueForAnEmptyName) {
  JobCase job = pages(1);
  job.queue.reset();
  EXPECT_TRUE(has(expectAsPlain(job), ".pgc"));
}

TEST(Counter, NeverLeavesTheDataDirectoryForAQueueName) {
  // Such a job is counted 1, 2, ... as if its counter file could not be opened.
  for (const char* queue : {"a/b", "../evil", "/tmp/evil", "..", "."}) {
    SCOPED_TRACE(queue);
    JobCase job = pages(2);
    job.queue = queue;
    expectAsPlain(job);
  }
}

TEST(Counter, SurvivesQueueNamesThatAreTooLongForAFile) {
  for (const std::size_t length : {250U, 251U, 252U, 259U, 260U, 300U, 2000U}) {
    SCOPED_TRACE(length);
    JobCase job = pages(2);
    job.queue = std::string(length, 'q');
    // 251 characters and ".pgc" are the longest name that a file system takes.
    EXPECT_EQ(has(expectAsPlain(job), std::string(length, 'q') + ".pgc"), length <= 251);
  }
}

TEST(Counter, GoesOnFromJobToJob) {
  ts::Sandbox box;
  ts::Run run = prepare(onePage(8, 1, "solid"), box);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(box.start(run).status, 0);
  run.printer = "other";
  const ts::Result result = box.start(run);
  EXPECT_TRUE(has(result, "page_0001_jobid_000042_0000.dat"));
  EXPECT_TRUE(has(result, "page_0002_jobid_000042_0000.dat"));
  EXPECT_TRUE(has(result, "page_0003_jobid_000042_0000.dat"));
  EXPECT_TRUE(has(result, "page_0001_jobid_000042_0001.dat"))
      << "the other queue counts for itself";
  EXPECT_EQ(counterOf(result), hex("04 00"));
  EXPECT_EQ(result.files.at(kDataDir + "other.pgc"), hex("02 00"));
}

}  // namespace kestra::blackbox
