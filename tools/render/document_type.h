// Tells what a document is by its content.
//
// Each kind goes another way through the print system's programs; a name may lie, the first bytes
// do not.
#pragma once

#include <string>

#include "filter/base/result.h"

namespace kestra {

enum class DocumentType { kPdf, kPostScript, kImage, kText, kRaster, kFrame };

/// "PDF", "PostScript", "picture", "text", "CUPS raster", "page frame"
const char* typeWords(DocumentType type);

/// By the content of a file. The problem of one that cannot be printed says what is wrong with it
/// ("is empty").
[[nodiscard]] Result<DocumentType> documentType(const std::string& path);

}  // namespace kestra
