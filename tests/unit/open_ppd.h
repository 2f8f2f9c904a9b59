// A printer description that is open for one test.
#pragma once

#include <cups/ppd.h>

#include <fstream>
#include <string>

#include "tests/support/ppd_text.h"

namespace kestra {

using testing_support::PpdText;

class OpenPpd {
 public:
  /// `lines` stand behind the text.
  explicit OpenPpd(const PpdText& ppd, const std::string& lines = "") {
    std::ofstream("open.ppd") << ppd.text() << lines;
    ppd_ = ppdOpenFile("open.ppd");
  }
  ~OpenPpd() { ppdClose(ppd_); }
  OpenPpd(const OpenPpd&) = delete;
  OpenPpd& operator=(const OpenPpd&) = delete;

  ppd_file_t* get() const { return ppd_; }

 private:
  ppd_file_t* ppd_ = nullptr;  // owned
};

}  // namespace kestra
