// Puts a printer description together, line by line.
// Why: only what the filter looks up is in it, so a test sees at once where a value comes from.
#include "tests/support/ppd_text.h"

#include <algorithm>
#include <sstream>

namespace kestra::testing_support {

PpdText::PpdText() {
  setSizes("Label", {{"Label", 144, 72}, {"Wide", 288, 144}});
  setOption("Resolution", "203dpi", {"203dpi", "300dpi"});
  setOption("MediaMethod", "DirectThermal", {"DirectThermal", "ThermalTransfer"});
  setOption("PaperType", "LabelGaps", {"LabelGaps", "LabelMark", "Continue"});
  setOption("GapsHeight", "2", {"0", "1", "2", "3", "25", "-1"});
  setOption("Origin", "TopLeft", {"TopLeft", "TopRight", "BottomLeft", "BottomRight"});
  setOption("MirrorImage", "False", {"True", "False"});
  setOption("NegativeImage", "False", {"True", "False"});
  setOption("HalftoneType", "None",
            {"None", "FloydSteinberg", "Ordered", "Burkes", "Stucki", "JarvisJudiceNinke", "Sierra",
             "StevensonArce", "Tattoo", "Tattoo_V7"});
  setOption("PrintSpeed", "4", {"0", "1", "2", "3", "4", "4.5", "257", "-1", "fast"});
  setOption("Darkness", "Middle", {"Light", "Middle", "Dark", "Darkest", "dark2"});
  setOption("Brightness", "0", {"-250", "-100", "-20", "-1", "0", "1", "20", "100", "101"});
  setOption("VBarcodeDensity", "0", {"0", "1", "2", "3"});
}

PpdText& PpdText::setSizes(const std::string& defaultName, const std::vector<PpdSize>& sizes) {
  defaultSize_ = defaultName;
  sizes_ = sizes;
  return *this;
}

PpdText& PpdText::setOption(const std::string& keyword, const std::string& defaultChoice,
                            const std::vector<std::string>& choices) {
  removeOption(keyword);
  options_.push_back({keyword, defaultChoice, choices});
  return *this;
}

PpdText& PpdText::removeOption(const std::string& keyword) {
  options_.erase(std::remove_if(options_.begin(), options_.end(),
                                [&](const PpdOption& o) { return o.keyword == keyword; }),
                 options_.end());
  return *this;
}

PpdText& PpdText::setMaxMediaWidth(const std::string& points) {
  maxMediaWidth_ = points;
  return *this;
}

PpdText& PpdText::allowCustomSizes(double smallest, double largest) {
  customSmallest_ = smallest;
  customLargest_ = largest;
  return *this;
}

std::string PpdText::text() const {
  std::ostringstream out;
  out.precision(9);
  out << "*PPD-Adobe: \"4.3\"\n*FormatVersion: \"4.3\"\n*FileVersion: \"1.0\"\n"
         "*LanguageVersion: English\n*LanguageEncoding: ISOLatin1\n*PCFileName: \"TEST.PPD\"\n"
         "*Product: \"(Test)\"\n*PSVersion: \"(3010.000) 0\"\n*Manufacturer: \"Test\"\n"
         "*ModelName: \"Test\"\n*ShortNickName: \"Test\"\n*NickName: \"Test\"\n"
         "*LanguageLevel: \"3\"\n*ColorDevice: False\n*DefaultColorSpace: Gray\n"
         "*FileSystem: False\n*DefaultFont: Courier\n*Font Courier: Standard \"(002.004S)\" "
         "Standard ROM\n";
  if (!maxMediaWidth_.empty()) out << "*MaxMediaWidth: \"" << maxMediaWidth_ << "\"\n";
  if (customLargest_ > 0) {
    out << "*VariablePaperSize: True\n*MaxMediaHeight: \"" << customLargest_ << "\"\n"
        << "*HWMargins: 0 0 0 0\n*CustomPageSize True: \"pop pop pop pop pop\"\n";
    int order = 1;
    for (const char* name : {"Width", "Height"}) {
      out << "*ParamCustomPageSize " << name << ": " << order++ << " points " << customSmallest_
          << " " << customLargest_ << "\n";
    }
    out << "*ParamCustomPageSize WidthOffset: 3 points 0 0\n"
           "*ParamCustomPageSize HeightOffset: 4 points 0 0\n"
           "*ParamCustomPageSize Orientation: 5 int 0 3\n";
  }
  for (const char* keyword : {"PageSize", "PageRegion"}) {
    out << "*OpenUI *" << keyword << ": PickOne\n*OrderDependency: 10 AnySetup *" << keyword
        << "\n*Default" << keyword << ": " << defaultSize_ << "\n";
    for (const PpdSize& s : sizes_) out << "*" << keyword << " " << s.name << ": \"\"\n";
    out << "*CloseUI: *" << keyword << "\n";
  }
  out << "*DefaultImageableArea: " << defaultSize_ << "\n*DefaultPaperDimension: " << defaultSize_
      << "\n";
  for (const PpdSize& s : sizes_) {
    const bool whole = s.right <= 0;
    out << "*ImageableArea " << s.name << ": \"" << s.left << " " << s.bottom << " "
        << (whole ? s.width : s.right) << " " << (whole ? s.length : s.top)
        << "\"\n*PaperDimension " << s.name << ": \"" << s.width << " " << s.length << "\"\n";
  }
  for (const PpdOption& option : options_) {
    out << "*OpenUI *" << option.keyword << ": PickOne\n*OrderDependency: 20 AnySetup *"
        << option.keyword << "\n*Default" << option.keyword << ": " << option.defaultChoice << "\n";
    for (const auto& choice : option.choices)
      out << "*" << option.keyword << " " << choice << ": \"\"\n";
    out << "*CloseUI: *" << option.keyword << "\n";
  }
  return out.str();
}

}  // namespace kestra::testing_support
