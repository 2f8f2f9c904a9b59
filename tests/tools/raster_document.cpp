// Turns a job of the black-box tests into a document on the disk and its predicted frames into
// rows of signs.
//
// The frames are taken apart here once more, apart from the reader that is under test.
#include "tests/tools/raster_document.h"

#include <algorithm>
#include <map>
#include <sstream>

namespace kestra {

std::vector<std::string> writeDocument(const ProofDirectory& directory,
                                       const blackbox::JobCase& job) {
  directory.writeText("printer.ppd", job.ppd.text());
  directory.writeText("pages.ras", job.stream
                                       ? *job.stream
                                       : testing_support::writeStream(job.pages, job.compressed));
  std::vector<std::string> words = {"--ppd", "printer.ppd", "pages.ras"};
  if (!job.options.empty()) words.insert(words.end(), {"-o", job.options});
  return words;
}

std::vector<std::vector<std::string>> plainPages(const blackbox::JobCase& job) {
  std::vector<std::vector<std::string>> pages;
  // The names hold the page's number, so their order is that of the pages.
  for (const auto& [name, bytes] : blackbox::predict(job).frames) {
    const auto number = [&bytes = bytes](std::size_t at) {
      return std::size_t{bytes[at]} + std::size_t{bytes[at + 1]} * 256;
    };
    const std::size_t record = number(18);
    const std::size_t height = number(20);
    std::vector<std::string> rows;
    for (std::size_t y = 0; y < height; ++y) {
      std::string row;
      for (std::size_t i = 2; i < record; ++i) {
        const unsigned byte = bytes[22 + y * record + i];
        for (unsigned bit = 0x80; bit > 0; bit /= 2) row += (byte & bit) != 0 ? '#' : '.';
      }
      rows.push_back(row);
    }
    pages.push_back(rows);
  }
  return pages;
}

std::vector<std::vector<std::string>> plainLabels(const blackbox::JobCase& job) {
  std::vector<std::vector<std::string>> pages = plainPages(job);
  for (std::size_t i = 0; i < pages.size(); ++i) {
    const std::size_t width = job.pages.at(i).header.cupsWidth;
    const std::size_t head = 4 * std::size_t{job.pages[i].header.HWResolution[0]};
    const std::size_t margin = ((head - width) / 2 + 7) / 8 * 8;
    for (std::string& row : pages[i]) row = row.substr(margin, width);
  }
  return pages;
}

std::size_t countDots(const std::vector<std::string>& rows) {
  std::size_t dots = 0;
  for (const std::string& row : rows) {
    dots += static_cast<std::size_t>(std::count(row.begin(), row.end(), '#'));
  }
  return dots;
}

std::vector<std::string> enlarge(const std::vector<std::string>& rows, unsigned scale) {
  std::vector<std::string> large;
  for (const std::string& row : rows) {
    std::string wide;
    for (const char sign : row) wide += std::string(scale, sign);
    large.insert(large.end(), scale, wide);
  }
  return large;
}

}  // namespace kestra
