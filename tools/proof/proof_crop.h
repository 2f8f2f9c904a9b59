// --crop: the labels on a larger page become a PDF of their own, and that is proofed.
#pragma once

#include <string>

#include "tools/proof/arguments.h"
#include "tools/proof/files.h"
#include "tools/proof/proof_document.h"
#include "tools/proof/teller.h"
#include "tools/render/document_type.h"

namespace kestra::proof {

/// Writes NAME-crop.pdf where the pictures go, tells what was found, and prints it like any
/// document. `keep` is a directory to make for what the print leaves, empty where nothing is kept.
void proofCropped(const std::string& path, DocumentType type, const Arguments& arguments,
                  const Printer& printer, const std::string& keep, WriteGuard& guard,
                  Teller& teller);

}  // namespace kestra::proof
