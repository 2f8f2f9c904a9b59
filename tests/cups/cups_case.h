// The common part of all tests that print: a running server, or the reason why there is none.
// Why: a machine without the print server must fail loudly, one that forbids it must skip.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "tests/cups/documents.h"
#include "tests/cups/expected.h"
#include "tests/cups/print_server.h"

namespace kestra::cups_tests {

class CupsCase : public testing::Test {
 protected:
  void SetUp() override;

  PrintServer& server() { return PrintServer::running(); }
  /// A queue of the label printer with a name that no other test uses.
  std::string makeQueue(const std::vector<std::string>& defaults = {});
  /// Writes a document; the path.
  std::string document(const std::string& name, const std::string& bytes);
  /// A raster document of such pages, small on disk.
  std::string raster(const std::vector<testing_support::StreamPage>& pages);
  /// Prints; the job must end well.
  JobReport printed(const std::string& queue, const std::string& file,
                    const std::vector<std::string>& words = {});
};

/// The setting command `pages` times: speed code and darkness as the protocol has them.
std::string commands(std::size_t pages, int speed = 2, int darkness = 1);

/// "page_0001_jobid_000012_0000.dat"
std::string frameName(int page, int job, int sequence = 0);

/// The job must have ended well without an error line, with these frames and one command per frame.
void expectPrinted(const JobReport& report, const std::map<std::string, plain::Bytes>& frames,
                   const std::string& commands);
/// The same for the outcome that the plain version predicts.
void expectPrinted(const JobReport& report, const plain::Outcome& outcome);

/// The only frame of a job; zeros and a failure where it has another number of frames.
std::string onlyFrame(const JobReport& report);

/// The frames of a job in printing order.
std::vector<std::string> inOrder(const JobReport& report);

/// Columns 0 to 203 k (k inches), rows 812 to 1015: the bar of page k on a 4 x 6 inch label. The
/// bar lies 72 to 144 points above the lower edge: (432 - 144) / 72 * 203 = 812 rows below the
/// upper.
Box bar(int k);
/// Margin bytes of that label: ((832.02 - 812) / 2 + 7) / 8 = 2.1.
inline constexpr int kLabelMargin = 2;

/// The bar numbers of a job's pages in printing order; 0 for any other page.
std::vector<int> bars(const JobReport& report);

}  // namespace kestra::cups_tests
