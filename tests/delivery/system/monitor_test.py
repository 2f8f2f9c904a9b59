"""Queues with a plain address: the port monitor sends the labels through the stock backend."""

import random
import unittest

import delivery_case
import documents
import rig
from delivery_case import DeliveryCase, stock_backend


@unittest.skipUnless(stock_backend("socket"), "the print system's own backend `socket` is not here")
class PortMonitor(DeliveryCase):
    def plain_queue(self, printer, name):
        self.system.queue(name, f"socket://127.0.0.1:{printer.place}/?snmp=false")
        return name

    def test_a_queue_with_a_plain_address_prints_each_label_once(self):
        for number_of_labels, document in ((7, documents.raster(7)), (3, documents.pdf(3))):
            with self.subTest(labels=number_of_labels):
                printer = self.printer(self.wanted(document))
                queue = self.plain_queue(printer, "plain")
                number = self.system.lp(queue, document)
                self.assert_printed(number, number_of_labels)
                self.assertTrue(self.monitors(number), "no port monitor ran")
                rig.eventually(lambda one=printer, many=number_of_labels: len(
                    one.labels()) >= many)
                self.assert_each_once(printer)
                self.assert_tidy()

    def test_three_files_of_a_job_come_in_their_order(self):
        files = [documents.raster(2, first) for first in (1, 3, 5)]
        wanted = [one for file in files for one in self.wanted(file)]
        printer = self.printer(wanted)
        queue = self.plain_queue(printer, "plain")
        number = self.system.lp(queue, *files)
        self.assertEqual(self.system.wait(number).state, rig.COMPLETED, self.story(number))
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_a_queue_that_is_given_an_address_of_ours_prints_each_label_once(self):
        document = documents.raster(6)
        wanted = self.wanted(document)
        printer = self.printer(wanted + wanted)
        queue = self.plain_queue(printer, "changed")
        self.assert_printed(self.system.lp(queue, document), 6)
        self.system.run("lpadmin", "-p", queue, "-v", "kestra:" + printer.uri())
        number = self.system.lp(queue, document)
        self.assert_printed(number, 6)
        # The print system goes on starting it: it must hand on what it reads.
        self.assertTrue(self.monitors(number))
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_a_raw_job_passes_unchanged(self):
        content = random.Random(7).randbytes(200_001)
        for uri in ("socket://127.0.0.1:{}/?snmp=false", "kestra:socket://127.0.0.1:{}"):
            with self.subTest(uri=uri):
                sink = rig.Sink()
                self.addCleanup(sink.close)
                self.system.queue("raw", f"socket://127.0.0.1:{sink.port}/?snmp=false")
                self.system.run("lpadmin", "-p", "raw", "-v", uri.format(sink.port))
                number = self.system.lp("raw", content, words=["-o", "raw"])
                self.assertEqual(self.system.wait(number).state, rig.COMPLETED)
                rig.eventually(lambda one=sink: len(one.received()) >= len(content))
                self.assertEqual(sink.received(), content)
                self.assert_tidy()


if __name__ == "__main__":
    delivery_case.main()
