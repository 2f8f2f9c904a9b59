// The text of --help: what people ask when labels are missing.
#include "delivery/tool/arguments.h"

namespace kestra::delivery {

const char* helpText() {
  return R"(Usage: kestra-delivery list [--json]
       kestra-delivery show JOB
       kestra-delivery send FRAME...|JOB TO [OPTION]...
       kestra-delivery forget JOB [--frames]

Shows which labels came and which wait, sends labels by hand, forgets jobs. Needs root, but for
sending frames of your own. JOB is a job's number, its key as list --json tells it, or the start of
its key.

Examples
  kestra-delivery list
      what waits, what is in doubt, what was left over
  kestra-delivery show 45
      which labels of job 45 came?
  kestra-delivery send 45 socket://192.168.0.20
      what is missing of job 45 to a printer, without the print system
  kestra-delivery send page_0001_jobid_000042_0000.dat - >label.prn
      the very bytes for the printer
  kestra-delivery forget 45 --frames
      job 45 will not be printed any more

list
  --json            one JSON object instead of words

send
  TO is socket://HOST[:PORT] (also with kestra: in front), unix:PATH, a file, or - for standard
  output. Frames go in the order in which they are named. The first Ctrl-C ends the label under way
  in white, the second one at once.
  --speed N         2 (slow) to 6; without it as the job was printed, else 4
  --darkness WORD   Light, Middle or Dark; without it as the job was printed, else Middle
  --all             of a job also the labels that came
  --doubt WORD      a label that may have come or not: again (the default), or skip
  --wait SECONDS    give up when the printer is away for so long; else it is waited for
  -v, --verbose     all that the sender says

forget
  --frames          its frames in the filter's folder as well

Everywhere
  --root DIR        a machine's folders below DIR, as KESTRA_DELIVERY_ROOT names it
  --help            this text
  --version         the version

Exit status: 0 all is well, 1 something failed, 2 the command line made no sense.
)";
}

}  // namespace kestra::delivery
