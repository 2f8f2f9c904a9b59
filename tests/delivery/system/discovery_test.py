"""What a person sees who looks for printers: lpinfo -v, which web page and dialogs ask as well."""

import delivery_case
from delivery_case import DeliveryCase

USB = b"""#!/bin/sh
[ $# -eq 0 ] || exit 1
echo 'direct usb://Maker/Label%204?serial=7 "Maker Label 4" "Maker Label 4" "MFG:Maker;MDL:Label 4;"'
"""


class Discovery(DeliveryCase):

    def listed_devices(self):
        return self.system.run("lpinfo", "-v").splitlines()

    def test_a_printer_at_a_cable_is_listed_with_our_way_to_it_besides_its_own(self):
        self.system.install("backend", "usb", USB, 0o744)
        found = self.listed_devices()
        self.assertIn("direct usb://Maker/Label%204?serial=7", found)
        self.assertIn("direct kestra:usb://Maker/Label%204?serial=7", found)
        self.assertEqual(found.count("network kestra"), 1, found)

    def test_a_program_that_hangs_keeps_no_other_printer_off_the_list(self):
        self.system.install("backend", "usb", USB, 0o744)
        self.system.install("backend", "parallel", b"#!/bin/sh\nexec sleep 1000\n", 0o744)
        found = self.listed_devices()
        self.assertIn("direct kestra:usb://Maker/Label%204?serial=7", found)
        self.assertIn("network kestra", found)


if __name__ == "__main__":
    delivery_case.main()
