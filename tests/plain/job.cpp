// Walks through a job page by page and writes down everything the filter must do.
// Why: the order of commands, files and messages is part of the result, not only the dots.
#include "tests/plain/job.h"

#include <algorithm>
#include <cstddef>

#include "tests/plain/barcode.h"
#include "tests/plain/debug_image.h"
#include "tests/plain/page_log.h"
#include "tests/plain_stencil/processing.h"

namespace kestra::plain {

namespace {

constexpr std::uint64_t kLargestPage = (1ULL << 29U) - 1;  // bytes

// What lies in the page's block after its dots were packed into it: the dots from the first byte
// on, behind them the rest of the pixels.
//   rows 255 0 0 255 | 255 255 0 0, width 4, dots 90 C0  ->  90 C0 0 255 | 255 255 0 0
Rows packedInPlace(const Rows& padded, const Bytes& dots) {
  Rows block = padded;
  const std::size_t stride = padded[0].size();
  for (std::size_t i = 0; i < dots.size(); ++i) block[i / stride][i % stride] = dots[i];
  return block;
}

class Walk {
 public:
  explicit Walk(const Job& job) : job_(job), s_(job.settings) {}
  Outcome run();

 private:
  void say(const std::string& text) { out_.log += "DEBUG:" + text + "\n"; }
  void readMarker();
  void writeMarker();
  void saveDebugImage(const std::string& kind, const Bytes& data, int width, int height);
  bool onePage(const Page& page);
  void print(const Page& page);
  void printImage(const Page& page);
  void printFinished(const Header& h);
  void storeFrame(const Bytes& frame);

