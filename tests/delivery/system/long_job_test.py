"""Jobs that take longer than the print system was told to allow: it cancels those that stand still."""

import delivery_case
import documents
from delivery_case import DeliveryCase


class LongJobs(DeliveryCase):
    rules = "MaxJobTime 30"

    def test_a_printer_that_is_away_for_longer_does_not_cost_the_job(self):
        document = documents.raster(3)
        printer = self.printer(self.wanted(document), faults=["start refuse 45"])
        number = self.system.lp(self.queue(printer), document)
        self.assert_printed(number, 3, seconds=90)
        self.assert_each_once(printer)


if __name__ == "__main__":
    delivery_case.main()
