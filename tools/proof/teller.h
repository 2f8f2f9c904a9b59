// Tells what a run found: in words for a person, or as one JSON object for a program.
//
// Warnings and errors go to standard error in both cases, so that neither a log nor a person at a
// terminal misses them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/base/json.h"
#include "tools/frame/frame_reader.h"
#include "tools/frame/setting_reader.h"
#include "tools/proof/arguments.h"
#include "tools/proof/detail.h"
#include "tools/proof/progress.h"

namespace kestra::proof {

/// One print on a comparison sheet; places in pixels of the picture.
struct TileReport {
  std::string halftone;
  std::size_t x = 0;
  std::size_t y = 0;
  std::size_t width = 0;
  std::size_t height = 0;
  std::uint64_t blackDots = 0;
};

struct PageReport {
  std::size_t number = 0;  ///< of the document, 0 for a frame
  std::string picture;     ///< file
  std::size_t width = 0;   ///< of the picture in pixels
  std::size_t height = 0;
  std::array<unsigned, 2> dpi = {0, 0};  ///< of the print
  std::uint64_t pageDots = 0;            ///< dots of the page, black or not
  std::uint64_t blackDots = 0;
  const PageFrame* frame = nullptr;    ///< the caller's; null on a comparison sheet
  std::size_t framePageDots = 0;       ///< width of the frame's page, 0: only what the frame says
  std::optional<DotRectangle> part;    ///< of the page, on a sheet that does not show all of it
  std::vector<TileReport> tiles;       ///< empty but on a comparison sheet
  std::string note;                    ///< on the frame, empty where there is none
  std::optional<SentSetting> setting;  ///< what was sent to the printer before the page
  std::vector<std::string> warnings;
};

struct DocumentReport {
  std::string path;
  std::string type;
  std::string model;  ///< empty where --ppd was given, and for what is not printed
  std::string ppd;
  std::vector<std::pair<std::string, std::string>> options;
};

class Teller {
 public:
  explicit Teller(const Arguments& arguments);

  void begin(const DocumentReport& document);
  void page(const PageReport& page);
  void counter(unsigned nextPage);
  void commands(const std::vector<SentSetting>& settings);
  /// Words for a person alone.
  void note(const std::string& sentence);
  /// A lasting remark on the document that is no failure.
  void warn(const std::string& sentence);
  /// Something about the document failed.
  void complain(const std::string& problem);
  void end(const std::vector<std::string>& logErrors);

  /// The end of the run.
  /// @return false where something failed, the output itself included
  [[nodiscard]] bool finish();

  ProgressBar& progress() { return progress_; }

 private:
  void words(const PageReport& page);
  void pageJson(const PageReport& page);
  void say(const std::string& text);
  void sayError(const std::string& text);

  bool jsonOn_;
  bool wordsOn_;
  bool verbose_;
  bool well_ = true;
  JsonText json_;
  ProgressBar progress_;
  std::string path_;  // of the document under way
  std::vector<std::string> warnings_;
  std::vector<std::string> errors_;
};

}  // namespace kestra::proof
