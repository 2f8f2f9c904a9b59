// The page size of a job in the words of its printer description.
//
// The print system drops a name that the description does not have, and prints on the default size
// without a word: a label from another computer would come out turned in the middle of a large one.
#pragma once

#include <cups/ppd.h>

#include <optional>
#include <string>

#include "tools/size/page_measure.h"

namespace kestra {

struct JobSize {
  std::string options;  ///< the job's options; where they had another name for the size, followed
                        ///< by PageSize= with the description's own, which then counts
  std::string warning;  ///< one sentence where the page will not have the size asked for; or empty
};

/// @param ppd  the description, whose default size is marked; stays the caller's
/// @param options  as the print system hands them to a filter
/// @param document  the size of the document's first page, for documents that are made of dots: it
///        counts where the job asks for no size
[[nodiscard]] JobSize sizeOfJob(ppd_file_t* ppd, const std::string& options,
                                const std::optional<PageMeasure>& document);

}  // namespace kestra
