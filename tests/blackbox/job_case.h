// One print job described once: run through the filter and through the plain version, then
// compared. Why: every test then checks all bytes of a job, not only those it was written for.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/plain/job.h"
#include "tests/support/page_makers.h"
#include "tests/support/ppd_text.h"
#include "tests/support/raster_stream.h"
#include "tests/support/sandbox.h"

namespace kestra::blackbox {

namespace ts = testing_support;

struct JobCase {
  /// A fresh queue: the data directory does not exist yet.
  JobCase() { place.dataDirectoryThere = false; }

  ts::PpdText ppd;
  std::string options;       ///< argv[5]
  plain::Settings settings;  ///< what `ppd` and `options` come to, by hand
  std::vector<ts::StreamPage> pages;
  std::optional<std::string> stream;  ///< these bytes instead of `pages`
  bool compressed = false;
  bool fileArgument = false;  ///< argv[6] instead of standard input
  std::string jobId = "42";
  std::optional<std::string> queue = "label";
  std::optional<std::string> marker;     ///< bytes of the queue's counter file before the job
  std::vector<std::string> framesThere;  ///< frame files of earlier jobs
  plain::Place place;  ///< only the flags; prefix, marker and frames are filled in
  long fileSizeLimit = -1;
  bool asNobody = false;
  ts::Listener listener = ts::Listener::kReads;
  std::vector<ts::Milestone> milestones;
  bool manyFiles = false;                     ///< the tree lies in memory
  std::function<void(ts::Sandbox&)> prepare;  ///< last thing before the start

  /// Adds "keyword=choice" to the options.
  void choose(const std::string& keyword, const std::string& choice);
  /// Each sets a choice in options and settings: the halftone with this number (0..9), brightness
  /// (a choice of the PPD), mirror, negative, the barcode choice (0..3).
  void halftone(int number);
  void brightness(int level);
  void mirror();
  void negative();
  void barcode(int number);
  /// MaxMediaWidth of the PPD in points; an empty text leaves it out.
  void mediaWidth(const std::string& points);
  /// What the settings come to: the paper's size and its printable area, in points.
  void setPoints(double width, double length, double left, double bottom, double right, double top);
  /// The PPD has this size alone.
  void onlySize(const std::string& name, double width, double length);
  void addPage(unsigned width, unsigned height, const std::string& picture,
               unsigned bytesPerLine = 0, unsigned dpi = 203);
  /// A page of these bytes, line by line.
  void addPixels(unsigned width, unsigned height, const ts::Pixels& pixels);
  /// The data directory is there, though the queue is fresh.
  void makeDataDirectory();
};

JobCase onePage(unsigned width, unsigned height, const std::string& picture);

/// Name of the halftone choice with this number (0..9).
std::string halftoneName(int number);

plain::Header toPlain(const cups_page_header2_t& header);

/// The plain version's outcome of the case.
plain::Outcome predict(const JobCase& job);

/// Fills a tree with the job's files and returns what is to be started there.
ts::Run prepare(const JobCase& job, ts::Sandbox& box);

/// Runs the filter alone.
ts::Result runFilter(const JobCase& job);

/// Files of a run that are the test's own (PPD, stream).
bool isInput(const std::string& file);

/// The debug image with this masked name ("dithered_#_1.bmp"); an empty text and a failure if there
/// is none. Its pixels start at byte 1078.
std::string imageNamed(const ts::Result& result, const std::string& maskedName);

/// Runs both, expects that all agree, returns what the filter did.
ts::Result expectAsPlain(const JobCase& job);

/// Whether the messages have this text.
bool says(const ts::Result& result, const std::string& text);

/// The bytes of the counter file of queue "label", and of the first frame of page number `page`.
std::string counterOf(const ts::Result& result);
std::string frameOfPage(const ts::Result& result, int page);

/// The bytes of the only new frame; an empty text and a failure if there is not exactly one.
std::string onlyFrame(const ts::Result& result);

/// The same of a job that is run and compared as above.
std::string frameOf(const JobCase& job);

/// Text of hexadecimal pairs ("1B 73 01") to bytes.
std::string hex(const std::string& pairs);

}  // namespace kestra::blackbox
