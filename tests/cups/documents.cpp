// Small documents written by hand.
// Why: their sizes and edges are whole inches, so a dot at 203 dpi never lies on an edge.
#include "tests/cups/documents.h"

#include "tests/support/page_makers.h"

namespace kestra::cups_tests {

namespace ts = testing_support;

std::string barPdf(int pages, int width, int height) {
  // Objects: 1 catalogue, 2 page tree, then a page and its content for each page.
  std::vector<std::string> objects = {"<< /Type /Catalog /Pages 2 0 R >>"};
  std::string kids;
  for (int k = 1; k <= pages; ++k) kids += std::to_string(1 + 2 * k) + " 0 R ";
  objects.push_back("<< /Type /Pages /Count " + std::to_string(pages) + " /Kids [" + kids + "] >>");
  for (int k = 1; k <= pages; ++k) {
    const std::string drawing = "0 g 0 72 " + std::to_string(72 * k) + " 72 re f\n";
    objects.push_back("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + std::to_string(width) + " " +
                      std::to_string(height) + "] /Resources << >> /Contents " +
                      std::to_string(2 + 2 * k) + " 0 R >>");
    objects.push_back("<< /Length " + std::to_string(drawing.size()) + " >>\nstream\n" + drawing +
                      "endstream");
  }
  std::string text = "%PDF-1.4\n";
  std::string table;
  for (std::size_t i = 0; i < objects.size(); ++i) {
    const std::string start = std::to_string(text.size());
    table += std::string(10 - start.size(), '0') + start + " 00000 n \n";
    text += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
  }
  const std::string count = std::to_string(objects.size() + 1);
  return text + "xref\n0 " + count + "\n0000000000 65535 f \n" + table + "trailer\n<< /Size " +
         count + " /Root 1 0 R >>\nstartxref\n" + std::to_string(text.size()) + "\n%%EOF\n";
}

std::string barPostScript(int pages, int width, int height) {
  std::string text = "%!PS-Adobe-3.0\n<< /PageSize [" + std::to_string(width) + " " +
                     std::to_string(height) + "] >> setpagedevice\n";
  for (int k = 1; k <= pages; ++k) {
    text += "0 setgray 0 72 " + std::to_string(72 * k) + " 72 rectfill showpage\n";
  }
  return text;
}

ts::StreamPage rasterPage(const std::string& picture, unsigned width, unsigned height,
                          unsigned dpi) {
  return {ts::makeHeader(width, height, width, dpi), ts::makePicture(picture, width, height)};
}

}  // namespace kestra::cups_tests
