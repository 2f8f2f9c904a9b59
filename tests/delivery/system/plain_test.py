"""Jobs to which nothing happens: what comes, what is said and what is left over."""

import os
import re
import unittest

import delivery_case
import documents
import machine
import rig
from delivery_case import DeliveryCase


class PlainJobs(DeliveryCase):
    def test_a_raster_document_comes_label_by_label(self):
        document = documents.raster(7)
        wanted = self.wanted(document)
        self.assert_all_differ(wanted, 7)
        printer = self.printer(wanted)
        number = self.system.lp(self.queue(printer), document)
        self.assert_printed(number, 7)
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_a_pdf_comes_label_by_label(self):
        document = documents.pdf(5)
        wanted = self.wanted(document)
        self.assert_all_differ(wanted, 5)
        printer = self.printer(wanted)
        number = self.system.lp(self.queue(printer), document)
        self.assert_printed(number, 5)
        self.assert_each_once(printer)
        self.assert_tidy()


if __name__ == "__main__":
    delivery_case.main()
