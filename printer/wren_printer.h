// The printer base class: a page's properties, the way of a page from grey pixels to finished dots,
// and the streams that the printer listens to. A model class adds its own byte formats.
#pragma once

#include <cups/raster.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <list>

#include "filter/base/halftone_type.h"
#include "imaging/paletteimage/palette_image.h"
#include "printer/debug_image.h"
#include "printer/page_rows.h"
#include "printer/pixel_rows.h"

namespace kestra {

/// Model-independent printer object. One lives for a whole job; the page loop sets its properties
/// before each page. Setters clamp silently and never fail; getters return what was stored.
class WrenPrinter {
 public:
  /// Data of a model class, which alone knows its contents.
  struct UserData;

  /// Writes to standard output until further streams are appended.
  WrenPrinter();
  /// Releases the page images, which do not free themselves. Closes no stream: streams belong to
  /// whoever opened them.
  virtual ~WrenPrinter();
  WrenPrinter(const WrenPrinter&) = delete;
  WrenPrinter& operator=(const WrenPrinter&) = delete;

  // --- Properties (wren_printer.cpp) ---
  //
  // Nothing prints from density, speed, both widths and the user data: they are kept for whoever
  // asks for them. What a page's setting command and frame say comes from the job's settings.

  void setBrightness(int brightness);     ///< clamped to -100..100
  void setContrast(int contrast);         ///< clamped to -100..100
  void setPrintDensity(int density);      ///< clamped to 0..15
  void setPrintSpeed(const char* speed);  ///< decimal text, clamped to 1..15
  void setHalftoneType(DitherType type) { halftoneType_ = type; }
  void setAntiWrinkle(int level) { antiWrinkle_ = level; }
  /// Has no effect on pages: the halftone type decides anew for each.
  void setUseQMDithering(bool use) { useQMDithering_ = use; }
  void setMaxMediaWidth(int dots) { maxMediaWidth_ = dots; }
  void setVBarcodeOpt(int option) { vBarcodeOpt_ = option; }
  void setNegativePrint(bool negative) { negativePrint_ = negative; }
  void setMirrorPrint(bool mirror) { mirrorPrint_ = mirror; }
  void setRotate180Print(bool rotate) { rotate180Print_ = rotate; }
  void setRemoveBlankEdges(unsigned char edges) { removeBlankEdges_ = edges; }
  void setSkipRightPixels(unsigned long pixels) { skipRightPixels_ = pixels; }
  void setUserData(UserData* data) { userData_ = data; }
  void SetPrintWidth(long dots) { printWidth_ = dots; }
  void setPageHeader(cups_page_header2_s* header) { pageHdr_ = header; }

  int getBrightness() const { return brightness_; }
  int getContrast() const { return contrast_; }
  int getPrintDensity() const { return printDensity_; }
  int getPrintSpeed() const { return printSpeed_; }
  DitherType getHalftoneType() const { return halftoneType_; }
  int getAntiWrinkle() const { return antiWrinkle_; }
  bool getUseQMDithering() const { return useQMDithering_; }
  int getMaxMediaWidth() const { return maxMediaWidth_; }
  int getVBarcodeOpt() const { return vBarcodeOpt_; }
  bool isNegativePrint() const { return negativePrint_; }
  bool isMirrorPrint() const { return mirrorPrint_; }
  bool isRotate180Print() const { return rotate180Print_; }
  unsigned char getRemoveBlankEdges() const { return removeBlankEdges_; }
  unsigned long getSkipRightPixels() const { return skipRightPixels_; }
  UserData* getUserData() const { return userData_; }
  long GetPrintWidth() const { return printWidth_; }
  cups_page_header2_s* getPageHeader() const { return pageHdr_; }
  /// The list itself, so that streams can be appended. They are not owned.
  std::list<std::FILE*>* getOutputStreams() { return &outputStreams_; }

  /// "MFT:" and the copyright notice as hexadecimal pairs, its carriage return included. Constant,
  /// although writable.
  static char* getCopyRight();

  // --- Output (output_streams.cpp): to every stream in turn; failed writes go unnoticed ---

  void printBytes(const void* data, std::size_t size);
  void printStr(const char* text);
  void printByte(unsigned char byte);
  /// printf to every stream, of any length.
  /// @return the character count of the last stream, negative if that failed; 0 without streams
  int printFormat(const char* format, ...) __attribute__((format(printf, 2, 3)));

  // --- The way of a page ---

  /// Begins a page: lends room for its grey pixels. Rows as long as an image's lie where they are
  /// processed and are never copied.
  /// @return rows to be filled for `printPage`; none where there is no memory
  [[nodiscard]] PageRows beginPage(std::uint32_t bytesPerLine, std::uint32_t height,
                                   std::uint32_t width);

  /// Prints the page that was begun last, and uses up its rows: debug image, processing, debug
  /// image, `printFinished` (page_pipeline.cpp). Failures are logged only.
  void printPage(PageRows rows);

  /// The same for rows of the caller's own.
  /// @param data  height rows of 8-bit grey, `bytesPerLine` bytes each; read only
  void printImage(const unsigned char* data, unsigned long bytesPerLine, unsigned long height,
                  unsigned long width);

