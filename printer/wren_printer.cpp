// The properties of a printer object: clamped where a printer knows only so many steps.
#include "printer/wren_printer.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "filter/base/number.h"
#include "filter/base/spool_paths.h"
#include "filter/base/text.h"

namespace kestra {
namespace {

constexpr std::string_view kCopyrightNotice = "Copyright (C) 2026 the rastertokestra authors\r";

std::string copyrightText() {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text = "MFT:";
  for (const char c : kCopyrightNotice) {
    const auto byte = static_cast<unsigned char>(c);
    if (text.back() != ':') text += ' ';
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0x0F];
  }
  return text;
}

}  // namespace

WrenPrinter::WrenPrinter() : outputStreams_{stdout} {
  wrenStrCpy(imagePathTemplate_, spool_paths::kImageTemplate, sizeof imagePathTemplate_);
}

WrenPrinter::~WrenPrinter() {
  workingImage_.Destroy();
  secondImage_.Destroy();
}

void WrenPrinter::setBrightness(int brightness) { brightness_ = std::clamp(brightness, -100, 100); }

void WrenPrinter::setContrast(int contrast) { contrast_ = std::clamp(contrast, -100, 100); }

void WrenPrinter::setPrintDensity(int density) { printDensity_ = std::clamp(density, 0, 15); }

void WrenPrinter::setPrintSpeed(const char* speed) {
  printSpeed_ = std::clamp(textToInt32(speed), 1, 15);
}

char* WrenPrinter::getCopyRight() {
  static std::string text = copyrightText();
  return text.data();
}

}  // namespace kestra
