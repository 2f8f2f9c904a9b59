// Tests of the words that the print system starts a backend with, also of hostile ones.
#include "delivery/backend/job_words.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace kestra::delivery {
namespace {

JobWords withOptions(const std::string& options) {
  const auto job = readJobWords({"kestra:socket://p", "12", "anna", "A label", "1", options});
  return job.value_or(JobWords());
}

TEST(ReadJobWords, KnowsEachWordByItsPlace) {
  const auto job = readJobWords({"kestra:socket://p", "12", "anna", "A label", "3",
                                 "job-uuid=urn:uuid:x time-at-creation=1795226353"});
  ASSERT_TRUE(job.has_value());
  EXPECT_EQ(job->printer, "kestra:socket://p");
  EXPECT_EQ(job->id, "12");
  EXPECT_EQ(job->number, 12);
  EXPECT_EQ(job->user, "anna");
  EXPECT_EQ(job->title, "A label");
  EXPECT_EQ(job->copies, 3);
  EXPECT_EQ(job->options, "job-uuid=urn:uuid:x time-at-creation=1795226353");
  EXPECT_FALSE(job->file.has_value());
}

TEST(ReadJobWords, TakesASeventhWordForADocument) {
  const auto job = readJobWords({"k", "1", "u", "t", "1", "", "/var/spool/cups/d00001-001"});
  ASSERT_TRUE(job.has_value());
  EXPECT_EQ(job->file, "/var/spool/cups/d00001-001");
}

TEST(ReadJobWords, RefusesAnyOtherNumberOfWords) {
  std::vector<std::string> words;
  for (std::size_t count = 0; count < 10; ++count, words.emplace_back("1")) {
    EXPECT_EQ(readJobWords(words).has_value(), count == 6 || count == 7) << count;
  }
}

TEST(ReadJobWords, ReadsTheJobNumberAsTheFilterDoes) {
  const std::pair<const char*, int> rows[] = {
      {"7", 7},   {" 8x", 8},      {"", 0},    {"x9", 0},
      {"-3", -3}, {"000123", 123}, {"1e3", 1}, {"2147483648", -2147483647 - 1}};
  for (const auto& [text, number] : rows) {
    const auto job = readJobWords({"k", text, "u", "t", "1", ""});
    ASSERT_TRUE(job.has_value());
    EXPECT_EQ(job->number, number) << text;
  }
}

TEST(ReadJobWords, PrintsAtLeastOneCopy) {
  for (const char* copies : {"0", "-5", "", "x"}) {
    const auto job = readJobWords({"k", "1", "u", "t", copies, ""});
    ASSERT_TRUE(job.has_value());
    EXPECT_EQ(job->copies, 1) << copies;
  }
}

TEST(ReadJobWords, FindsTheJobsIdentityAndTimes) {
  const JobWords job = withOptions(
      "Darkness=Dark MirrorImage noNegativeImage media=Custom.50x30mm "
      "job-uuid=urn:uuid:0c6bdb70-8d3d-3f0c-4a0a-94e1d3b7b3a1 job-originating-host-name=localhost "
      "date-time-at-creation= time-at-creation=1795226353 time-at-completed=1795226400 doubt=skip");
  EXPECT_EQ(job.uuid, "urn:uuid:0c6bdb70-8d3d-3f0c-4a0a-94e1d3b7b3a1");
  EXPECT_EQ(job.createdAt, 1795226353);
  EXPECT_EQ(job.completedAt, 1795226400);
  EXPECT_EQ(job.option.at("doubt"), "skip");
  EXPECT_EQ(job.option.at("Darkness"), "Dark");
  EXPECT_EQ(job.option.at("MirrorImage"), "true");
  EXPECT_EQ(job.option.at("NegativeImage"), "false");
}

TEST(ReadJobWords, DoesWithoutWhatIsNotSaid) {
  const JobWords job = withOptions("");
  EXPECT_EQ(job.uuid, "");
  EXPECT_EQ(job.createdAt, 0);
  EXPECT_EQ(job.completedAt, 0);
  EXPECT_TRUE(job.option.empty());
}

TEST(ReadJobWords, TakesNoOtherTextForATime) {
  for (const char* time : {"", "0", "-1", "12x", "x", "99999999999999999999", "'1 2'"}) {
    EXPECT_EQ(withOptions(std::string("time-at-completed=") + time).completedAt, 0) << time;
  }
}

TEST(ReadJobWords, KeepsWhatStandsInQuotesInside) {
  const JobWords job = withOptions(
      "note='time-at-completed=5 job-uuid=urn:uuid:x' title=\"a \\\" time-at-completed=6\" "
      "time-at-creation=7");
  EXPECT_EQ(job.completedAt, 0);
  EXPECT_EQ(job.uuid, "");
  EXPECT_EQ(job.createdAt, 7);
  EXPECT_EQ(job.option.at("note"), "time-at-completed=5 job-uuid=urn:uuid:x");
}

TEST(ReadJobWords, SurvivesAnyText) {
  for (const std::string& text :
       {std::string("'"), std::string("a='"), std::string("="), std::string("{"),
        std::string("a={b=c"), std::string("\\"), std::string("a=\\"), std::string(100000, 'a'),
        "a=" + std::string(1000, '\''), std::string("\x01\xFF\n\t")}) {
    EXPECT_EQ(withOptions(text).number, 12);
  }
}

}  // namespace
}  // namespace kestra::delivery
