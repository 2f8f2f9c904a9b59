// The two compiled printer descriptions, opened with libcups.
// Why: every test of a description asks the questions that a print dialog and the filter ask.
#pragma once

#include <cups/ppd.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace kestra::driver {

struct PpdCloser {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using Ppd = std::unique_ptr<ppd_file_t, PpdCloser>;

inline constexpr const char* kModels[] = {"kestra4.ppd", "kestraa4.ppd"};

/// The halftones that end in dots 0 and 1, not in 0 and 255 as the two stencil halftones do.
inline constexpr const char* kClassicHalftones[] = {"None",   "FloydSteinberg", "Ordered",
                                                    "Burkes", "Stucki",         "JarvisJudiceNinke",
                                                    "Sierra", "StevensonArce"};

/// Where the description of this name ("kestra4.ppd") was compiled to.
std::string pathOf(const std::string& model);

/// With the defaults marked; null where it cannot be read.
Ppd openModel(const std::string& model);

/// Every option with a user interface, in the order of a print dialog. They belong to the
/// description.
std::vector<ppd_option_t*> optionsOf(ppd_file_t* ppd);

/// Empty where there is no such option.
std::vector<std::string> choicesOf(ppd_file_t* ppd, const char* keyword);

std::string defaultOf(ppd_file_t* ppd, const char* keyword);

/// The value of MaxMediaWidth; 0 where there is none.
double headWidthPoints(ppd_file_t* ppd);

/// The dots that the renderer makes of a printable width or height in points.
int dotsOf(double points, int dpi);

/// "kestra4.ppd" -> "kestra4", for the names of tests.
std::string shortName(const std::string& model);

/// A test of one of the two descriptions; its parameter is the name.
class ModelCase : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    ppd_ = openModel(GetParam());
    ASSERT_NE(ppd_, nullptr) << GetParam();
  }
  Ppd ppd_;
};

}  // namespace kestra::driver
