// Walks through a job page by page and writes down everything the filter must do.
// Why: the order of commands, files and messages is part of the result, not only the dots.
#include "tests/plain/job.h"

#include <algorithm>
#include <cstddef>

#include "tests/plain/barcode.h"
#include "tests/plain/debug_image.h"
#include "tests/plain/finished_page.h"
#include "tests/plain/page_log.h"

namespace kestra::plain {

namespace {

constexpr std::uint64_t kLargestPage = (1ULL << 29U) - 1;  // bytes

class Walk {
 public:
  explicit Walk(const Job& job) : job_(job), s_(job.settings) {}
  Outcome Run();

 private:
  void Say(const std::string& text) { out_.log += "DEBUG:" + text + "\n"; }
  void ReadMarker();
  void WriteMarker();
  void SaveDebugImage(const std::string& kind, const Bytes& data, int width, int height);
  bool OnePage(const Page& page);
  void Print(const Page& page);
  void PrintImage(const Page& page);
  void PrintFinished(const Header& h);
  void StoreFrame(const Bytes& frame);

  const Job& job_;     // the caller's, for the time of RunJob
  const Settings& s_;  // part of job_
  Outcome out_;
  FinishedPage finished_;  // as the last page left it, its packed dots included
  unsigned pageNumber_ = 1;
  int pageCount_ = 0;
  int imageCount_ = 0;
  float maxMediaMm_ = 0;
  float widthMm_ = 0;
  float heightMm_ = 0;
  bool dataDirectory_ = false;
};

void Walk::ReadMarker() {
  if (!out_.marker || !job_.place.markerOpen) return;
  const Bytes& bytes = *out_.marker;
  if (!bytes.empty()) pageNumber_ = (pageNumber_ & 0xFF00U) | bytes[0];
  if (bytes.size() > 1)
    pageNumber_ = (pageNumber_ & 0x00FFU) | static_cast<unsigned>(bytes[1] * 256);
}

void Walk::WriteMarker() {
  if (pageNumber_ >= 9000) pageNumber_ = 1;
  if (!dataDirectory_ || !job_.place.markerOpen || out_.markerName.size() > 255) return;
  if (out_.markerName.find('/') != std::string::npos) return;
  out_.marker = Bytes{static_cast<std::uint8_t>(pageNumber_ % 256),
                      static_cast<std::uint8_t>(pageNumber_ / 256)};
}

void Walk::SaveDebugImage(const std::string& kind, const Bytes& data, int width, int height) {
  const std::string name = kind + "_#_" + std::to_string(imageCount_++) + ".bmp";
  if (job_.place.debugImagesOpen) {
    out_.debugImages.push_back({name, DebugImage8(data, width, height)});
  } else {
    out_.log += "WrenPrinter::saveImage: unable to open the file " + job_.place.prefix +
                "var/spool/cups/tmp/" + name + "\n";
  }
}

void Walk::StoreFrame(const Bytes& frame) {
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
      name = Format("page_%04u_jobid_%06d_%04d.dat", pageNumber_,
                    LeadingNumber(job_.jobId.substr(0, 20)), sequence++);
    } while (taken());
    out_.frames[name] = frame;
    Say(Format(
        "DumpPageToFile: dumped the page data to file:%svar/spool/cups/tmp/kcv6data/%s, size:%d",
        job_.place.prefix.c_str(), name.c_str(), static_cast<int>(frame.size())));
  }
  pageNumber_ = (pageNumber_ + 1) % 65536;
}

// Processes the page and prints the image that is there then.
void Walk::PrintImage(const Page& page) {
  const Header& h = page.header;
  const FinishedPage made = FinishPage(s_, page);
  out_.log += made.log;
  // A classic page is finished in the image that could not be made: nothing is left. The stencil of
  // an earlier page has an image of its own, which is printed again.
  if (made.made || !IsStencil(s_)) finished_ = made;
  Say(
      Format("printImage: Processed image information - pointer address: #, width: %u, height: %u, "
             "bytes per line: %u, number of top blank lines: 0, number of bottom blank lines: 0, "
             "adjusted height: %u",
             h.width, h.height, h.bytesPerLine, h.height));
  Say("printImage: Saving processed image, file path will be generated based on time");
  if (finished_.made) {
    SaveDebugImage("dithered", Flatten(finished_.rows), finished_.width,
                   static_cast<int>(finished_.rows.size()));
  }
  Say("printImage: Starting to print the processed image");
  if (finished_.made) {
    PrintFinished(h);
  } else {
    out_.log += "ERROR:printImage: pimage is NULL, unable to print the image\n";
  }
}

