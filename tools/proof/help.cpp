// The text of --help.
//
// It answers what people ask first: how do I see my page, what do the colours mean, which options
// are there.
#include "tools/proof/arguments.h"

namespace kestra::proof {

const char* helpText() {
  return R"(Usage: kestra-proof DOCUMENT... [-o NAME=VALUE]... [OPTION]...
       kestra-proof FRAME.dat... | QUEUE.pgc... | --command FILE|-

Shows a document as the print head would print it, without a printer: for every page a PNG picture
of the label with one pixel per dot, in the size of the print, and what there is to know about it.
DOCUMENT is PDF, PostScript, PNG, JPEG, text or CUPS raster. A page frame, the page counter of a
print queue, or print-setting commands are decoded as they are.

Examples
  kestra-proof label.pdf
      writes label-1.png, label-2.png ... for the label printer
  kestra-proof --model stencil -o HalftoneType=Tattoo -o PageSize=Tattoo_A6 drawing.pdf
      a stencil on the A4-wide head
  kestra-proof --compare photo.pdf
      which halftone? all ten on one picture: photo-compare-1.png
  kestra-proof --margins --scale 4 label.pdf
      where is the label on the head? with every dot 4 pixels wide
  kestra-proof -o 'HalftoneType=?'
      which values are there? (with --model stencil those of that printer)
  kestra-proof page_0001_jobid_000042_0000.dat
      what is in a frame of the spool?

Printing
  -o NAME=VALUE     a job option as for lp: HalftoneType=Ordered, PageSize=w142h85, Darkness=Dark,
                    Resolution=300dpi, MirrorImage=True, fit-to-page, page-ranges=2-3, copies=2
  --model MODEL     label: 4-inch label printer (the default); stencil: A4 stencil printer
  --ppd FILE        another printer description
  --crop            finds the label on a larger page, as web shops send it, writes it 1:1 to
                    DOCUMENT-crop.pdf and shows that; --crop=X,Y or --crop=X,Y,WIDTH,HEIGHT names
                    the place by hand, in mm from the page's upper left corner
  --compare         each page in all ten halftones on one sheet, with their names; of a page with
                    more than 80 mm both ways the middle 50 mm
  --detail X,Y,WIDTH,HEIGHT
                    compares that place, in mm from the page's upper left corner; all: the page

Pictures
  --output FILE     name of the only picture; else DOCUMENT-1.png, DOCUMENT-2.png ...
  --output-dir DIR  where the pictures go (the current directory); made when it is missing
  --margins         draws what lies around the dots, in colour:
                      red     the edge of the label, just outside of it
                      blue    the head beside the label, where nothing can be printed
                      yellow  the gap to the next label; grey: the black mark
  --scale N         N x N pixels for each dot, 1 to 16; the size of the print stays
  --force           writes over files that are no proofs, and over proofs of other documents
  --dpi N           resolution of the head for page frames, which do not hold it: 203, and 300 for
                    those that are wider than the label head or come with --model stencil

What is told
  --json            one JSON object on standard output instead of words
  --keep DIR        a new directory for what the print leaves: frames, the filter's log and
                    images, the commands to the printer, the raster pages
  -v, --verbose     the frame's rows, counts and codes as well
  -q, --quiet       no words and no progress; warnings and errors are still told
  --help            this text
  --version         the version

A page that will not print as meant is told on standard error: without ink, solid, with stray dots,
skewed, wider than the head. No input is ever written over.

Exit status: 0 all pages came out, 1 something failed, 2 the command line made no sense.
)";
}

}  // namespace kestra::proof
