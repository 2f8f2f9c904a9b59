// Starts kestra-proof with its streams in files and decodes PNG pictures.
//
// Files instead of pipes keep the runs simple: no reader can fall behind and block the program.
#include "tests/tools/proof_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <png.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace kestra {
namespace {

// Only in the child, between fork and exec.
void redirect(const std::string& path, int flags, int target) {
  const int descriptor = open(path.c_str(), flags, 0600);
  if (descriptor < 0 || dup2(descriptor, target) < 0) _exit(126);
  close(descriptor);
}

// False for a broken picture, where libpng jumps back.
bool readWhole(png_structp png, png_infop info, std::FILE* file) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_init_io(png, file);
  png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
  return true;
}

}  // namespace

ProofDirectory::ProofDirectory() {
  for (const char* part : {"/files", "/streams", "/temporary"}) {
    std::filesystem::create_directory(folder_.path() + part);
  }
}

void ProofDirectory::write(const std::string& name, const Bytes& bytes) const {
  writeText(name, std::string(bytes.begin(), bytes.end()));
}

void ProofDirectory::writeText(const std::string& name, const std::string& text) const {
  std::ofstream file(path(name), std::ios::binary);
  file << text;
  EXPECT_TRUE(file.flush().good());
}

Bytes ProofDirectory::read(const std::string& name) const {
  const std::string text = testing_support::readFile(path(name));
  return Bytes(text.begin(), text.end());
}

bool ProofDirectory::exists(const std::string& name) const {
  return std::filesystem::exists(path(name));
}

std::vector<std::string> ProofDirectory::names(const std::string& directory) const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path(directory))) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

pid_t ProofDirectory::start(const std::vector<std::string>& words, const Bytes& input,
                            const Environment& environment, std::string program) const {
  write("../streams/in", input);
  std::vector<std::string> copy = words;
  std::vector<char*> argv = {program.data()};
  for (std::string& word : copy) argv.push_back(word.data());
  argv.push_back(nullptr);
  const std::string temporary = root_ + "/../temporary";

  const pid_t child = fork();
  if (child != 0) return child;
  // A test in the background of a script or under nohup ignores some of them, and hands that on.
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) std::signal(signal, SIG_DFL);
  if (chdir(root_.c_str()) != 0) _exit(126);
  redirect("../streams/in", O_RDONLY, 0);
  redirect("../streams/out", O_WRONLY | O_CREAT | O_TRUNC, 1);
  redirect("../streams/err", O_WRONLY | O_CREAT | O_TRUNC, 2);
  setenv("TMPDIR", temporary.c_str(), 1);
  for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
  execv(program.c_str(), argv.data());
  _exit(127);
}

ProofResult ProofDirectory::finish(pid_t child) const {
  ProofResult result;
  int status = 0;
  rusage usage = {};
  if (child > 0 && wait4(child, &status, 0, &usage) == child) {
    result.peak = usage.ru_maxrss;
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  }
  result.output = testing_support::readFile(path("../streams/out"));
  result.errors = testing_support::readFile(path("../streams/err"));
  EXPECT_EQ(temporaries(), std::vector<std::string>{});
  return result;
}

ProofResult ProofDirectory::run(const std::vector<std::string>& words, const Bytes& input,
                                const Environment& environment) const {
  return finish(start(words, input, environment));
}

ProofResult ProofDirectory::runProgram(const std::string& program,
                                       const std::vector<std::string>& words,
                                       const Environment& environment) const {
  return finish(start(words, {}, environment, program));
}

std::vector<std::string> cut(const Picture& picture, std::size_t x, std::size_t y,
                             std::size_t width, std::size_t height) {
  std::vector<std::string> rows;
  for (std::size_t i = y; i < y + height && i < picture.rows.size(); ++i) {
    rows.push_back(picture.rows[i].substr(x, width));
  }
  return rows;
}

Picture readPicture(const std::string& path) {
  Picture picture;
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return picture;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  if (readWhole(png, info, file)) {
    png_bytepp rows = png_get_rows(png, info);
    picture.width = png_get_image_width(png, info);
    picture.height = png_get_image_height(png, info);
    picture.bitDepth = png_get_bit_depth(png, info);
    picture.colourType = png_get_color_type(png, info);
    picture.dotsPerMetre = png_get_pixels_per_meter(png, info);
    picture.dotsPerMetreDown = png_get_y_pixels_per_meter(png, info);
    const bool grey = picture.colourType == PNG_COLOR_TYPE_GRAY;
    png_colorp palette = nullptr;
    int entries = 0;
    if (!grey) png_get_PLTE(png, info, &palette, &entries);
    const auto depth = static_cast<unsigned>(picture.bitDepth);
    for (unsigned y = 0; y < picture.height && depth <= 8; ++y) {
      std::string row;
      std::vector<std::uint32_t> colours;
      for (unsigned x = 0; x < picture.width; ++x) {
        const unsigned bit = x * depth;
        const unsigned value =
            (unsigned{rows[y][bit / 8]} >> (8 - depth - bit % 8)) & ((1U << depth) - 1);
        if (grey) {
          row += value != 0 ? '.' : '#';
          continue;
        }
        const png_color colour = static_cast<int>(value) < entries ? palette[value] : png_color{};
        colours.push_back((std::uint32_t{colour.red} << 16) | (std::uint32_t{colour.green} << 8) |
                          colour.blue);
        row += colours.back() == 0 ? '#' : (colours.back() == 0xFFFFFF ? '.' : '?');
      }
      picture.rows.push_back(row);
      if (!grey) picture.colours.push_back(colours);
    }
  }
  png_destroy_read_struct(&png, &info, nullptr);
  std::fclose(file);
  return picture;
}

}  // namespace kestra
