"""The one table that random faults end in: a row a kind, a line of totals."""

import statistics

HEADS = ["kind of fault", "rounds", "labels", "lost", "missing,\nannounced", "twice,\nannounced",
         "twice, not\nannounced", "out of\norder", "torn by\nthe fault", "ended in\nwhite",
         "garbage", "completed,\none missing", "held for\na person", "left\nover",
         "extra time\nmedian", "worst"]


def _row(name, outcomes):
    found = [one["findings"] for one in outcomes]
    extra = [one["extra"] for one in outcomes]

    def total(field):
        return sum(len(one[field]) if isinstance(one[field], list) else int(one[field])
                   for one in found)

    counted = ["came", "lost", "missing", "twice", "repeated", "out_of_order", "torn", "white",
               "garbage", "hidden", "helped", "left"]
    return [name, str(len(outcomes)), *(str(total(field)) for field in counted),
            f"{statistics.median(extra):.2f} s", f"{max(extra):.2f} s"]


def table(outcomes):
    """Text of the table; outcomes: dictionaries of fault_round.Outcome."""
    kinds = sorted({one["kind"] for one in outcomes})
    rows = [_row(kind, [one for one in outcomes if one["kind"] == kind]) for kind in kinds]
    rows.append(_row("total", outcomes))
    heads = [head.split("\n") for head in HEADS]
    upper = [head[0] if len(head) > 1 else "" for head in heads]
    lower = [head[-1] for head in heads]
    widths = [max(len(row[column]) for row in rows + [upper, lower])
              for column in range(len(HEADS))]

    def line(row):
        return "  ".join([row[0].ljust(widths[0])]
                         + [text.rjust(width) for text, width in zip(row[1:], widths[1:])]).rstrip()

    rule = "-" * len(line(lower))
    return "\n".join([line(upper), line(lower), rule, *map(line, rows[:-1]), rule, line(rows[-1])])
