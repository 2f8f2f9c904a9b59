// The programs that write into a job's pipe.
#pragma once

namespace kestra::delivery {

/// Ends them. When the print system dies by force its filters live on and go on storing frames,
/// while the next one starts the same job beside them: two filters' frames in one folder.
/// @param pipe  the reading end
void endWriters(int pipe);

}  // namespace kestra::delivery
