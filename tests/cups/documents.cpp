// Small documents written by hand.
// Why: their sizes and edges are whole inches, so a dot at 203 dpi never lies on an edge.
#include "tests/cups/documents.h"

#include "tests/cups/command.h"
#include "tests/support/files.h"
#include "tests/support/page_makers.h"

namespace kestra::cups_tests {

namespace ts = testing_support;

std::string barPostScript(int pages, int width, int height) {
  std::string text = "%!PS-Adobe-3.0\n<< /PageSize [" + std::to_string(width) + " " +
                     std::to_string(height) + "] >> setpagedevice\n";
  for (int k = 1; k <= pages; ++k) {
    text += "0 setgray 0 72 " + std::to_string(72 * k) + " 72 rectfill showpage\n";
  }
  return text;
}

std::string barPdf(int pages, int width, int height) {
  const ts::TemporaryFolder folder;
  const std::string drawn = folder.path() + "/bars.ps";
  const std::string pdf = folder.path() + "/bars.pdf";
  writeFile(drawn, barPostScript(pages, width, height));
  mustRun({"gs", "-q", "-dBATCH", "-dNOPAUSE", "-dSAFER", "-dAutoRotatePages=/None",
           "-sDEVICE=pdfwrite", "-sOutputFile=" + pdf, drawn});
  return readFile(pdf);
}

ts::StreamPage rasterPage(const std::string& picture, unsigned width, unsigned height,
                          unsigned dpi) {
  return {ts::makeHeader(width, height, width, dpi), ts::makePicture(picture, width, height)};
}

}  // namespace kestra::cups_tests
