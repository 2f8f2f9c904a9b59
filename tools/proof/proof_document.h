// Prints a document and turns its pages into pictures and findings.
//
// Renderer, filter and pictures meet here; each page is let go before the next one comes.
#pragma once

#include <string>

#include "tools/proof/arguments.h"
#include "tools/proof/files.h"
#include "tools/proof/teller.h"
#include "tools/render/document_type.h"
#include "tools/render/printer_options.h"

namespace kestra::proof {

/// What all documents of a run are printed with.
struct Printer {
  std::string model;  ///< empty where --ppd was given
  std::string ppd;    ///< absolute
  PrinterOptions options;
};

/// Prints the document `path` and tells all of it. `keep` is a directory to make for what the print
/// leaves, empty where nothing is kept.
void proofDocument(const std::string& path, DocumentType type, const Arguments& arguments,
                   const Printer& printer, const std::string& keep, WriteGuard& guard,
                   Teller& teller);

}  // namespace kestra::proof
