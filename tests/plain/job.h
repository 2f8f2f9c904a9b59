// A whole print job as values in and values out: what the filter must send, store, draw and say.
// Why: every run of the real program can be compared byte for byte with what this predicts.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/plain/frame.h"

namespace kestra::plain {

/// What the PPD and the job options come to.
struct Settings {
  std::string pageSize = "Label";
  bool pageSizeKnown = true;
  /// width, length, left, bottom, right, top of the page size in points
  float points[6] = {144, 72, 0, 0, 144, 72};
  double maxMediaPoints = 288;
  std::string resolution = "203dpi";
  std::string mediaMethod = "DirectThermal";
  std::string paperType = "LabelGaps";
  int gapsHeight = 2;
  std::string origin = "TopLeft";
  int mirrorImage = 0;
  int negativeImage = 0;
  int halftone = 0;  ///< 0..9
  std::string printSpeed = "4";
  int darkness = 1;
  int brightness = 0;
  int barcode = 0;
};

struct Header {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t bytesPerLine = 0;
  std::uint32_t bitsPerPixel = 8;
  std::uint32_t bitsPerColor = 8;
  std::uint32_t mediaType = 0;
  std::uint32_t colorOrder = 0;
  std::uint32_t colorSpace = 3;
  std::uint32_t compression = 0;
  std::uint32_t rowCount = 0;
  std::uint32_t rowFeed = 0;
  std::uint32_t rowStep = 0;
  std::uint32_t copies = 1;
  std::uint32_t resolution[2] = {203, 203};
};

struct Page {
  Header header;
  std::vector<std::uint8_t> pixels;  ///< bytesPerLine x height
  bool readable = true;              ///< false: the stream ends inside the pixels
};

/// The directories as the job finds them.
struct Place {
  std::string prefix = "/";        ///< before "var/spool/..." in every path that is shown
  bool debugImagesOpen = true;     ///< false: var/spool/cups/tmp is missing or closed
  bool sideFileOpen = true;        ///<
  bool framesOpen = true;          ///< false: no file can be made in the data directory
  long largestFrame = -1;          ///< a frame of more bytes finds the disk full; -1: none does
  bool markerOpen = true;          ///< the counter file can be read and written
  bool dataDirectoryThere = true;  ///< false: it is made with the first frame, if framesOpen
  std::optional<Bytes> marker;     ///< bytes of the queue's counter file
  std::vector<std::string> frameFiles;  ///< names that are taken
};

struct Job {
  std::string jobId = "42";
  std::string queue = "label";  ///< as the environment has it
  Settings settings;
  std::vector<Page> pages;
  Place place;
};

struct DebugImage {
  std::string name;  ///< the time is '#': "origin_#_0.bmp"
  Bytes bytes;
};

struct Outcome {
  int status = 1;
  Bytes output;
  /// Addresses, times and numbers without meaning are '#'. A line "ERROR:*" stands for a message
  /// whose words are free.
  std::string log;
  std::map<std::string, Bytes> frames;  ///< new files by name
  std::string markerName;
  std::optional<Bytes> marker;  ///< after the job
  std::vector<DebugImage> debugImages;
  std::optional<std::string> sideFile;
};

Outcome runJob(const Job& job);

/// Name of a queue's counter file.
std::string markerName(const std::string& queue);

}  // namespace kestra::plain
