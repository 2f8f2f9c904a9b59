// The renderers of the print system's filter package, and what the description puts behind them.
#include "tools/size/stages.h"

#include <sstream>

namespace kestra {
namespace {

constexpr char kPages[] = "application/vnd.cups-raster";

// The program of a line "TYPE COST PROGRAM" of the description; empty where it is for another type.
std::string programFor(const char* type, const char* line) {
  std::istringstream words(line == nullptr ? "" : line);
  std::string from;
  std::string cost;
  std::string program;
  words >> from >> cost >> program;
  return from == type ? program : "";
}

}  // namespace

bool isDots(const std::string& contentType) {
  return contentType == "image/pwg-raster" || contentType == "image/urf";
}

std::vector<std::string> stagesOf(const std::string& contentType, ppd_file_t* ppd) {
  std::vector<std::string> stages;
  if (contentType.rfind("image/", 0) == 0 && !isDots(contentType)) {
    stages = {"imagetoraster"};
  } else {
    if (contentType == "text/plain") stages = {"texttopdf"};
    if (isDots(contentType)) stages = {"rastertopdf"};
    stages.insert(stages.end(), {"pdftopdf", "gstoraster"});
  }
  const ppd_attr_t* before = ppdFindAttr(ppd, "cupsPreFilter", nullptr);
  for (; before != nullptr; before = ppdFindNextAttr(ppd, "cupsPreFilter", nullptr)) {
    const std::string program = programFor(kPages, before->value);
    if (!program.empty()) stages.push_back(program);
  }
  for (int i = 0; i < ppd->num_filters; ++i) {
    const std::string program = programFor(kPages, ppd->filters[i]);
    if (program.empty()) continue;
    stages.push_back(program);
    return stages;
  }
  return {};
}

}  // namespace kestra
