// The job settings record: all that the printer description, the job's options and the environment
// say about a job, in one flat record.
#pragma once

#include <cstddef>
#include <cstdint>

#include "filter/base/halftone_type.h"

namespace kestra {

/// Size of a choice text, its end included, as printer descriptions bound it.
inline constexpr std::size_t kChoiceTextSize = 41;

/// Settings of one job. Owned by `runJob` for the whole job; the printer only points at it. Text
/// fields end with a zero byte, except `jobId` where the id fills it. What nobody fills is 0.
struct Settings {
  char PageSize[kChoiceTextSize] = {};     ///< page size name
  float pageWidth = 0;                     ///< mm; of the page size, then of each page's header
  float pageHeight = 0;                    ///< mm; as `pageWidth`
  char Resolution[kChoiceTextSize] = {};   ///< resolution name, logged only
  char MediaMethod[kChoiceTextSize] = {};  ///< media method name, logged only
  char PaperType[kChoiceTextSize] = {};    ///< "LabelGaps", "LabelMark" or "Continue"
  std::int32_t GapsHeight = 0;             ///< height of gap or mark between labels, mm
  char PostAction[kChoiceTextSize] = {};   ///< never filled, logged only
  char Occurrence[kChoiceTextSize] = {};   ///< never filled, logged only
  char Origin[kChoiceTextSize] = {};       ///< print origin name, logged only
  std::int32_t MirrorImage = 0;            ///< 1: mirror the page left to right
  std::int32_t NegativeImage = 0;          ///< 1: negative printing
  DitherType halftoneType = DitherType::None;
  char PrintSpeed[kChoiceTextSize] = {};  ///< speed as decimal text
  std::int32_t Darkness = 0;              ///< 0 light, 1 middle, 2 dark
  std::int32_t Brightness = 0;            ///< -100 to 100 after the printer's clamp
  std::int32_t VBarcodeOpt = 0;           ///< barcode enhancement: 0 off, 1, 2
  char outputFile[256] = {};              ///< path of a copy of the printer's bytes; empty: none
  char jobId[20] = {};                    ///< job id text, not ended when 20 bytes or longer
  char printerName[260] = {};             ///< queue name, part of the counter's file name
  float MaxMediaWidth = 0;                ///< mm; from the first page on the print width in dots
};

}  // namespace kestra
