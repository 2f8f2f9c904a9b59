"""The words of docs/performance.md around the tables and pictures that report.py makes.

They say how to read the figures and never repeat one, so that a new run cannot make them wrong.
"""

INTRODUCTION = """
# Performance

How fast the filter is, on this machine, beside programs that everybody can install. Written whole
by `./bench.sh`; repeat it in the folder of the sources, on a machine of your own, with

```sh
./bench.sh          # everything, writes this page; under 15 minutes
./bench.sh quick    # a short look at a change, only prints; under two minutes
```

**How to read it.** Absolute times belong to one machine and one hour; look at the ratios. What is
compared took turns in one run, and a ratio is one of medians; the least time, which other programs
on the machine disturb the least, stands in brackets. Stages are processor time of one thread, jobs
are wall time from the start of the process to its end. A page is A4 at 300 dpi, 2480 x 3508 dots,
8.70 million pixels, drawn like a photograph unless another kind is named; 1 ns per pixel is 8.7 ms
a page. Speed is never asserted by a test.
"""

AFTER_GOALS = """
A goal that is measured against `memcpy` depends on the memory of the machine more than any other:
where the page fits into the processor's cache, a copy costs next to nothing. Peak memory is that of
the whole process, libraries included; "page" is the page's bytes, one a pixel. "processor" is the
ratio of processor times, which tells more than wall time on a machine with other work to do.

Where a job misses its goal, the stations of a page (below) tell where its time goes. What error
diffusion adds is bound by its operations, up to twelve clamped additions a dot: two blocks of rows
in one loop, so that neither waits for its last dots, were tried and gained nothing for the larger
kernels.
"""

AFTER_STATIONS = """
![Bars: milliseconds of each station of a page](pictures/performance-stations.svg)

Medians of several jobs, told apart by the arrival of the job's own log lines, so a station shorter than
0.1 ms is lost in the noise. "start, settings" is the process, its libraries and the printer
description; both debug images are files of the size of the page; "result buffer" is what follows the
halftone up to the finished page's log line; the log line behind the frame ends "records, frame".
"""

AFTER_JOBS = """
One photo page in a file as the sixth argument, each filter with a printer description of its own,
standard output and log to /dev/null. All in turns: ours, the floor, `rastertoepson`,
`rastertopclx`, ours at each slower version of the inner loops (`KESTRA_KERNELS=baseline`, `plain`),
and again. Ours also writes two debug images and the page frame, as a print system's spool does to a
directory on a disk, whose writing is the system's business and goes on behind the job. The *floor*
is a program of this measurement that opens the description, reads the page and writes files of the
same sizes, and never looks at a pixel (`bench/floor.cpp`). CUPS's `rastertoepson` passes the grey
bytes through without a halftone and writes no such files. `rastertopclx` of cups-filters turns them
into dots, the same kind of work as ours.

The keywords are the PPD's; which halftone runs under which is told in the gallery. No job reaches
Floyd-Steinberg, which is measured as a stage only.
"""

KINDS = """
The kinds: `photo` soft shapes with grain; `text` lines of letters of 10 points; `lineart` thin
strokes on blank paper; `noise` random bytes; `flat` one light grey; `blank` marks on 2 per cent of
the page; `ink` its negative. The label is 812 x 1218 dots at 203 dpi, 0.99 million pixels.
"""

AFTER_STAGES = """
`plain` is the rule itself, a pixel at a time, and made to be read; `baseline` has the vectors that
every processor of the architecture has, `avx2` vectors of 32 bytes. A stage without a version of its
own shows the same time there. Dots are bytes, as a job has them until they are packed. The
libraries' loops are the closest there are, not the same: Pillow and numpy give bits, OpenCV's blur
rounds otherwise than ours. One thread each.
"""

PLACES = """
The same jobs with their spool on the disk that all jobs above wrote to, and in `/dev/shm`. A file
system in memory takes a file in pieces of 4 KiB; one on a disk may take it in larger ones, and then
the two debug images cost less there than in memory.
"""

MEMORY = """
The highest resident memory that the system saw during a job.
"""

GROWTH = """
![Lines: milliseconds over millions of pixels](pictures/performance-growth.svg)

Pages as wide as the head and ever longer, up to 3.4 metres at 300 dpi; medians.
"""