  /// Turns a grey page into the finished page image, which `pimage_` then points at
  /// (page_processing.cpp). Tone, rotation, mirror, halftone, negative, in this order.
  /// @param out  receives the finished pixels, rows `GetEffWidth()` bytes apart, as 0 and 255, of a
  ///             classic page in negative printing as 0 and 1; room for 2 * bytesPerLine * height
  ///             bytes, beyond which nothing is written; null where nobody wants them
  /// @return bytes meant to be valid in `out`, 0 on failure (then `pimage_` is what it was)
  int PageProcess(DitherType type, const unsigned char* data, int bytesPerLine, int width,
                  int height, unsigned char* out);

  /// Centres an image on the canvas of its page size and draws a solid frame around it
  /// (anti_wrinkle.cpp): side bars as wide as the anti-wrinkle level in mm, 1 mm at top and bottom,
  /// at the object's resolution. A page size without a canvas (any but A4, Letter, Tattoo_A5,
  /// Tattoo_A6, from the page header) gets no frame.
  void EnableAntiWrink(PaletteImage& image);

  // What follows is done by functions that need no printer, with this one's properties.

  /// `copyIndices`.
  void copyPixels(PaletteImage& image, unsigned char* out, int width, int height, int stride) {
    copyIndices(image, out, width, height, stride);
  }
  /// `copyFinishedPixels`.
  void copyProcessedPixels(PaletteImage* image, unsigned char* out, int width, int height,
                           int stride) {
    copyFinishedPixels(*image, negativePrint_, out, width, height, stride);
  }
  /// `saveDebugImage` under the image path template.
  void saveImage(const unsigned char* data, unsigned long bytesPerLine, unsigned long height,
                 unsigned long width, unsigned short bitsPerPixel) {
    saveDebugImage(imagePathTemplate_, data, bytesPerLine, height, width, bitsPerPixel);
  }
  /// `packRows`.
  unsigned int GrayToMono(int bytesPerLine, int height, unsigned char* buffer) {
    return packRows(bytesPerLine, height, skipRightPixels_, buffer);
  }

  /// Turns a finished page into the model's bytes.
  /// @param bits          pixels, one byte each; read only
  /// @param bytesPerLine  bytes from row to row
  virtual void doPrintImage(const unsigned char* bits, unsigned long bytesPerLine,
                            unsigned long height, unsigned long width) = 0;

  /// The same for the page image itself, whose pixels the model may use up.
  virtual void printFinished(unsigned char* bits, unsigned long bytesPerLine, unsigned long height,
                             unsigned long width) {
    doPrintImage(bits, bytesPerLine, height, width);
  }

 private:
  /// Grey rows on their way into a page image.
  struct GreyRows {
    const unsigned char* pixels;  ///< not owned
    unsigned long bytesPerLine;
    unsigned long height;
    unsigned long width;
    bool areInImage;    ///< they are the working image's own
    PageBlock* memory;  ///< given back once an image has them; null: the caller's own
  };

  void print(const GreyRows& rows);
  int process(DitherType type, const GreyRows& rows, unsigned char* out);

  /// Makes the second image from the page's stencil and points `pimage_` at it; false where that
  /// image cannot be made.
  bool ditherStencil(DitherType type, int bytesPerLine, int width, int height, unsigned char* out);

  /// Saves the processed image and hands it to the model, or logs that there is none.
  void printFinishedImage();

 protected:
  PaletteImage workingImage_;          ///< made from the page's grey pixels, carries the dithering
  PaletteImage secondImage_;           ///< made from the result of the tattoo methods
  PaletteImage* pimage_ = nullptr;     ///< finished image: one of the two above, or null; not owned
  char imagePathTemplate_[1024] = {};  ///< name template of the next debug image
  std::list<std::FILE*> outputStreams_;     ///< not owned
  cups_page_header2_s* pageHdr_ = nullptr;  ///< header of the current page, owned by the page loop
  std::int32_t maxMediaWidth_ = 0;          ///< dots
  std::int64_t printWidth_ = 0;             ///< dots
  std::int32_t brightness_ = 0;
  std::int32_t vBarcodeOpt_ = 0;
  std::int32_t contrast_ = 0;
  std::int32_t printSpeed_ = 7;
  std::int32_t printDensity_ = 8;
  DitherType halftoneType_ = DitherType::None;
  bool negativePrint_ = false;
  bool mirrorPrint_ = false;
  bool rotate180Print_ = false;
  std::int32_t antiWrinkle_ = 0;       ///< frame level in mm, 0: no frame
  bool useQMDithering_ = false;        ///< decided by `PageProcess` for every page
  std::uint8_t removeBlankEdges_ = 0;  ///< bit value 2: top, 8: bottom
  std::uint64_t skipRightPixels_ = 0;  ///< pixels at the right end of every row to ignore
  UserData* userData_ = nullptr;       ///< not owned
  std::int32_t dotsPerInch_ = 300;
};

}  // namespace kestra
