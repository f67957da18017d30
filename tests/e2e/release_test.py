"""A program that ends out of order does not leave the transmitter keyed."""

import resource
import signal
import unittest

import rigs
from station import Station, wait_until


class ReleaseTest(unittest.TestCase):
    def test_a_crash_releases_the_transmitter(self):
        for number in (signal.SIGSEGV, signal.SIGABRT, signal.SIGBUS):
            for command in ("XSETALPHA", "FA00014025000;TX1;"):
                with self.subTest(number=number, command=command), Station() as station:
                    resource.setrlimit(resource.RLIMIT_CORE, (0, resource.getrlimit(resource.RLIMIT_CORE)[1]))
                    rig = station.use(rigs.Ts2000(38400))
                    kvx = station.start()
                    kvx.wait_status(lambda status: status["open"] and status["rx"] > 0)
                    self.assertTrue(kvx.command(f"send {command}").startswith("ok"))
                    self.assertTrue(wait_until(lambda: rig.transmitting, 2), "the rig was never keyed")
                    self.assertEqual(kvx.signal(number), -number)
                    self.assertTrue(wait_until(lambda: not rig.transmitting, 2), "the rig is still keyed")


if __name__ == "__main__":
    unittest.main()
