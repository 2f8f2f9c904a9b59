"""What the filter wants to reach, as ratios of figures of one run, and what it does reach.

Absolute times say more about the machine than about the filter; every goal but one is a ratio.
"""

from statistics import median

PIXELS = 2480 * 3508
PAGE_KIB = PIXELS / 1024
DIFFUSIONS = ["Burkes", "Stucki", "Jarvis-Judice-Ninke", "Sierra", "Stevenson-Arce"]
MATRICES = ["threshold", "ordered", "generated"]
TATTOOS = ["Tattoo", "Tattoo_V7"]
# Wall time of a job against a program that does all but look at a pixel: a page passes once through
# the caches for a threshold, an error goes from dot to dot for a diffusion.
FLOORS = {"None": 1.1, "FloydSteinberg": 1.1, "StevensonArce": 1.1, "Ordered": 1.3, "Burkes": 1.3,
          "Stucki": 1.3, "JarvisJudiceNinke": 1.3, "Sierra": 1.35, "Tattoo": 2.4, "Tattoo_V7": 2.4}
NOISE = 1.05  # "no slower" within what two runs of the same program differ by


class Data:
    """Samples of a run: `stages` and `peers` map a name to nanoseconds, a sample per round."""

    def __init__(self, stages, peers, jobs):
        self.stages = stages
        self.peers = peers
        self.jobs = jobs
        self.versions = jobs["versions"]
        self.best = self.versions[-1]

    def stage(self, name, kind="photo", version=None):
        """Samples of a stage; none where a short run left it out."""
        return self.stages.get(f"{name}/{kind}/{version or self.best}", [])

    def job(self, series, name):
        """Wall milliseconds of a whole process."""
        return [sample[0] for sample in series.get(name, [])]

    def job_processor(self, series, name):
        """Its milliseconds of processor time."""
        return [sample[1] for sample in series.get(name, [])]


def ratio(above, below):
    """Ratio of the medians and of the least times, or nothing where a side is missing."""
    if not above or not below:
        return None
    return median(above) / median(below), min(above) / min(below)


class Goals:
    """Rows of the table of goals: [what, goal, measured, whether it is met]."""

    def __init__(self, data):
        self.data = data
        self.rows = []
        self.loops()
        self.stencil()
        self.processes()
        self.memory()
        self.growth()

    def at_most(self, what, goal, limit, value, note=""):
        """A ratio that must not be above the limit."""
        if value:
            self.rows.append([what, goal, f"{value[0]:.2f} x (least {value[1]:.2f} x{note})",
                              value[0] <= limit])

    def at_least(self, what, goal, limit, value, note=""):
        """A ratio that must not be below the limit."""
        if value:
            self.rows.append([what, goal, f"{value[0]:.1f} x (least {value[1]:.1f} x{note})",
                              value[0] >= limit])

    def loops(self):
        """Halftones against Pillow, each other and memory; packing and records against memory."""
        data = self.data
        pillow = data.peers["Pillow convert"]
        steinberg = data.stage("Floyd-Steinberg")
        self.at_least("Floyd-Steinberg, speed against Pillow", "at least 12 x", 12,
                      ratio(pillow, steinberg))
        for version in data.versions[1:-1]:
            self.at_least(f"Floyd-Steinberg with {version} loops, speed against Pillow",
                          "at least 2 x", 2,
                          ratio(pillow, data.stage("Floyd-Steinberg", version=version)))
        if steinberg:
            per_pixel = median(steinberg) / PIXELS
            self.rows.append(["Floyd-Steinberg", "at most 0.6 ns/px",
                              f"{per_pixel:.2f} ns/px (least {min(steinberg) / PIXELS:.2f})",
                              per_pixel <= 0.6])
        for name in DIFFUSIONS:
            self.at_most(f"{name}, time against our Floyd-Steinberg", "at most 1.5 x", 1.5,
                         ratio(data.stage(name), steinberg))
        for name in MATRICES:
            self.at_most(f"{name}, time against memcpy of the page", "at most 2 x", 2,
                         ratio(data.stage(name), data.stages.get("memcpy page")))
        for name, words in [("GrayToMono", "packing (GrayToMono)"), ("dot counts", "dot counts"),
                            ("row records", "row records with their dot counts")]:
            self.at_most(f"{words}, time against memcpy of the page", "at most 1.5 x", 1.5,
                         ratio(data.stage(name), data.stages.get("memcpy page")))

    def stencil(self):
        """The stencil chain against OpenCV, and on other pages."""
        data = self.data
        self.at_most("Gaussian and unsharp, time against OpenCV", "less than 1 x", 1,
                     ratio(data.stage("Gaussian and unsharp"),
                           data.peers["OpenCV blur and addWeighted"]))
        photo = data.stage("float diffusion")
        for kind, words in [("text", "a text page"), ("blank", "a mostly blank page")]:
            self.at_most(f"float diffusion of {words}, time against the photo",
                         "no slower (1.05 x)", NOISE,
                         ratio(data.stage("float diffusion", kind), photo))

    def processes(self):
        """Whole jobs against their floor and a peer; a job's ratio comes from its own series."""
        data = self.data
        for keyword, series in data.jobs["keywords"].items():
            limit = FLOORS[keyword]
            spent = ratio(data.job_processor(series, "ours"),
                          data.job_processor(series, "floor"))
            self.at_most(f"job {keyword}, time against the floor", f"at most {limit} x", limit,
                         ratio(data.job(series, "ours"), data.job(series, "floor")),
                         f", processor {spent[0]:.2f} x")
            if keyword not in TATTOOS:
                spent = ratio(data.job_processor(series, "rastertopclx"),
                              data.job_processor(series, "ours"))
                self.at_least(f"job {keyword}, speed against rastertopclx", "at least 15 x", 15,
                              ratio(data.job(series, "rastertopclx"), data.job(series, "ours")),
                              f", processor {spent[0]:.1f} x")

    def memory(self):
        """Peak memory of a page, and of twenty."""
        peaks = self.data.jobs["memory"]
        for keyword, one in peaks["1"].items():
            pages = 6 if keyword in TATTOOS else 4
            limit = pages * PAGE_KIB + 12 * 1024
            self.rows.append([f"peak memory of a {keyword} page",
                              f"at most {pages} x page + 12 MiB = {limit / 1024:.1f} MiB",
                              f"{one / 1024:.1f} MiB", one <= limit])
            twenty = peaks["20"][keyword]
            self.rows.append([f"peak memory of 20 {keyword} pages",
                              "flat: that of one page + 1 MiB", f"{twenty / 1024:.1f} MiB",
                              twenty <= one + 1024])

    def growth(self):
        """Time for each further pixel of long pages against that of shorter ones."""
        points = sorted((int(pixels), series)
                        for pixels, series in self.data.jobs["growth"].items())
        if len(points) < 3:
            return
        for keyword in points[0][1]:
            times = [(pixels, median(self.data.job(series, keyword))) for pixels, series in points]
            (p0, t0), (p1, t1), (p2, t2) = times[0], times[len(times) // 2], times[-1]
            value = ((t2 - t1) / (p2 - p1)) / ((t1 - t0) / (p1 - p0))
            self.rows.append([
                f"growth of {keyword}: cost of a pixel from {p1 / 1e6:.0f} to {p2 / 1e6:.0f} "
                f"million, against {p0 / 1e6:.0f} to {p1 / 1e6:.0f} million",
                "linear: at most 1.25 x", f"{value:.2f} x", value <= 1.25])
