// The tattoo halftones while they are not built in: the page is reported and left out.
// Why: until the stencils print, a job that asks for them must end cleanly and visibly.
#include <gtest/gtest.h>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

namespace ts = testing_support;

TEST(TattooPending, ReportsThePageAndMakesNoFrame) {
  for (const int type : {8, 9}) {
    ts::Sandbox box;
    box.Write("tmp/test.ppd", ts::PpdText().Text());
    ts::Run run;
    run.ppd = ts::Sandbox::Inside("tmp/test.ppd");
    run.arguments[4] = "HalftoneType=" + HalftoneName(type);
    run.inputBytes = ts::WriteStream({{ts::MakeHeader(16, 4, 16), ts::Photo(16, 4)}});
    const ts::Result result = box.Start(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, Hex("1B 73 01 00 00 02 01"));
    EXPECT_NE(result.messages.find("\nERROR:"), std::string::npos);
    for (const auto& [name, bytes] : result.files) {
      EXPECT_EQ(name.find("page_"), std::string::npos) << name;
    }
  }
}

}  // namespace kestra::blackbox
