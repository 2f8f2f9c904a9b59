// The rules that put dashes into long bars and thin out the lines of barcodes before packing.
// Why: they change single pixels by their neighbours, where a slip of one row or column shows in
// print.
#pragma once

#include "tests/plain/page.h"

namespace kestra::plain {

/// All three take the padded rows of the finished page and its true width, and change the page.
void dashLongRuns(Rows& padded, int width);
void thinBarcode1(Rows& padded, int width);
void thinBarcode2(Rows& padded, int width);

}  // namespace kestra::plain
