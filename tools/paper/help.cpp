// The text of --help.
//
// It answers what people ask first: how do I print without a printer, how do I break it, how do I
// know that every label came.
#include "tools/paper/arguments.h"

namespace kestra::paper {

const char* helpText() {
  return R"(Usage: kestra-paper SOURCE [OPTION]...
       kestra-paper --digest FRAME...
       kestra-paper --came LIST --expect LIST [OPTION]...

A label printer without paper. Takes what a printer would get, checks every byte, says for each
label what came and when, draws it, fails when told to, and judges whether every label came exactly
once. SOURCE is tcp:PORT, tcp:HOST:PORT (HOST is 127.0.0.1, port 0 any free one), unix:PATH, - for
standard input, or a file.

Examples
  kestra-paper tcp:9100 --output out
      a printer at socket://127.0.0.1:9100; its labels as out/label-0001.png ...; ends with Ctrl-C
  kestra-paper tcp:9100 --speed 100 --fault 'label 2 50% pause 10'
      100 mm a second, out of paper for ten seconds in the middle of label 2
  kestra-paper --digest page_*.dat > wanted
  kestra-paper tcp:9100 --expect wanted --labels 20
      ends when 20 labels are whole; status 0 if they are the wanted ones, each once, in order
  kestra-paper - --list < bytes
      which labels are in the file?

Listening
  --ready FILE       writes the port (or the path) to FILE as soon as somebody can connect
  --buffer BYTES     receive buffer (16384), small as a printer's
  --keep-state       a label goes on in the next connection, as on USB; SIGUSR1 makes the printer
                     forget it (a soft reset). Without it a new connection starts afresh.
  --no-command       labels may come without a setting command before them
  --any-count        a row's count of black dots need not agree with its dots

Printing
  --speed MM         mm a second; reads no faster than that (0: as fast as it comes)
  --dpi N            dots per inch of the head (203)
  --output DIR       a PNG of each label, whole or torn; DIR is made when it is missing

Failing, each fault once
  --fault 'WHEN ACTION'   may be given several times
  --script FILE           a fault a line
  --control FIFO          takes ACTION (done at once) or WHEN ACTION, a line each, while it runs; the
                          FIFO is made when it is missing; - is standard input
  WHEN    start, connection N (accepted), label N (its first byte came), label N P% (so many of its
          bytes came, its head at least), after N (N labels are whole), byte N (of all); torn labels
          have numbers too
  ACTION  pause S           out of paper: reads nothing for S seconds
          slow MM [S]       prints MM mm a second, for S seconds or from now on
          close             reads what is there, then ends the connection in order
          reset             reads what is there, then resets it
          reset-unread      reads nothing for 0.3 seconds, then resets it: what came is lost
          deaf [S]          reads nothing for S seconds, or as long as the connection lasts
          refuse S          resets it; connections are refused for S seconds
          power-cycle S     the same, and the label under way is forgotten
          no-close          from now on never closes a connection that its sender has ended
          garbage TEXT      sends TEXT (or bytes: garbage 1B 40) to the sender
          die               ends at once, with status 3
  From a file or standard input, close, reset and power-cycle end the reading.

Judging
  --expect LIST      labels that should come, in order: a digest a line, blanks, a name
  --came LIST        judges this list instead of a source
  --allow-torn       torn labels are no fault
  --allow-twice N    N labels more than wanted are no fault
  --allow-unknown N  N whole labels that are not in the list are no fault
  --any-order        the order does not matter
  --list             prints the labels that came as such a list
  --digest           prints page frames as such a list, without a printer
  A digest is the SHA-256 of a label's frame, from SIZ on, its page number set to 0.

The end: of the file, or SIGTERM or Ctrl-C, or
  --labels N         N labels are whole
  --for S            S seconds have passed
  --idle S           for S seconds nothing came, after the first label
What has come until then is still read and judged.

What is told
  --log FILE         JSON lines are added to FILE, not written to standard output; a terminal gets
                     words instead
  -q, --quiet        no words
  --help             this text
  --version          the version
  Events: ready, connection, label, fault, garbage, action, problem, counters, verdict.

Exit status: 0 all is well: no fault, no torn label, and with --expect each label came once and in
order; 1 it is not; 2 the command line made no sense, or something could not be read or written.
)";
}

}  // namespace kestra::paper
