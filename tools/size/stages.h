// Which programs a document goes through, up to the printer's own filter.
//
// They are those that the print system itself would start, in its order.
#pragma once

#include <cups/ppd.h>

#include <string>
#include <vector>

namespace kestra {

/// Whether the document is made of dots and tells its size by them.
[[nodiscard]] bool isDots(const std::string& contentType);

/// Names of programs in the print system's folder for filters.
/// @param contentType  the kind of the document, "application/pdf"; what another filter has made of
///        any other kind is taken for PDF
/// @param ppd  names what comes behind the renderer; stays the caller's
/// @return empty where the description names no filter for raster pages
[[nodiscard]] std::vector<std::string> stagesOf(const std::string& contentType, ppd_file_t* ppd);

}  // namespace kestra
