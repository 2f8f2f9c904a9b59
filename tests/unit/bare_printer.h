// A printer model without a byte format: keeps each finished page as it was handed over, so that
// the way of a page can be watched up to the point where dots would be packed.
#pragma once

#include <cstdint>
#include <vector>

#include "printer/wren_printer.h"

namespace kestra {

class BarePrinter : public WrenPrinter {
 public:
  struct Page {
    unsigned long bytesPerLine;
    unsigned long height;
    unsigned long width;
    std::vector<std::uint8_t> pixels;
  };

  void doPrintImage(const unsigned char* bits, unsigned long bytesPerLine, unsigned long height,
                    unsigned long width) override {
    pages.push_back({bytesPerLine, height, width,
                     std::vector<std::uint8_t>(bits, bits + bytesPerLine * height)});
  }

  using WrenPrinter::dotsPerInch_;
  using WrenPrinter::imagePathTemplate_;
  using WrenPrinter::pimage_;
  using WrenPrinter::printWidth_;
  using WrenPrinter::secondImage_;
  using WrenPrinter::workingImage_;

  std::vector<Page> pages;
};

}  // namespace kestra
