// The way of one page through the printer object, with a log line and a debug image at each station
// so that a bad print can be traced to the step that spoiled it.
#include "filter/base/log.h"
#include "filter/base/page_block.h"
#include "filter/base/page_size.h"
#include "filter/base/spool_paths.h"
#include "filter/base/text.h"
#include "printer/blank_edges.h"
#include "printer/wren_printer.h"

namespace kestra {
namespace {

constexpr unsigned char kTrimTop = 2;
constexpr unsigned char kTrimBottom = 8;

struct BlankEdges {
  unsigned long top = 0;     // blank lines from the top
  unsigned long bottom = 0;  // end line of the content, although its log line speaks of a count
};

BlankEdges measureBlankEdges(unsigned char edges, const unsigned char* data,
                             unsigned long bytesPerLine, unsigned long height,
                             unsigned long skipRight, unsigned long width) {
  BlankEdges blank;
  if ((edges & kTrimBottom) != 0) {
    blank.bottom = wrenImageCountBlankLinesFromBack(data, bytesPerLine, height, skipRight, width);
    wrenLogCommon(kLogDebug,
                  "printImage: Removal of bottom blank edges detected, number of bottom blank "
                  "lines: %zu",
                  blank.bottom);
  }
  if ((edges & kTrimTop) != 0) {
    blank.top = wrenImageCountBlankLinesFromFront(data, bytesPerLine, height, skipRight, width);
    wrenLogCommon(kLogDebug,
                  "printImage: Removal of top blank edges detected, number of top blank lines: %zu",
                  blank.top);
  }
  return blank;
}

// Only logged: deliberately, blank edges change no printed page.
void logProcessedImage(const unsigned char* result, unsigned long bytesPerLine,
                       unsigned long height, unsigned long width, const BlankEdges& blank) {
  unsigned long adjustedHeight = height;
  const unsigned char* adjustedStart = result;
  if (blank.bottom > blank.top) {
    adjustedHeight = blank.bottom - blank.top;
    adjustedStart = result + blank.top * bytesPerLine;
    wrenLogCommon(kLogDebug,
                  "printImage: Adjusted image height to %zu, pointer offset by %zu bytes",
                  adjustedHeight, blank.top * bytesPerLine);
  }
  wrenLogCommon(kLogDebug,
                "printImage: Processed image information - pointer address: %lu, width: %zu, "
                "height: %zu, bytes per line: %zu, number of top blank lines: %zu, number of "
                "bottom blank lines: %zu, adjusted height: %zu",
                reinterpret_cast<unsigned long>(adjustedStart), width, height, bytesPerLine,
                blank.top, blank.bottom, adjustedHeight);
}

}  // namespace

PageRows WrenPrinter::beginPage(std::uint32_t bytesPerLine, std::uint32_t height,
                                std::uint32_t width) {
  PageRows rows = {nullptr, bytesPerLine, height, width, nullptr};
  if (bytesPerLine == paddedRowBytes(width) && workingImage_.Create(width, height, 8, 0)) {
    rows.pixels = workingImage_.GetBits(0);
  } else {
    rows.memory = makePageBlock(rows.size());
    rows.pixels = rows.memory.get();
  }
  return rows;
}

void WrenPrinter::printPage(PageRows rows) {
  if (rows.pixels == nullptr) return;
  const bool areInImage = rows.memory == nullptr;
  print({rows.pixels, rows.bytesPerLine, rows.height, rows.width, areInImage, &rows.memory});
}

void WrenPrinter::printImage(const unsigned char* data, unsigned long bytesPerLine,
                             unsigned long height, unsigned long width) {
  print({data, bytesPerLine, height, width, false, nullptr});
}

void WrenPrinter::print(const GreyRows& rows) {
  const auto& [data, bytesPerLine, height, width, areInImage, memory] = rows;
  wrenLogCommon(kLogDebug,
                "printImage: Start processing image, input width: %zu, height: %zu, bytes per "
                "line: %zu",
                width, height, bytesPerLine);

  const unsigned long size = bytesPerLine * height;
  PageBlock memoryTest = reserveUntouched(size);
  PageBlock result;
  if (memoryTest == nullptr) {
    wrenLogCommon(kLogError,
                  "printImage: Memory allocation failed, unable to process image, exiting "
                  "processing");
  } else {
    wrenLogCommon(kLogDebug, "printImage: Memory allocated successfully, size: %zu bytes", size);
    const BlankEdges blank =
        measureBlankEdges(removeBlankEdges_, data, bytesPerLine, height, skipRightPixels_, width);

    wrenStrCpy(imagePathTemplate_, spool_paths::kOriginImageTemplate, sizeof imagePathTemplate_);
    wrenLogCommon(kLogDebug,
                  "printImage: Saving original image, file path will be generated based on time");
    saveImage(data, bytesPerLine, height, width, 8);

    result = reserveUntouched(2 * size);
    if (result == nullptr) {
      wrenLogCommon(kLogError,
                    "printImage: Memory allocation for processing result failed, unable to "
                    "continue processing");
    } else {
      wrenLogCommon(kLogDebug,
                    "printImage: Memory for processing result allocated successfully, size: %zu "
                    "bytes",
                    size);
      process(halftoneType_, rows, nullptr);
      logProcessedImage(result.get(), bytesPerLine, height, width, blank);
      printFinishedImage();
    }
  }

  if (memoryTest != nullptr) {
    wrenLogCommon(kLogDebug, "printImage: Freed the allocated memory, address: %p",
                  static_cast<const void*>(memoryTest.get()));
    memoryTest.reset();
  }
  if (result != nullptr) {
    wrenLogCommon(kLogDebug, "printImage: Freed the memory for processing result, address: %p",
                  static_cast<const void*>(result.get()));
    result.reset();
  }
  wrenLogCommon(kLogDebug, "printImage: Image processing completed");
}

void WrenPrinter::printFinishedImage() {
  // An image whose creation failed is as good as none.
  PaletteImage* image = pimage_ != nullptr && pimage_->IsValid() ? pimage_ : nullptr;

  wrenStrCpy(imagePathTemplate_, spool_paths::kDitheredImageTemplate, sizeof imagePathTemplate_);
  wrenLogCommon(kLogDebug,
                "printImage: Saving processed image, file path will be generated based on time");
  if (image != nullptr) {
    saveImage(image->GetBits(0), image->GetEffWidth(), image->GetHeight(), image->GetWidth(), 8);
  }

  wrenLogCommon(kLogDebug, "printImage: Starting to print the processed image");
  if (image != nullptr) {
    printFinished(image->GetBits(0), image->GetEffWidth(), image->GetHeight(), image->GetWidth());
  } else {
    wrenLogCommon(kLogError, "printImage: pimage is NULL, unable to print the image");
  }
}

}  // namespace kestra
