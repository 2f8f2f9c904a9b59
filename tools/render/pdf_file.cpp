// Reads PDF files with the library that the print system places their pages with: what it repairs
// or refuses here is repaired or refused in a job.
#include "tools/render/pdf_file.h"

#include <qpdf/qpdf-c.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <locale>
#include <memory>
#include <sstream>

namespace kestra {
namespace {

// An open PDF file; closed with this object.
class OpenPdf {
 public:
  explicit OpenPdf(const std::string& path) : data_(qpdf_init()) {
    qpdf_set_suppress_warnings(data_, QPDF_TRUE);  // they are asked for below
    const QPDF_ERROR_CODE code = qpdf_read(data_, path.c_str(), nullptr);
    if ((code & QPDF_ERRORS) == 0) pages_ = qpdf_get_num_pages(data_);
    if (qpdf_has_error(data_) == QPDF_FALSE) return;
    pages_ = 0;
    const qpdf_error error = qpdf_get_error(data_);
    error_ = qpdf_get_error_code(data_, error);
    detail_ = qpdf_get_error_message_detail(data_, error);
  }
  ~OpenPdf() { qpdf_cleanup(&data_); }
  OpenPdf(const OpenPdf&) = delete;
  OpenPdf& operator=(const OpenPdf&) = delete;

  // 0 where it cannot be read.
  int pages() const { return pages_; }
  qpdf_error_code_e error() const { return error_; }
  const std::string& detail() const { return detail_; }
  bool repaired() const { return qpdf_more_warnings(data_) != QPDF_FALSE; }

  // What page `index` from 0 draws, in the words of PDF; empty where it cannot be read.
  std::string content(int index) {
    unsigned char* bytes = nullptr;
    std::size_t size = 0;
    const qpdf_oh page = qpdf_get_page_n(data_, static_cast<std::size_t>(index));
    if ((qpdf_oh_get_page_content_data(data_, page, &bytes, &size) & QPDF_ERRORS) != 0) return {};
    const std::unique_ptr<unsigned char, void (*)(void*)> owned(bytes, std::free);
    std::string text(bytes, bytes + size);
    qpdf_oh_release(data_, page);
    return text;
  }

 private:
  qpdf_data data_;
  int pages_ = 0;
  qpdf_error_code_e error_ = qpdf_e_success;
  std::string detail_;
};

}  // namespace

Result<PdfLook> lookAtPdf(const std::string& path) {
  const OpenPdf pdf(path);
  if (pdf.error() == qpdf_e_password) {
    return Problem{
        "is protected by a password; open it with the password, save or print it as a PDF without "
        "one, and print that"};
  }
  if (pdf.error() == qpdf_e_system) return Problem{"cannot be read: " + pdf.detail()};
  if (pdf.error() != qpdf_e_success) {
    return Problem{"is a broken PDF (" + pdf.detail() + "); fetch or make it once more"};
  }
  if (pdf.pages() <= 0) return Problem{"has no pages; make the PDF once more"};
  return PdfLook{pdf.repaired()};
}

double contentScale(const std::string& content) {
  std::istringstream words(content);
  words.imbue(std::locale::classic());
  std::array<double, 6> last = {};  // the numbers before the word, oldest first
  for (std::string word; words >> word;) {
    if (word == "cm") {
      const double area = std::fabs(last[0] * last[3] - last[1] * last[2]);
      return area > 0 ? std::sqrt(area) : 1;
    }
    for (std::size_t i = 1; i < last.size(); ++i) last[i - 1] = last[i];
    std::istringstream number(word);
    number.imbue(std::locale::classic());
    if (!(number >> last.back())) last.back() = 0;
  }
  return 1;
}

std::vector<double> placedScales(const std::string& path) {
  OpenPdf pdf(path);
  std::vector<double> scales;
  scales.reserve(static_cast<std::size_t>(pdf.pages()));
  for (int page = 0; page < pdf.pages(); ++page) scales.push_back(contentScale(pdf.content(page)));
  return scales;
}

}  // namespace kestra
