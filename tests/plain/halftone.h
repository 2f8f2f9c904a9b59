// The eight classic ways to turn grey levels into dots, and the default one.
// Why: they decide every dot of a page, so the tests need them written a second time.
#pragma once

#include "tests/plain/page.h"

namespace kestra::plain {

// Grey page in, page of 0 and 1 out; 0 where the level was dark in the sense of the method.
// method: 0 threshold, 1 ordered with 17 levels, 2 Burkes, 3 Stucki, 4 Jarvis-Judice-Ninke, 5
// Sierra, 6 Stevenson-Arce, 7 ordered with 16 thresholds, any other Floyd-Steinberg.
Rows Halftone(const Rows& grey, long method);

}  // namespace kestra::plain
