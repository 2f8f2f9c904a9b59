// A whole job in one input: settings, printer description, page headers, pixels, counter.
// Why: what comes from outside meets only here, and a print server must survive all of it.
#include <algorithm>
#include <cstdlib>

#include "filter/base/page_size.h"
#include "tests/blackbox/job_case.h"
#include "tests/fuzz/byte_source.h"
#include "tests/fuzz/pixels.h"
#include "tests/fuzz/private_spool.h"
#include "tests/fuzz/require.h"
#include "tests/plain/job.h"
#include "tests/support/log_text.h"
#include "tests/support/ppd_text.h"
#include "tests/support/raster_stream.h"
#include "tools/frame/frame_reader.h"
#include "tools/frame/setting_reader.h"

namespace kestra::fuzz {
namespace {

namespace ts = testing_support;

constexpr char kPpd[] = "tmp/fuzz.ppd";
constexpr char kPages[] = "tmp/fuzz.ras";
constexpr char kData[] = "var/spool/cups/tmp/kcv6data/";
constexpr char kSpool[] = "var/spool/cups/tmp/";

// Pages beyond this only cost time.
constexpr std::uint64_t kLargestPage = 1U << 16U;  // bytes
constexpr std::uint64_t kLargestHead = 1U << 20U;  // dots per inch x rows

constexpr const char* kHalftones[] = {"None",   "FloydSteinberg",    "Ordered", "Burkes",
                                      "Stucki", "JarvisJudiceNinke", "Sierra",  "StevensonArce",
                                      "Tattoo", "Tattoo_V7"};

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

std::string textOf(const plain::Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

// Pages of which the filter asks for the pixels.
bool pixelsAreRead(const cups_page_header2_t& h) {
  return h.cupsBitsPerPixel == 8 && pageBytes(h.cupsBytesPerLine, h.cupsHeight) > 0 &&
         isPrintablePage(h.cupsWidth, h.cupsBytesPerLine, h.cupsHeight);
}

ts::StreamPage makePage(ByteSource* source) {
  const unsigned width = source->word() % 600U;
  const unsigned height = source->word() % 200U;
  const unsigned spare = source->below(4) == 3 ? source->below(9) : 0;
  ts::StreamPage page;
  page.header = ts::makeHeader(width, height, width + spare, source->flag() ? 300 : 203);
  switch (source->below(16)) {  // one field that does not fit the others
    case 1:
      page.header.HWResolution[0] = source->number();
      break;
    case 2:
      page.header.HWResolution[1] = source->number();
      break;
    case 3:
      page.header.cupsBitsPerPixel = source->number();
      break;
    case 4:
      page.header.cupsBytesPerLine = source->number();
      break;
    case 5:
      page.header.cupsWidth = source->number();
      break;
    case 6:
      page.header.cupsHeight = source->number();
      break;
    default:
      break;
  }
  page.pixels = makePixels(source, std::size_t{width + spare} * height);
  return page;
}

// Whether a stream holds a page that only costs time: large, or many rows on a head that an absurd
// resolution makes millions of dots wide.
bool isSlow(const std::vector<ts::DeliveredPage>& pages) {
  return std::any_of(pages.begin(), pages.end(), [](const ts::DeliveredPage& page) {
    const cups_page_header2_t& h = page.header;
    if (!pixelsAreRead(h)) return false;
    return pageBytes(h.cupsBytesPerLine, h.cupsHeight) > kLargestPage ||
           std::uint64_t{h.HWResolution[0]} * h.cupsHeight > kLargestHead;
  });
}

// The library announces pages of any size; their pixels are not asked for here.
bool isSmallAndRead(const cups_page_header2_t& h) {
  return pixelsAreRead(h) && pageBytes(h.cupsBytesPerLine, h.cupsHeight) <= kLargestPage;
}

// What holds for every job, whatever came in.
void requireCleanEnd(const JobResult& result) {
  require(result.status == 0 || result.status == 1, "exit status 0 or 1");
  const ParsedSettings sent = parsePrintSettings({result.output.begin(), result.output.end()});
  require(result.output.empty() || sent.problem.empty(),
          "only whole setting commands reach the printer");
  std::size_t frames = 0;
  for (const auto& [path, bytes] : result.files) {
    if (startsWith(path, std::string(kData) + "page_")) {
      ++frames;
      const Result<PageFrame> frame = parsePageFrame({bytes.begin(), bytes.end()});
      require(static_cast<bool>(frame), path + " is a frame: " + frame.problem());
    } else if (startsWith(path, kData)) {
      require(path.size() > 4 && path.substr(path.size() - 4) == ".pgc", "a counter: " + path);
      require(bytes.size() == 2, "a counter has two bytes");
    } else if (startsWith(path, kSpool)) {
      require(path.substr(path.size() - 4) == ".bmp", "a debug image: " + path);
    } else {
      require(path == kPpd || path == kPages || path == "tmp/xxxxx.log", "no file at " + path);
    }
  }
  require(frames <= sent.settings.size(), "a command before every frame");
}

// A job that anybody could print, against the plain version, byte for byte.
void runDescribedJob(ByteSource* source) {
  plain::Job job;
  plain::Settings& s = job.settings;
  std::string options;
  const auto choose = [&](const char* keyword, const std::string& choice) {
    options += (options.empty() ? "" : " ") + std::string(keyword) + "=" + choice;
    return choice;
  };
  s.halftone = static_cast<int>(source->below(10));
  choose("HalftoneType", kHalftones[s.halftone]);
  s.barcode = static_cast<int>(source->below(4));
  choose("VBarcodeDensity", std::to_string(s.barcode));
  s.mirrorImage = source->flag() ? 1 : 0;
  choose("MirrorImage", s.mirrorImage == 1 ? "True" : "False");
  s.negativeImage = source->flag() ? 1 : 0;
  choose("NegativeImage", s.negativeImage == 1 ? "True" : "False");
  constexpr int kBrightness[] = {0, -250, -100, -20, -1, 1, 20, 100, 101};
  s.brightness = kBrightness[source->below(std::size(kBrightness))];
  choose("Brightness", std::to_string(s.brightness));
  constexpr const char* kPaper[] = {"LabelGaps", "LabelMark", "Continue"};
  s.paperType = choose("PaperType", kPaper[source->below(3)]);
  constexpr int kGaps[] = {2, 0, 1, 3, 25, -1};
  s.gapsHeight = kGaps[source->below(std::size(kGaps))];
  choose("GapsHeight", std::to_string(s.gapsHeight));
  constexpr const char* kSpeeds[] = {"4", "0", "1", "2", "3", "4.5", "257", "-1", "fast"};
  s.printSpeed = choose("PrintSpeed", kSpeeds[source->below(std::size(kSpeeds))]);
  constexpr const char* kDarkness[] = {"Light", "Middle", "Dark"};
  s.darkness = static_cast<int>(source->below(3));
  choose("Darkness", kDarkness[s.darkness]);
  s.maxMediaPoints = source->word() % 1000U;
  job.jobId = std::to_string(source->word());

  const bool isCompressed = source->flag();
  const bool hasCounter = source->flag();
  if (hasCounter) job.place.marker = source->bytes(2);
  job.place.prefix = "";
  job.place.dataDirectoryThere = hasCounter;

  std::vector<ts::StreamPage> pages;
  for (unsigned count = source->below(3) + 1; count > 0; --count) pages.push_back(makePage(source));
  // The library compresses only pages whose header it can believe.
  const bool areGood = std::all_of(pages.begin(), pages.end(), [](const ts::StreamPage& page) {
    return !page.pixels.empty() && pixelsAreRead(page.header) &&
           pageBytes(page.header.cupsBytesPerLine, page.header.cupsHeight) == page.pixels.size();
  });
  const std::string stream =
      isCompressed && areGood ? ts::writeStream(pages, true) : ts::rawStream(pages);
  const std::vector<ts::DeliveredPage> delivered = ts::deliver(stream, isSmallAndRead);
  if (isSlow(delivered)) return;
  for (const ts::DeliveredPage& page : delivered) {
    job.pages.push_back({blackbox::toPlain(page.header), page.pixels, page.readable});
  }

  setenv("PRINTER", job.queue.c_str(), 1);
  ts::PpdText ppd;
  ppd.setMaxMediaWidth(std::to_string(static_cast<int>(s.maxMediaPoints)));
  putFile(kPpd, ppd.text());
  putFile(kPages, stream);
  if (hasCounter) putCounter(plain::markerName(job.queue), textOf(*job.place.marker));
  const JobResult result = runJobHere({job.jobId, "user", "title", "1", options, kPages});
  requireCleanEnd(result);

  const plain::Outcome expected = plain::runJob(job);
  require(result.status == expected.status, "the exit status of the plain version");
  require(result.output == textOf(expected.output), "the commands of the plain version");
  std::size_t frames = 0;
  for (const auto& [path, bytes] : result.files) {
    if (!startsWith(path, std::string(kData) + "page_")) continue;
    ++frames;
    const auto found = expected.frames.find(path.substr(sizeof kData - 1));
    require(found != expected.frames.end(), path + " is a frame of the plain version");
    require(textOf(found->second) == bytes, path + " has the bytes of the plain version");
  }
  require(frames == expected.frames.size(), "all frames of the plain version");
  const auto counter = result.files.find(kData + expected.markerName);
  require((counter != result.files.end()) == expected.marker.has_value(), "a counter or none");
  if (expected.marker) require(counter->second == textOf(*expected.marker), "the counter's bytes");
}

// Anything at all.
void runHostileJob(ByteSource* source) {
  const bool hasOwnPpd = source->flag();
  const bool isRaw = source->flag();
  const std::string jobId = source->text('\n');
  const std::string queue = source->text('\n');
  const std::string options = source->text('\n');
  std::string ppd;
  if (hasOwnPpd) {
    ppd = source->text('\0');
  } else {
    ts::PpdText text;
    text.setMaxMediaWidth(source->text('\n'));
    for (std::string keyword = source->text(' '); !keyword.empty(); keyword = source->text(' ')) {
      const std::string choice = source->text('\n');
      text.setOption(keyword, choice, {choice});
    }
    ppd = text.text();
  }
  std::string stream;
  if (isRaw) {
    const std::vector<std::uint8_t> rest = source->rest();
    stream.assign(rest.begin(), rest.end());
  } else {
    stream = ts::rawStream({makePage(source), makePage(source)});
    stream.resize(stream.size() - std::min<std::size_t>(stream.size(), source->word()));
  }
  if (isSlow(ts::deliver(stream, isSmallAndRead))) return;

  setenv("PRINTER", queue.c_str(), 1);
  putFile(kPpd, ppd);
  putFile(kPages, stream);
  requireCleanEnd(runJobHere({jobId, "user", "title", "1", options, kPages}));
}

}  // namespace
}  // namespace kestra::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kestra::fuzz;
  enterPrivateSpool();
  setenv("PPD", kPpd, 1);
  ByteSource source(data, size);
  if (source.flag()) {
    runHostileJob(&source);
  } else {
    runDescribedJob(&source);
  }
  return 0;
}
