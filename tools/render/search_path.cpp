// Takes PATH apart at its colons; what does not begin with a slash is left out.
#include "tools/render/search_path.h"

#include <unistd.h>

#include <cstdlib>
#include <sstream>

namespace kestra {

std::string safePath() {
  const char* variable = std::getenv("PATH");
  std::istringstream folders(variable != nullptr ? variable : "/usr/bin:/bin");
  std::string path;
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (folder.empty() || folder[0] != '/') continue;
    path += (path.empty() ? "" : ":") + folder;
  }
  return path.empty() ? "/" : path;  // an empty one would stand for the current folder
}

std::string onPath(const std::string& name) {
  std::istringstream folders(safePath());
  for (std::string folder; std::getline(folders, folder, ':');) {
    folder.append("/").append(name);
    if (access(folder.c_str(), X_OK) == 0) return folder;
  }
  return {};
}

}  // namespace kestra
