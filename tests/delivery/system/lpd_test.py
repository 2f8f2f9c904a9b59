"""The print system's own program for LPD behind our address, against a machine that takes jobs."""

import subprocess
import unittest

import delivery_case
from delivery_case import BUILD, DeliveryCase, large, stock_backend
from lpd_stand_in import LpdServer

COMMAND_BYTES = 7


@unittest.skipUnless(stock_backend("lpd"), "the print system's program for LPD is not here")
class Lpd(DeliveryCase):

    def setUp(self):
        super().setUp()
        self.server = LpdServer()
        self.addCleanup(self.server.close)
        self.system.queue("lpd", "kestra:" + self.server.uri())

    def came(self):
        """The digests of the labels that arrived, each in a file of its own."""
        found = []
        for content in self.server.files:
            with open("/tmp/rig/came.dat", "wb") as out:
                out.write(content[COMMAND_BYTES:])
            said = subprocess.run([f"{BUILD}/kestra-paper", "--digest", "/tmp/rig/came.dat"],
                                  check=True, capture_output=True, text=True).stdout
            found.append(said.split()[0])
        return found

    def test_each_label_is_a_job_of_the_other_machine_and_comes_once(self):
        document = large(3)
        number = self.system.lp("lpd", document)
        self.assert_printed(number, 3)
        self.assertEqual(self.came(), self.wanted(document))
        self.assert_tidy()

    def test_a_machine_that_refuses_for_a_while_gets_each_label_once(self):
        document = large(2, first=5)
        self.server.refusals = 2
        number = self.system.lp("lpd", document)
        self.assert_printed(number, 2)
        self.assertEqual(self.came(), self.wanted(document))


if __name__ == "__main__":
    delivery_case.main()
