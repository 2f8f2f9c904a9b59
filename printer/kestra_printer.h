// The printer model: turns a finished page into the label printer's bytes.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "filter/base/settings.h"
#include "printer/page_frame.h"
#include "printer/print_setting.h"
#include "printer/wren_printer.h"

namespace kestra {

/// Number of the next page frame; starts at 1, wraps at 65535 inside a job.
extern std::uint16_t PageNum;

/// The last print-setting command sent, and the label block of the next frame.
extern PrintSetting bPrnSet;
extern LabelInfo bLabelInfo;

/// A label and stencil printer. Two things leave it: a 7-byte command per page to the output
/// streams, and a frame per page into the spool's data folder.
class KestraPrinter : public WrenPrinter {
 public:
  /// @param settings  the job's record; not owned, must outlive the printer's last page
  void setSettings(Settings* settings) { settings_ = settings; }

  /// Sends the command that sets speed and darkness. Always true.
  bool SendPrintSetting();

  /// Barcode enhancement, packing, label block, frame of a page.
  void doPrintImage(const unsigned char* bits, unsigned long bytesPerLine, unsigned long height,
                    unsigned long width) override;

  /// The same with the dots packed in the place of the pixels.
  void printFinished(unsigned char* bits, unsigned long bytesPerLine, unsigned long height,
                     unsigned long width) override;

  /// Fills `bLabelInfo` for the next frame. Always true.
  bool KCLSendPaperInfo();

  /// Stores a frame of packed dots. No memory, or a total of row records of 0 or less or
  /// above `kMaxRecordBytes`, drops the page and keeps its number.
  /// @param imageBytes  bytes of `dots`
  /// @param size        dots and rows of the page
  void KCLSendImage(long imageBytes, _SIZEL size, unsigned char* dots);

  /// Row records of a page: how many bytes they take, and, with a buffer of just that size, the
  /// records themselves.
  /// @param out      zeroed buffer, or null to ask for the size
  /// @param outSize  its size; another size than the total writes nothing
  /// @return the total in bytes, which may be 0 or less
  long CalcBlackPoints(const unsigned char* dots, long imageBytes, _SIZEL size, unsigned char* out,
                       long outSize) const;

  /// Puts label block, raster-image command and records together, stores them and counts the page.
  void OutputImage(long totalBytes, int rows, const unsigned char* records);

  /// Where the last page's frame was stored; empty where none was, and from the second call on.
  [[nodiscard]] std::string takeFramePath() { return std::exchange(framePath_, {}); }

  // --- Barcode enhancement (barcode.cpp) ---
  //
  // All of these work in place on `height` rows of one byte per pixel, `rowStride` (the width
  // rounded up to 4) bytes apart. Their words are those of the grey scale: white is 255, black 0.
  // On paper it is the other way round: with the K raster 255 is ink, so a white run is a printed
  // bar across the page.

  /// Breaks white runs of more than 320 pixels that end inside a row with black dashes.
  void ApplyDashedLine(unsigned char* buffer, int width, int height);
  /// Takes a row of ink off wherever a bar of more than 40 pixels lies over a thin gap: black lines
  /// of 1 to 3 pixels grow by one, row by row.
  void OptimazeBarcode1(unsigned char* buffer, int width, int height);
  /// Dots the lower ends of tall white runs and widens thin black lines below them, column by
  /// column.
  void OptimazeBarcode2(unsigned char* buffer, int width, int height);

 private:
  void setRowStride(int width);

  std::int32_t rowStride_ = 0;    ///< row length in bytes as the barcode functions address it
  Settings* settings_ = nullptr;  ///< the job's record, owned by `runJob`
  std::string framePath_;         ///< of the frame stored last, until somebody asks for it
};

/// Before each page: reads the queue's page counter and sends the print setting.
void jobSetup(KestraPrinter* printer, Settings* settings);

/// After the last page: stores the queue's page counter, which starts again at 1 from 9000 on.
void jobEnd(KestraPrinter* printer, Settings* settings);

}  // namespace kestra
