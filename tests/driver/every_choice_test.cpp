// Prints a page with every choice of every option of the two printer descriptions.
//
// A choice whose name or size the filter does not take as meant is found here, by what leaves the
// filter: the command to the printer and the page frame, held against the plain version.
#include <cups/ppd.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/driver/chosen.h"
#include "tests/driver/model.h"
#include "tests/plain/job.h"
#include "tests/support/files.h"
#include "tests/support/page_makers.h"
#include "tests/support/raster_stream.h"
#include "tests/support/sandbox.h"

namespace kestra::driver {
namespace {

namespace ts = testing_support;

constexpr char kPpd[] = "tmp/model.ppd";

std::string textOf(const plain::Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

struct PageShape {
  unsigned width;   // dots
  unsigned height;  // dots
  const char* picture;
};

class EveryChoice : public ModelCase {
 protected:
  // One page through the filter with these options, against what `chosen` comes to.
  void expectPrint(const std::string& options, const Chosen& chosen, const PageShape& shape) {
    SCOPED_TRACE(options);
    const auto dpi = static_cast<unsigned>(chosen.dpi);
    const ts::StreamPage page{ts::makeHeader(shape.width, shape.height, shape.width, dpi),
                              ts::makePicture(shape.picture, shape.width, shape.height)};
    const plain::Outcome expected = predict(chosen, page);
    ASSERT_EQ(expected.frames.size(), 1U);
    ASSERT_EQ(expected.output.size(), 7U);

    ts::Sandbox box;
    box.write(kPpd, ts::readFile(pathOf(GetParam())));
    ts::Run run;
    run.arguments = {"42", "user", "title", "1", options};
    run.ppd = ts::Sandbox::inside(kPpd);
    run.inputBytes = ts::writeStream({page});
    const ts::Result result = box.start(run);
    EXPECT_EQ(result.status, 0) << result.messages;
    EXPECT_EQ(result.output, textOf(expected.output))
        << "filter/base/job_settings.cpp and tests/driver/chosen.cpp differ about an option";
    const auto& [name, frame] = *expected.frames.begin();
    const auto found = result.files.find(std::string(ts::kData) + "/" + name);
    ASSERT_NE(found, result.files.end()) << "no frame " << name;
    EXPECT_EQ(found->second.size(), frame.size());
    EXPECT_TRUE(found->second == textOf(frame)) << "the frame differs";
    ++printed_;
  }

  int printed_ = 0;

 private:
  static plain::Outcome predict(const Chosen& chosen, const ts::StreamPage& page) {
    plain::Job job;
    job.settings = chosen.settings;
    job.place.dataDirectoryThere = false;
    plain::Header header;
    header.width = page.header.cupsWidth;
    header.height = page.header.cupsHeight;
    header.bytesPerLine = page.header.cupsBytesPerLine;
    header.resolution[0] = header.resolution[1] = page.header.HWResolution[0];
    job.pages.push_back({header, page.pixels, true});
    return plain::runJob(job);
  }
};

TEST_P(EveryChoice, OfEveryOptionPrintsAsItsNameSays) {
  const Chosen defaults = defaultsOf(ppd_.get());
  int choices = 0;
  for (const ppd_option_t* option : optionsOf(ppd_.get())) {
    for (int i = 0; i < option->num_choices; ++i) {
      const std::string choice = option->choices[i].choice;
      if (choice == "Custom") continue;  // has a test of its own
      Chosen chosen = defaults;
      ASSERT_TRUE(choose(chosen, ppd_.get(), option->keyword, choice))
          << "tests/driver/chosen.cpp has no rule for the option " << option->keyword << " with "
          << choice;
      expectPrint(std::string(option->keyword) + "=" + choice, chosen, {40, 12, "photo"});
      ++choices;
    }
  }
  EXPECT_EQ(printed_, choices);
  EXPECT_GE(choices, 70);
}

// The width and height in dots that the renderer makes of the size, with dots in every corner.
TEST_P(EveryChoice, OfPageSizePrintsAPageOfThatSizeAtBothResolutions) {
  int sizes = 0;
  for (const std::string& name : choicesOf(ppd_.get(), "PageSize")) {
    const ppd_size_t* size = ppdPageSize(ppd_.get(), name.c_str());
    ASSERT_NE(size, nullptr) << name;
    if (name == "Custom") continue;
    for (const char* resolution : {"203dpi", "300dpi"}) {
      Chosen chosen = defaultsOf(ppd_.get());
      ASSERT_TRUE(choose(chosen, ppd_.get(), "PageSize", name));
      ASSERT_TRUE(choose(chosen, ppd_.get(), "Resolution", resolution));
      ASSERT_TRUE(choose(chosen, ppd_.get(), "HalftoneType", "None"));
      const int width = dotsOf(static_cast<double>(size->right - size->left), chosen.dpi);
      const int height = dotsOf(static_cast<double>(size->top - size->bottom), chosen.dpi);
      expectPrint("HalftoneType=None PageSize=" + name + " Resolution=" + resolution, chosen,
                  {static_cast<unsigned>(width), static_cast<unsigned>(height), "noise"});
      ++sizes;
    }
  }
  EXPECT_EQ(printed_, sizes);
  EXPECT_GE(sizes, 8);
}

// 57.53 x 40 mm: 163.07 x 113.39 points, 460 x 320 dots at 203 dpi.
TEST_P(EveryChoice, OfACustomSizePrintsAPageOfThatSize) {
  Chosen chosen = defaultsOf(ppd_.get());
  ASSERT_TRUE(choose(chosen, ppd_.get(), "Resolution", "203dpi"));
  const float points[] = {163.07F, 113.39F, 0, 0, 163.07F, 113.39F};
  chosen.settings.pageSize = "Custom";
  std::copy(std::begin(points), std::end(points), std::begin(chosen.settings.points));
  expectPrint("PageSize=Custom.163.07x113.39 Resolution=203dpi", chosen, {460, 320, "photo"});
  EXPECT_EQ(printed_, 1);
}

INSTANTIATE_TEST_SUITE_P(Ppd, EveryChoice, testing::ValuesIn(kModels),
                         [](const auto& model) { return shortName(model.param); });

}  // namespace
}  // namespace kestra::driver
