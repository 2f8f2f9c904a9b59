// The text of --help.
//
// It says what to look for on the label, as that is what it is printed for.
#include "tools/testlabel/arguments.h"

namespace kestra::testlabel {

const char* helpText() {
  return R"(Usage: kestra-testlabel -d QUEUE [-o NAME=VALUE]... [--steps OPTION]
       kestra-testlabel --output FILE.pdf [--size 100x50mm] [--model MODEL] [OPTION]...

Prints a test label of the queue's size and resolution, or writes it as a PDF of that size.

On it: a border on the outermost dots and rulers in millimetres on all four edges, an arrow to the
edge that leaves the printer first, bars of 1, 2, 3 and 4 dots both ways, a QR code, the size, grey
steps, and the options that it is printed with. What has no room is left out, the last first.

Examples
  kestra-testlabel -d label
      on the queue "label", with its size, resolution and options
  kestra-testlabel -d label --steps Darkness
      one label for each Darkness, the value written on it: which is black and still sharp?
  kestra-testlabel -d label --steps Brightness=-20,0,20
  kestra-testlabel --size 100x50mm --output test.pdf
      no queue: a file, to print with lp or to look at with kestra-proof

  -d QUEUE          print on this queue
  --output FILE     write a PDF; with --steps one for each value, FILE-VALUE.pdf
  --size WxH        size of the label, in mm, cm or in; else PageSize of the queue or of -o
  -o NAME=VALUE     a job option as for lp: PageSize=w283h142, Resolution=300dpi, Darkness=Dark
  --steps OPTION    one label for each value of an option, or for those named: OPTION=A,B,C
  --model MODEL     label: 4-inch label printer (the default); stencil: A4 stencil printer
  --ppd FILE        another printer description
  --help            this text
  --version         the version

Exit status: 0 all was printed or written, 1 something failed, 2 the command line made no sense.
)";
}

}  // namespace kestra::testlabel
