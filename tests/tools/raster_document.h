// Raster documents for proofs, and the dots that the plain version of the filter makes of them.
//
// A raster document needs no renderer: what is in the picture can be told dot by dot.
#pragma once

#include <string>
#include <vector>

#include "tests/blackbox/job_case.h"
#include "tests/tools/proof_run.h"

namespace kestra {

// Writes pages.ras (the pages of the job) and printer.ppd (its printer description) and returns
// the words that print them: the options of the job, the description, the document.
std::vector<std::string> writeDocument(const ProofDirectory& directory,
                                       const blackbox::JobCase& job);

// The rows of every page as the head gets them, margin first, by the plain version: '#' is a dot.
std::vector<std::vector<std::string>> plainPages(const blackbox::JobCase& job);

// The same without what the head has beside the label, on a head of 4 inches: the page centred on
// it, its left edge on the next whole byte.
std::vector<std::vector<std::string>> plainLabels(const blackbox::JobCase& job);

// Black dots of such a page.
std::size_t countDots(const std::vector<std::string>& rows);

// Each sign of the rows `scale` times across and down.
std::vector<std::string> enlarge(const std::vector<std::string>& rows, unsigned scale);

}  // namespace kestra