  const Job& job_;     // the caller's, for the time of RunJob
  const Settings& s_;  // part of job_
  Outcome out_;
  plain_stencil::Picture finished_;  // as the last page left it, its packed dots included
  unsigned pageNumber_ = 1;
  int pageCount_ = 0;
  int imageCount_ = 0;
  float maxMediaMm_ = 0;
  float widthMm_ = 0;
  float heightMm_ = 0;
  bool dataDirectory_ = false;
};

void Walk::readMarker() {
  if (!out_.marker || !job_.place.markerOpen) return;
  const Bytes& bytes = *out_.marker;
  if (!bytes.empty()) pageNumber_ = (pageNumber_ & 0xFF00U) | bytes[0];
  if (bytes.size() > 1)
    pageNumber_ = (pageNumber_ & 0x00FFU) | static_cast<unsigned>(bytes[1] * 256);
}

void Walk::writeMarker() {
  if (pageNumber_ >= 9000) pageNumber_ = 1;
  if (!dataDirectory_ || !job_.place.markerOpen || out_.markerName.size() > 255) return;
  if (out_.markerName.find('/') != std::string::npos) return;
  out_.marker = Bytes{static_cast<std::uint8_t>(pageNumber_ % 256),
                      static_cast<std::uint8_t>(pageNumber_ / 256)};
}

void Walk::saveDebugImage(const std::string& kind, const Bytes& data, int width, int height) {
  const std::string name = kind + "_#_" + std::to_string(imageCount_++) + ".bmp";
  if (job_.place.debugImagesOpen) {
    out_.debugImages.push_back({name, debugImage8(data, width, height)});
  } else {
    out_.log += "WrenPrinter::saveImage: unable to open the file " + job_.place.prefix +
                "var/spool/cups/tmp/" + name + "\n";
  }
}

void Walk::storeFrame(const Bytes& frame) {
  const long largest = job_.place.largestFrame;
  if (job_.place.framesOpen && largest >= 0 && static_cast<long>(frame.size()) > largest) {
    dataDirectory_ = true;
    out_.log += "ERROR:*\n";
  } else if (job_.place.framesOpen) {
    dataDirectory_ = true;
    std::string name;
    const auto taken = [this, &name] {
      const auto& there = job_.place.frameFiles;
      return out_.frames.count(name) > 0 || std::count(there.begin(), there.end(), name) > 0;
    };
    int sequence = 0;
    do {
      name = format("page_%04u_jobid_%06d_%04d.dat", pageNumber_,
                    leadingNumber(job_.jobId.substr(0, 20)), sequence++);
    } while (taken());
    out_.frames[name] = frame;
    say(format(
        "DumpPageToFile: dumped the page data to file:%svar/spool/cups/tmp/kcv6data/%s, size:%d",
        job_.place.prefix.c_str(), name.c_str(), static_cast<int>(frame.size())));
  }
  pageNumber_ = (pageNumber_ + 1) % 65536;
}

// Processes the page and prints the image that is there then.
void Walk::printImage(const Page& page) {
  const Header& h = page.header;
  plain_stencil::Choices choices;
  choices.halftone = s_.halftone;
  choices.brightness = std::clamp(s_.brightness, -100, 100);
  choices.mirror = s_.mirrorImage != 0;
  choices.negative = s_.negativeImage != 0;
  const plain_stencil::Processed made =
      plain_stencil::process(choices, page.pixels, static_cast<int>(h.bytesPerLine),
                             static_cast<int>(h.width), static_cast<int>(h.height));
  out_.log += made.log;
  // A classic page is finished in the image that could not be made: nothing is left. The stencil of
  // an earlier page has an image of its own, which is printed again.
  const bool stencil = s_.halftone == 8 || s_.halftone == 9;
  if (!made.image.rows.empty() || !stencil) finished_ = made.image;
  say(
      format("printImage: Processed image information - pointer address: #, width: %u, height: %u, "
             "bytes per line: %u, number of top blank lines: 0, number of bottom blank lines: 0, "
             "adjusted height: %u",
             h.width, h.height, h.bytesPerLine, h.height));
  say("printImage: Saving processed image, file path will be generated based on time");
  if (!finished_.rows.empty()) {
    saveDebugImage("dithered", flatten(finished_.rows), finished_.width,
                   static_cast<int>(finished_.rows.size()));
  }
  say("printImage: Starting to print the processed image");
  if (!finished_.rows.empty()) {
    printFinished(h);
  } else {
    out_.log += "ERROR:printImage: pimage is NULL, unable to print the image\n";
  }
}

// Sizes are the image's; resolution, label size and margin those of the page.
void Walk::printFinished(const Header& h) {
  Rows& rows = finished_.rows;
  const int width = finished_.width;
  const int height = static_cast<int>(rows.size());
  if (s_.barcode == 1 || s_.barcode == 2) {
    dashLongRuns(rows, width);
    if (s_.barcode == 1) thinBarcode1(rows, width);
    if (s_.barcode == 2) thinBarcode2(rows, width);
    say(format("OptimazeBarcode%d is applied!", s_.barcode));
  }
  say(format("GrayToMono, bpl(%d), h(%d), skipPixels(0), wb(%d)", width, height, width));
  const Bytes dots = packSkewed(rows, width);
  rows = packedInPlace(rows, dots);
  say("KCLSendPaperInfo: settings->pageWidth:#");
  say("KCLSendPaperInfo: settings->pageHeight:#");
  Label label;
  label.paperType = s_.paperType;
  label.pageWidthMm = widthMm_;
  label.pageHeightMm = heightMm_;
  label.gapsHeightMm = s_.gapsHeight;
  label.dotsPerInch = static_cast<double>(h.resolution[0]);
  label.pageNumber = pageNumber_;
  const auto printable = static_cast<float>(static_cast<double>(maxMediaMm_) / 25.4 *
                                            static_cast<double>(h.resolution[0]));
  const auto records = rowRecords(dots, height, marginBytes(printable, width));
  if (records) storeFrame(frame(labelBlock(label), *records, height));
}

void Walk::print(const Page& page) {
  const Header& h = page.header;
  const auto size = static_cast<unsigned long>(h.bytesPerLine) * h.height;
  say(format("printImage: Start processing image, input width: %u, height: %u, bytes per line: %u",
             h.width, h.height, h.bytesPerLine));
  say(format("printImage: Memory allocated successfully, size: %lu bytes", size));
  say("printImage: Saving original image, file path will be generated based on time");
  saveDebugImage("origin", page.pixels, static_cast<int>(h.width), static_cast<int>(h.height));
  say(format("printImage: Memory for processing result allocated successfully, size: %lu bytes",
             size));
  printImage(page);
  say("printImage: Freed the allocated memory, address: #");
  say("printImage: Freed the memory for processing result, address: #");
  say("printImage: Image processing completed");
}

// False: the job ends here with status 1.
bool Walk::onePage(const Page& page) {
  const Header& h = page.header;
  const std::uint64_t size = static_cast<std::uint64_t>(h.bytesPerLine) * h.height;
  if (h.bytesPerLine < h.width || size > kLargestPage) {
    out_.log += "ERROR:*\n";
    return false;
  }
  out_.sideFile = format("cupsWidth:%d, cupsHeight:%d, cupsBytesPerLine:%d, cupsBitsPerPixel:%d\n",
                         static_cast<int>(h.width), static_cast<int>(h.height),
                         static_cast<int>(h.bytesPerLine), static_cast<int>(h.bitsPerPixel));
  if (!job_.place.sideFileOpen) out_.sideFile.reset();
  widthMm_ = static_cast<float>(h.width * 25.4 / h.resolution[0]);
  heightMm_ = static_cast<float>(h.height * 25.4 / h.resolution[1]);
  say(format("pageWidth: %f,pageHeight: %f", static_cast<double>(widthMm_),
             static_cast<double>(heightMm_)));
  readMarker();
  const Bytes command = settingCommand(s_.printSpeed, s_.darkness);
  out_.output.insert(out_.output.end(), command.begin(), command.end());
  out_.log += headerLog(h, ++pageCount_);
  if (page.readable) print(page);
  return true;
}

Outcome Walk::run() {
  out_.markerName = markerName(job_.queue);
  out_.marker = job_.place.marker;
  dataDirectory_ = job_.place.dataDirectoryThere;

  // Points to float, over 72 in single precision, times 25.4 in double precision, to float.
  const float inches = static_cast<float>(s_.maxMediaPoints) / 72.0F;
  maxMediaMm_ = static_cast<float>(static_cast<double>(inches) * 25.4);
  if (s_.pageSizeKnown) {
    widthMm_ = static_cast<float>(static_cast<double>(s_.points[0]) * 0.3528);
    heightMm_ = static_cast<float>(static_cast<double>(s_.points[1]) * 0.3528);
  }
  out_.log = settingsLog(s_, widthMm_, heightMm_, maxMediaMm_);
  if (!(widthMm_ > 1.0F) || !(heightMm_ > 1.0F)) {
    out_.log += format("ERROR: Paper size must not less than 1.0 : (%f, %f)\n",
                       static_cast<double>(widthMm_), static_cast<double>(heightMm_));
    return out_;
  }
  for (const Page& page : job_.pages) {
    if (page.header.bitsPerPixel != 8) {
      out_.log += format("ERROR:Unsupported bits per pixel : %d ! Requires 8 bits per pixel!\n",
                         static_cast<int>(page.header.bitsPerPixel));
      return out_;
    }
    if (page.header.height == 0 || page.header.bytesPerLine == 0) break;
    if (!onePage(page)) return out_;
  }
  writeMarker();
  out_.status = 0;
  return out_;
}

}  // namespace

std::string markerName(const std::string& queue) {
  std::string name;
  for (const char c : queue.substr(0, 259)) name += c >= ' ' && c <= '~' ? c : '_';
  return name + ".pgc";
}

Outcome runJob(const Job& job) { return Walk(job).run(); }

}  // namespace kestra::plain
