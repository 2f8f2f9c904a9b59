// Writes boxes and words with a matrix that makes one dot one unit, downwards.
//
// Numbers stay whole, so that nothing is rounded before the renderer.
#include "tools/testlabel/postscript.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>

namespace kestra::testlabel {
namespace {

std::string escaped(const std::string& text) {
  std::string safe;
  for (const char c : text) {
    if (c == '(' || c == ')' || c == '\\') safe += '\\';
    safe += c >= ' ' && c <= '~' ? c : '?';
  }
  return safe;
}

}  // namespace

PrintedArea printedArea(const PageArea& page, int dpi) {
  const double dots = dpi / 72.0;  // in a point
  const double whole = std::round(page.height);
  const int rows = static_cast<int>(std::lround((page.top - page.bottom) * dots));
  // A row is reached where its middle lies on the page.
  const int first = std::max(0, static_cast<int>(std::ceil((whole - page.height) * dots - 0.5)));
  const int behind = std::min(rows, static_cast<int>(std::ceil(whole * dots - 0.5)));
  return {static_cast<int>(std::lround((page.right - page.left) * dots)), behind - first, page.left,
          whole - first / dots};
}

std::string postScript(const Layout& layout, const PageArea& page, const PrintedArea& area,
                       int dpi) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << "%!PS-Adobe-3.0\n%%Title: Test label\n%%Pages: 1\n%%EndComments\n"
       << "<< /PageSize [" << page.width << ' ' << page.height << "] >> setpagedevice\n"
       << "[72 " << dpi << " div 0 0 -72 " << dpi << " div " << area.left << ' ' << area.top
       << "] concat\n"
       << "% left top width height ink b -\n"
       << "/b { 100 div 1 exch sub setgray rectfill } bind def\n"
       << "% (words) left base size w -\n"
       << "/w { /Courier-Bold findfont exch dup neg matrix scale makefont setfont\n"
       << "     moveto 0 setgray show } bind def\n";
  for (const Box& box : layout.boxes) {
    text << box.left << ' ' << box.top << ' ' << box.width << ' ' << box.height << ' ' << box.ink
         << " b\n";
  }
  for (const Words& words : layout.words) {
    text << '(' << escaped(words.text) << ") " << words.left << ' ' << words.base << ' '
         << words.size << " w\n";
  }
  text << "showpage\n%%EOF\n";
  return text.str();
}

}  // namespace kestra::testlabel
