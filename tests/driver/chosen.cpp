// Turns choices into the settings of the plain version.
// Why: each option has its own rule (a name, a number, true or false), written down here once more.
#include "tests/driver/chosen.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

#include "tests/driver/model.h"

namespace kestra::driver {

namespace {

// Choices whose place in the list is what counts. Halftones: the name's number is the method's.
bool choosePlace(int& place, const std::string& choice, std::initializer_list<const char*> names) {
  const auto* const found = std::find(names.begin(), names.end(), choice);
  place = static_cast<int>(found - names.begin());
  return found != names.end();
}

bool choosePageSize(Chosen& chosen, ppd_file_t* ppd, const std::string& choice) {
  const ppd_size_t* size = ppdPageSize(ppd, choice.c_str());
  if (size == nullptr) return false;
  chosen.settings.pageSize = choice;
  const float points[] = {size->width,  size->length, size->left,
                          size->bottom, size->right,  size->top};
  std::copy(std::begin(points), std::end(points), std::begin(chosen.settings.points));
  return true;
}

}  // namespace

bool choose(Chosen& chosen, ppd_file_t* ppd, const std::string& keyword,
            const std::string& choice) {
  plain::Settings& s = chosen.settings;
  if (keyword == "PageSize") return choosePageSize(chosen, ppd, choice);
  if (keyword == "PageRegion") return true;  // the filter looks at PageSize alone
  if (keyword == "Resolution") {
    s.resolution = choice;
    chosen.dpi = choice == "300dpi" ? 300 : 203;
  } else if (keyword == "PaperType") {
    s.paperType = choice;
  } else if (keyword == "GapsHeight") {
    s.gapsHeight = std::stoi(choice);
  } else if (keyword == "MediaMethod") {
    s.mediaMethod = choice;
  } else if (keyword == "Origin") {
    s.origin = choice;
  } else if (keyword == "PrintSpeed") {
    s.printSpeed = choice;
  } else if (keyword == "Darkness") {
    return choosePlace(s.darkness, choice, {"Light", "Middle", "Dark"});
  } else if (keyword == "HalftoneType") {
    return choosePlace(s.halftone, choice,
                       {"None", "FloydSteinberg", "Ordered", "Burkes", "Stucki",
                        "JarvisJudiceNinke", "Sierra", "StevensonArce", "Tattoo", "Tattoo_V7"});
  } else if (keyword == "Brightness") {
    s.brightness = std::stoi(choice);
  } else if (keyword == "MirrorImage") {
    return choosePlace(s.mirrorImage, choice, {"False", "True"});
  } else if (keyword == "NegativeImage") {
    return choosePlace(s.negativeImage, choice, {"False", "True"});
  } else if (keyword == "VBarcodeDensity") {
    s.barcode = std::stoi(choice);
  } else {
    return false;
  }
  return true;
}

Chosen defaultsOf(ppd_file_t* ppd) {
  Chosen chosen;
  chosen.settings.maxMediaPoints = headWidthPoints(ppd);
  for (const ppd_option_t* option : optionsOf(ppd)) {
    choose(chosen, ppd, option->keyword, option->defchoice);
  }
  return chosen;
}

}  // namespace kestra::driver