// Sizes are the image's; resolution, label size and margin those of the page.
void Walk::PrintFinished(const Header& h) {
  Rows& rows = finished_.rows;
  const int width = finished_.width;
  const int height = static_cast<int>(rows.size());
  if (s_.barcode == 1 || s_.barcode == 2) {
    DashLongRuns(rows, width);
    if (s_.barcode == 1) ThinBarcode1(rows, width);
    if (s_.barcode == 2) ThinBarcode2(rows, width);
    Say(Format("OptimazeBarcode%d is applied!", s_.barcode));
  }
  Say(Format("GrayToMono, bpl(%d), h(%d), skipPixels(0), wb(%d)", width, height, width));
  const Bytes dots = PackSkewed(rows, width);
  rows = PackedInPlace(rows, dots);
  Say("KCLSendPaperInfo: settings->pageWidth:#");
  Say("KCLSendPaperInfo: settings->pageHeight:#");
  Label label;
  label.paperType = s_.paperType;
  label.pageWidthMm = widthMm_;
  label.pageHeightMm = heightMm_;
  label.gapsHeightMm = s_.gapsHeight;
  label.dotsPerInch = static_cast<double>(h.resolution[0]);
  label.pageNumber = pageNumber_;
  const auto printable = static_cast<float>(static_cast<double>(maxMediaMm_) / 25.4 *
                                            static_cast<double>(h.resolution[0]));
  const auto records = RowRecords(dots, height, MarginBytes(printable, width));
  if (records) StoreFrame(Frame(LabelBlock(label), *records, height));
}

void Walk::Print(const Page& page) {
  const Header& h = page.header;
  const auto size = static_cast<unsigned long>(h.bytesPerLine) * h.height;
  Say(Format("printImage: Start processing image, input width: %u, height: %u, bytes per line: %u",
             h.width, h.height, h.bytesPerLine));
  Say(Format("printImage: Memory allocated successfully, size: %lu bytes", size));
  Say("printImage: Saving original image, file path will be generated based on time");
  SaveDebugImage("origin", page.pixels, static_cast<int>(h.width), static_cast<int>(h.height));
  Say(Format("printImage: Memory for processing result allocated successfully, size: %lu bytes",
             size));
  PrintImage(page);
  Say("printImage: Freed the allocated memory, address: #");
  Say("printImage: Freed the memory for processing result, address: #");
  Say("printImage: Image processing completed");
}

// False: the job ends here with status 1.
bool Walk::OnePage(const Page& page) {
  const Header& h = page.header;
  const std::uint64_t size = static_cast<std::uint64_t>(h.bytesPerLine) * h.height;
  if (h.bytesPerLine < h.width || size > kLargestPage) {
    out_.log += "ERROR:*\n";
    return false;
  }
  out_.sideFile = Format("cupsWidth:%d, cupsHeight:%d, cupsBytesPerLine:%d, cupsBitsPerPixel:%d\n",
                         static_cast<int>(h.width), static_cast<int>(h.height),
                         static_cast<int>(h.bytesPerLine), static_cast<int>(h.bitsPerPixel));
  if (!job_.place.sideFileOpen) out_.sideFile.reset();
  widthMm_ = static_cast<float>(h.width * 25.4 / h.resolution[0]);
  heightMm_ = static_cast<float>(h.height * 25.4 / h.resolution[1]);
  Say(Format("pageWidth: %f,pageHeight: %f", static_cast<double>(widthMm_),
             static_cast<double>(heightMm_)));
  ReadMarker();
  const Bytes command = SettingCommand(s_.printSpeed, s_.darkness);
  out_.output.insert(out_.output.end(), command.begin(), command.end());
  out_.log += HeaderLog(h, ++pageCount_);
  if (page.readable) Print(page);
  return true;
}

Outcome Walk::Run() {
  out_.markerName = MarkerName(job_.queue);
  out_.marker = job_.place.marker;
  dataDirectory_ = job_.place.dataDirectoryThere;

  // Points to float, over 72 in single precision, times 25.4 in double precision, to float.
  const float inches = static_cast<float>(s_.maxMediaPoints) / 72.0F;
  maxMediaMm_ = static_cast<float>(static_cast<double>(inches) * 25.4);
  if (s_.pageSizeKnown) {
    widthMm_ = static_cast<float>(static_cast<double>(s_.points[0]) * 0.3528);
    heightMm_ = static_cast<float>(static_cast<double>(s_.points[1]) * 0.3528);
  }
  out_.log = SettingsLog(s_, widthMm_, heightMm_, maxMediaMm_);
  if (!(widthMm_ > 1.0F) || !(heightMm_ > 1.0F)) {
    out_.log += Format("ERROR: Paper size must not less than 1.0 : (%f, %f)\n",
                       static_cast<double>(widthMm_), static_cast<double>(heightMm_));
    return out_;
  }
  for (const Page& page : job_.pages) {
    if (page.header.bitsPerPixel != 8) {
      out_.log += Format("ERROR:Unsupported bits per pixel : %d ! Requires 8 bits per pixel!\n",
                         static_cast<int>(page.header.bitsPerPixel));
      return out_;
    }
    if (page.header.height == 0 || page.header.bytesPerLine == 0) break;
    if (!OnePage(page)) return out_;
  }
  WriteMarker();
  out_.status = 0;
  return out_;
}

}  // namespace

std::string MarkerName(const std::string& queue) {
  std::string name;
  for (const char c : queue.substr(0, 259)) name += c >= ' ' && c <= '~' ? c : '_';
  return name + ".pgc";
}

Outcome RunJob(const Job& job) { return Walk(job).Run(); }

}  // namespace kestra::plain
