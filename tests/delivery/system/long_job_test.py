"""Jobs that take longer than the print system was told to allow: it cancels what stands still."""

import delivery_case
from delivery_case import DeliveryCase, large


class LongJobs(DeliveryCase):
    rules = "MaxJobTime 30"

    def test_neither_a_printer_that_is_away_nor_one_without_paper_costs_the_job(self):
        document = large(3)
        wanted = self.wanted(document)
        jobs = []
        for name, fault in (("away", "start refuse 45"), ("paperless", "label 2 50% pause 45")):
            printer = self.printer(wanted, faults=[fault])
            jobs.append((printer, self.system.lp(self.queue(printer, name), document)))
        for printer, number in jobs:
            self.assert_printed(number, 3)
            self.assert_each_once(printer)
        self.assert_tidy()


if __name__ == "__main__":
    delivery_case.main()
