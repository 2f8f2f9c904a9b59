"""Addresses that lead nowhere or elsewhere, and words of a job that are meant to do harm."""

import glob
import os

import delivery_case
import documents
import rig
from delivery_case import DeliveryCase

#: What stands behind "kestra:". None of them may be opened, started or asked.
NOWHERE = [
    "",
    "nonsense",
    "socket:",
    "socket://",
    "socket://127.0.0.1:99999",
    "socket://127.0.0.1:0x238C",
    "kestra:socket://127.0.0.1:9100",
    "file:///tmp/rig/planted",
    "/tmp/rig/planted",
    "../../tmp/rig/planted",
    "..%2F..%2Ftmp%2Frig%2Fplanted://127.0.0.1",
    "$(touch${IFS}/tmp/rig/planted)://127.0.0.1",
    "socket://127.0.0.1;touch%20/tmp/rig/planted",
    "x" * 900 + "://127.0.0.1",
]

#: A name, and what it is set to; the last ones are the delivery's own, with values of no meaning.
HARM = {
    "kestra": "'; touch /tmp/rig/planted; '",
    "title": "%n%n%s%s%999999d",
    "media-source": "`touch /tmp/rig/planted`",
    "note": "\n\nERROR: planted\nSTATE: +planted\n",
    "long": "A" * 20_000,
    "job-uuid": "urn:uuid:../../../../tmp/rig/planted",
    "time-at-creation": "-1",
    "doubt": "../planted",
}


class HostileWords(DeliveryCase):
    def tearDown(self):
        super().tearDown()
        self.assertFalse(os.path.exists("/tmp/rig/planted"))

    def test_an_address_that_leads_nowhere_stops_the_queue_until_it_is_mended(self):
        for address in NOWHERE:
            with self.subTest(address=address[:60]):
                document = documents.raster(2)
                printer = self.printer(self.wanted(document))
                self.system.queue("label", "kestra:" + address)
                number = self.system.lp("label", document)
                rig.eventually(lambda: self.system.printer("label")["printer-state"] == rig.PAUSED,
                               rig.PATIENCE, "the queue stops")
                self.assertNotEqual(self.system.job(number).state, rig.COMPLETED)
                self.assertRegex(self.system.printer("label")["printer-state-message"],
                                 "^(The device URI|What follows|The program) ")
                self.assertEqual(printer.labels(), [])
                self.queue(printer)
                self.system.enable("label")
                self.assert_printed(number, 2)
                self.assert_each_once(printer)
                self.assert_tidy()

    def test_options_and_names_that_are_meant_to_do_harm_print_like_others(self):
        document = documents.raster(2)
        printer = self.printer(self.wanted(document) * (len(HARM) + 1))
        queue = self.queue(printer)
        for name, value in HARM.items():
            self.assert_printed(self.system.lp(queue, document, options={name: value}), 2)
        words = ["-t", "../../planted\n%n%s\x1b[2J$(touch /tmp/rig/planted)", "-U", "../../planted"]
        self.assert_printed(self.system.lp(queue, document, words=words), 2)
        self.assert_each_once(printer)
        self.assert_tidy()
        jobs = {os.path.basename(one) for one in glob.glob(delivery_case.STATE + "/jobs/*")}
        self.assertTrue(jobs)
        self.assertEqual({one for one in jobs if "planted" in one or len(one) > 60}, set())


if __name__ == "__main__":
    delivery_case.main()
