// The server's chain, one program at a time, and the plain version behind it.
// Why: options and page sizes that get lost between the programs show as a different frame.
#include "tests/cups/expected.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>

#include "tests/blackbox/job_case.h"
#include "tests/cups/command.h"
#include "tests/cups/print_server.h"
#include "tests/support/raster_stream.h"
#include "tools/frame/frame_reader.h"

namespace kestra::cups_tests {

namespace ts = testing_support;

namespace {

bool anyPixels(const cups_page_header2_t&) { return true; }

}  // namespace

plain::Settings labelSettings(const std::string& size, float width, float length) {
  plain::Settings settings;
  settings.pageSize = size;
  const float points[6] = {width, length, 0, 0, width, length};
  std::memcpy(settings.points, points, sizeof points);
  settings.maxMediaPoints = 295.100006103516;  // as the printer description has it
  return settings;
}

std::string renderByHand(const std::vector<std::string>& programs, const std::string& document,
                         const std::string& contentType, const std::string& ppd,
                         const std::string& options) {
  const ts::TemporaryFolder folder(PrintServer::running().document(""));
  const std::string& name = folder.path();
  std::string input = document;
  for (const auto& program : programs) {
    Command command;
    command.words = {"/usr/lib/cups/filter/" + program, "1", "user", "title", "1", options};
    // As in a job: the first program gets the document as a file, the others read a pipe.
    if (input == document) {
      command.words.push_back(input);
    } else {
      command.input = input;
    }
    command.output = name + "/" + program;
    command.environment = {"PPD=" + ppd,
                           "PRINTER=byhand",
                           "CHARSET=utf-8",
                           "LANG=en_US.UTF-8",
                           "TMPDIR=" + name,
                           "CONTENT_TYPE=" + contentType,
                           "FINAL_CONTENT_TYPE=application/vnd.cups-raster"};
    const Said said = runCommand(command);
    if (said.status != 0) {
      ADD_FAILURE() << program << " ended with " << said.status << ": " << said.text;
      return "";
    }
    input = command.output;
  }
  return readFile(input);
}

plain::Outcome predict(const std::string& stream, const plain::Settings& settings, int job,
                       const std::string& queue) {
  plain::Job work;
  work.jobId = std::to_string(job);
  work.queue = queue;
  work.settings = settings;
  for (const auto& page : ts::deliver(stream, anyPixels)) {
    work.pages.push_back({blackbox::toPlain(page.header), page.pixels, page.readable});
  }
  return plain::runJob(work);
}

void PrintTo(const Box& box, std::ostream* out) {
  *out << "columns " << box.left << " to " << box.right << ", rows " << box.top << " to "
       << box.bottom;
}

Box blackBox(const std::string& frame, int marginBytes) {
  const Result<PageFrame> parsed = parsePageFrame({frame.begin(), frame.end()});
  if (!parsed) {
    ADD_FAILURE() << "no frame: " << parsed.problem();
    return {};
  }
  Box box;
  std::int64_t black = 0;
  for (std::size_t y = 0; y < parsed->rowCount; ++y) {
    const FrameRow row = parsed->row(y);
    for (std::size_t x = 0; x < row.dots.size * 8; ++x) {
      if ((row.dots.data[x / 8] >> (7 - x % 8) & 1) == 0) continue;
      const int column = static_cast<int>(x) - 8 * marginBytes;
      const int line = static_cast<int>(y);
      if (black++ == 0) box = {column, line, column + 1, line + 1};
      if (column < box.left) box.left = column;
      if (column >= box.right) box.right = column + 1;
      box.bottom = line + 1;
    }
  }
  if (black != std::int64_t{box.right - box.left} * (box.bottom - box.top)) {
    ADD_FAILURE() << "the dots are no full rectangle";
    return {};
  }
  EXPECT_TRUE(rowsWithWrongCount(*parsed).empty());
  return box;
}

}  // namespace kestra::cups_tests
