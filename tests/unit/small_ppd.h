// Small printer descriptions for tests: each names just the options and attributes that a test asks
// about, so that an expected value stands next to the line it comes from.
#pragma once

#include <cups/ppd.h>

#include <fstream>
#include <string>
#include <vector>

namespace kestra {

/// Text of a printer description.
class SmallPpd {
 public:
  SmallPpd()
      : text_(
            "*PPD-Adobe: \"4.3\"\n*FormatVersion: \"4.3\"\n*FileVersion: \"1.0\"\n"
            "*LanguageVersion: English\n*LanguageEncoding: ISOLatin1\n*PCFileName: \"SMALL.PPD\"\n"
            "*Manufacturer: \"Test\"\n*Product: \"(Test)\"\n*ModelName: \"Test\"\n"
            "*ShortNickName: \"Test\"\n*NickName: \"Test\"\n*PSVersion: \"(3010.000) 0\"\n"
            "*LanguageLevel: \"3\"\n*ColorDevice: False\n*DefaultColorSpace: Gray\n") {}

  SmallPpd& option(const std::string& keyword, const std::string& defaultChoice,
                   const std::vector<std::string>& choices) {
    text_ += "*OpenUI *" + keyword + "/" + keyword + ": PickOne\n*Default" + keyword + ": " +
             defaultChoice + "\n";
    for (const std::string& choice : choices) {
      text_ += "*" + keyword + " " + choice + "/" + choice + ": \"\"\n";
    }
    text_ += "*CloseUI: *" + keyword + "\n";
    return *this;
  }

  SmallPpd& line(const std::string& text) {
    text_ += text + "\n";
    return *this;
  }

  /// One page size, in points as they are to be written; the printable area is the whole page.
  SmallPpd& pageSize(const std::string& name, const std::string& width, const std::string& length) {
    option("PageSize", name, {name});
    option("PageRegion", name, {name});
    line("*DefaultImageableArea: " + name);
    line("*ImageableArea " + name + "/" + name + ": \"0 0 " + width + " " + length + "\"");
    line("*DefaultPaperDimension: " + name);
    return line("*PaperDimension " + name + "/" + name + ": \"" + width + " " + length + "\"");
  }

  /// Sizes of one's own choice, 10 to 1000 points each way.
  SmallPpd& customSizes() {
    line("*VariablePaperSize: True");
    line("*LeadingEdge Short: \"\"\n*DefaultLeadingEdge: Short");
    line("*MaxMediaHeight: \"1000\"");
    line("*HWMargins: 0 0 0 0");
    line("*CustomPageSize True: \"pop pop pop\"");
    line("*ParamCustomPageSize Width: 1 points 10 1000");
    line("*ParamCustomPageSize Height: 2 points 10 1000");
    line("*ParamCustomPageSize WidthOffset: 3 points 0 0");
    line("*ParamCustomPageSize HeightOffset: 4 points 0 0");
    return line("*ParamCustomPageSize Orientation: 5 int 0 0");
  }

  void write(const std::string& path) const { std::ofstream(path) << text_; }

 private:
  std::string text_;
};

/// A description that is open for one test.
class OpenPpd {
 public:
  explicit OpenPpd(const SmallPpd& ppd) {
    ppd.write("small.ppd");
    ppd_ = ppdOpenFile("small.ppd");
  }
  ~OpenPpd() { ppdClose(ppd_); }
  OpenPpd(const OpenPpd&) = delete;
  OpenPpd& operator=(const OpenPpd&) = delete;

  ppd_file_t* get() const { return ppd_; }

 private:
  ppd_file_t* ppd_ = nullptr;  // owned
};

}  // namespace kestra
