"""A Windows program that speaks DDE, under Wine, and the running console."""

import os
import re
import signal
import subprocess
import time
import unittest

import rigs
import wine
from station import BINARY, Station, noted, wait_until


def gateways(kvx):
    """The console's own gateways, by their process."""
    found = subprocess.run(["pgrep", "-P", str(kvx.pid), "-f", "kvx-dde"], stdout=subprocess.PIPE, check=False).stdout
    return [int(pid) for pid in found.split()]


def memory(pid):
    with open(f"/proc/{pid}/status", encoding="ascii") as file:
        return int(re.search(r"VmRSS:\s+(\d+)", file.read()).group(1))


class DdeTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)

    def start(self, setting="True", wait=True):
        self.rig = self.station.use(rigs.Ts2000(38400), extra=f"DDESERVER={setting}\n" if setting else "")
        kvx = self.station.start(environment={**wine.environment(BINARY), "DISPLAY": ""})
        if wait:
            kvx.wait_status(lambda status: status["open"] and status["links"]["dde"]["on"], 30)
            kvx.command("freq 14025")
            kvx.command("mode cw")
        return kvx

    def client(self, connects=True):
        client = wine.Program(BINARY, "dde_client.exe")
        self.addCleanup(client.close)
        self.assertEqual(client.next(30), "ready")
        if connects:
            self.assertEqual(client.ask("connect HRD_RADIO_000 HRD_CAT")[0], "ok")
        return client

    def test_a_client_reads_and_sets_the_rig(self):
        kvx = self.start()
        client = self.client()
        for item, answer in (("HRD_RADIO", "ok 8 TS-2000"), ("HRD_HERTZ", "ok 9 01402500"), ("HRD_MODE", "ok 6 CW")):
            self.assertEqual(client.ask(f"request {item}")[0], answer)
        self.assertTrue(client.ask("request HRD_POWER")[0].startswith("no"))
        self.assertEqual(client.ask("execute FREQ 14030.5")[0], "ok")
        self.assertEqual(client.ask("request HRD_HERTZ")[0], "ok 9 01403050")
        self.assertEqual(client.ask("execute [MODE:FM]")[0], "ok")
        self.assertTrue(client.ask("request HRD_MODE")[0].startswith("no"))
        self.assertEqual(client.ask("poke HRD_MODE LSB")[0], "ok")
        self.assertEqual(client.ask("request HRD_MODE")[0], "ok 7 LSB")
        self.assertEqual(client.ask("poke HRD_HERTZ 00703000")[0], "ok")
        self.assertTrue(wait_until(lambda: self.rig.shown == 7030000, 3))
        self.assertTrue(client.ask("execute nothing")[0].startswith("no"))
        links = kvx.status()["links"]["dde"]
        self.assertEqual((links["clients"], links["told"]), (1, "X00703000X"))
        client.close()
        kvx.wait_status(lambda status: status["links"]["dde"]["clients"] == 0)
        answer = self.client().ask("flood 2000 HRD_HERTZ")[0].split()
        self.assertEqual(answer[:2], ["ok", "2000"])
        noted(f"a DDE request under Wine: {answer[2]} us")
        self.assertEqual(kvx.quit(), 0)

    def test_changes_are_told_to_those_that_ask(self):
        kvx = self.start()
        for how in ("advise", "advise-asking"):
            kvx.command("freq 14025")
            kvx.command("mode cw")
            client = self.client()
            self.assertEqual(client.ask(f"{how} HRD_HERTZ")[0], "ok")
            self.assertEqual(client.ask(f"{how} HRD_MODE")[0], "ok")
            for refused in (f"{how} HRD_RADIO", "advise-wide HRD_HERTZ"):
                self.assertTrue(client.ask(refused)[0].startswith("no"))
            kvx.command("freq 14027")
            self.assertEqual(client.next(), "advise HRD_HERTZ 9 01402700")
            kvx.command("mode usb")
            self.assertEqual(client.next(), "advise HRD_MODE 7 USB")
            # What a client sets itself it is told after the acknowledgement.
            self.assertEqual(client.ask("execute FREQ 14031"), ("ok", []))
            self.assertEqual(client.next(), "advise HRD_HERTZ 9 01403100")
            for step in range(200):
                kvx.command(f"freq {14100 + step}")
            told = []
            while not told or told[-1] != "advise HRD_HERTZ 9 01429900":
                told.append(client.next())
            self.assertEqual(told, sorted(told))
            self.assertEqual(client.ask("unadvise HRD_HERTZ")[0], "ok")
            kvx.command("freq 14050")
            kvx.command("mode lsb")
            self.assertEqual(client.next(), "advise HRD_MODE 7 LSB")
            client.close()

    def test_the_gateway_ends_with_the_console_and_is_started_again(self):
        kvx = self.start()
        first = gateways(kvx)
        self.assertEqual(len(first), 1)
        os.kill(first[0], signal.SIGKILL)
        kvx.wait_status(lambda status: not status["links"]["dde"]["on"])
        kvx.wait_status(lambda status: status["links"]["dde"]["on"], 20)
        self.assertEqual(self.client().ask("request HRD_HERTZ")[0], "ok 9 01402500")
        second = gateways(kvx)
        self.assertEqual(len(second), 1)
        self.assertNotEqual(first, second)
        os.kill(kvx.pid, signal.SIGKILL)
        self.assertTrue(wait_until(lambda: not os.path.exists(f"/proc/{second[0]}"), 5))

    def test_a_second_console_leaves_the_service_to_the_first(self):
        first = self.start()
        with Station() as other:
            other.use(rigs.Ts2000(38400), extra="DDESERVER=True\n")
            second = other.start(environment={**wine.environment(BINARY), "DISPLAY": ""})
            found = second.wait_status(lambda status: status["links"]["dde"]["on"], 20)
            self.assertIn("another program", found["links"]["dde"]["state"])
            second.command("freq 7000")
            self.assertEqual(self.client().ask("request HRD_HERTZ")[0], "ok 9 01402500")
            first.quit()
            second.wait_status(lambda status: status["links"]["dde"]["state"].startswith("on, 0"), 10)
            self.assertEqual(self.client().ask("request HRD_HERTZ")[0], "ok 9 00700000")

    def test_clients_that_ask_for_anything_or_end_without_a_word(self):
        kvx = self.start()
        for place in ("HRD_RADIO_000 OTHER", "HRD_RADIO_000 -", "- HRD_CAT"):
            client = self.client(connects=False)
            self.assertEqual(client.ask(f"connect {place}")[0], "ok", place)
            self.assertEqual(client.ask("request HRD_MODE")[0], "ok 6 CW", place)
            client.process.kill()
        kvx.wait_status(lambda status: status["links"]["dde"]["clients"] == 0, 6)
        client, pid = self.client(), gateways(kvx)[0]
        self.assertTrue(client.ask("refuse 200")[0].startswith("ok"))
        before = memory(pid)
        for _ in range(2):
            self.assertTrue(client.ask("refuse 2000")[0].startswith("ok"))
        self.assertLess(memory(pid) - before, 1000, "kB")

    def test_it_is_switched_off_and_on(self):
        kvx = self.start()
        client = self.client()
        self.assertEqual(kvx.command("link dde off"), "ok link dde off")
        no_conversation = "no 16394"  # at once, not after a time-out
        self.assertTrue(wait_until(lambda: client.ask("request HRD_HERTZ")[0] == no_conversation, 2))
        self.assertTrue(client.ask("connect HRD_RADIO_000 HRD_CAT")[0].startswith("no"))
        self.assertEqual(kvx.command("link dde on"), "ok link dde starting")
        kvx.wait_status(lambda status: status["links"]["dde"]["state"] == "on, 0 clients", 10)
        self.assertEqual(self.client().ask("request HRD_HERTZ")[0], "ok 9 01402500")

    def test_a_console_never_waits_for_a_stopped_gateway(self):
        kvx = self.start()
        pid = gateways(kvx)[0]
        os.kill(pid, signal.SIGSTOP)
        try:
            begin = time.monotonic()
            for step in range(1000):
                self.assertTrue(kvx.command(f"freq {14000 + step % 300}").startswith("ok"))
            self.assertLess(time.monotonic() - begin, 20)
            self.assertEqual(kvx.quit(), 0)
        finally:
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass

    def test_the_adapter_for_windows_serves_the_same_client(self):
        server = wine.Program(BINARY, "dde_library_server.exe")
        self.addCleanup(server.close)
        self.assertEqual(server.next(30), "service 2")  # registered
        client = self.client()
        self.assertEqual(client.ask("execute FREQ 14030")[0], "ok")
        self.assertEqual(server.next(), "execute FREQ 14030")
        self.assertEqual(client.ask("poke HRD_HERTZ 01403000")[0], "ok")
        self.assertEqual(server.next(), "poke HRD_HERTZ 01403000")
        self.assertEqual(client.ask("advise HRD_MODE")[0], "ok")
        self.assertTrue(client.ask("advise HRD_HERTZ")[0].startswith("no"))
        server.say("LSB")
        self.assertEqual(client.next(), "advise HRD_MODE 7 LSB")
        self.assertEqual(client.ask("request HRD_MODE")[0], "ok 7 LSB")
        self.assertEqual(client.ask("connect HRD_RADIO_000 -")[0], "ok")
        self.assertEqual(client.ask("connect - HRD_CAT")[0], "ok")
        second = wine.Program(BINARY, "dde_library_server.exe")
        self.addCleanup(second.close)
        self.assertEqual(second.next(30), "service 3")  # found
        server.say("stop")
        self.assertEqual(second.next(10), "service 2")
