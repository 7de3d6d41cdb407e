# SPDX-License-Identifier: Apache-2.0
# The module against the real service; WIRELESS_CHARGER_BIN says where the programs are.
import dataclasses
import pathlib
import signal
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import wireless_charger as wc  # noqa: E402


class ModuleTest(unittest.TestCase):
    def setUp(self):
        self.system = wc.System()
        self.addCleanup(self.system.close)
        self.charger = self.system.charger
        self.dock = self.system.dock

    def test_every_command_gives_its_record(self):
        c = self.charger
        for call in (c.phone, c.dock, c.info, c.power, c.presence, c.align, c.temperature, c.rtx,
                     c.digests, c.firmware_info, c.firmware_status, c.legacy_firmware_info,
                     c.legacy_firmware_status, lambda: c.fan(2), lambda: c.sign(bytes(16))):
            self.assertTrue(dataclasses.is_dataclass(call()), call)
        self.assertEqual("desk", c.info().firmwareVersion.name)
        self.assertIsNone(c.info().extraFirmwareVersion)
        self.assertEqual(8, c.version()["version"])
        self.assertTrue(c.status()["presence"]["docked"])
        c.set_fan(2, 80)
        self.assertEqual([1200, 1200, 80], [fan.level for fan in c.fans()[:3]])
        c.set_fan(2)
        c.set_features(1, 5)
        self.assertEqual(5, c.features(1))
        c.set_qi_id("12")
        self.assertEqual("12", c.dock().qiId)
        c.set_rtx(False)
        self.assertTrue(c.rtx_supported())
        self.assertEqual(3, c.fan_level())
        self.assertEqual(1058, len(c.certificate()))
        self.assertEqual(8, len(c.challenge(1, bytes(8))))
        self.assertIn("key", c.key_exchange(bytes(range(32))))
        self.assertTrue(c.authenticate()["authentic"])
        self.assertIn("IWirelessCharger Service:", c.dump())
        self.assertEqual(0, c.shell("diag.maxpower", 7))
        self.assertEqual(7, c.power().maxPower)
        image = pathlib.Path(self.system._folder.name, "image")
        image.write_bytes(bytes(5000))
        c.firmware_update(image, "--fw-version", "2.1", "--reboot")
        self.assertEqual(2, c.firmware_info().version.major)
        c.legacy_firmware_update(image, "--fw-version", "3.0")
        c.firmware_reboot()
        c.legacy_firmware_reboot()

    def test_the_dock_is_steered_and_events_arrive(self):
        with self.charger.events("align", "fan") as events:
            self.dock.align(2, 1)
            self.dock.fan_level(5)
            align, fan = events.next(), events.next()
            self.assertEqual((2, 1), (align["status"], align["subStatus"]))
            self.assertEqual(5, fan["level"])
            with self.assertRaisesRegex(wc.ServiceGone, "no event within 0.1 s"):
                events.next(0.1)
        self.dock.charging(False)
        self.dock.charging(True)
        self.dock.set(power_max=20)
        self.dock.remove()
        self.assertFalse(self.charger.presence().docked)
        self.dock.place()
        self.dock.fail("sendBidiRequest", 6, 1)
        self.dock.delay("getFeature", 1)
        with self.assertRaises(wc.Error) as refused:
            self.charger.fan(0)
        self.assertNotEqual("", refused.exception.name)
        self.dock.reset()
        self.assertEqual([], self.dock.status()["faults"])
        with self.assertRaisesRegex(wc.Error, "nonsense"):
            self.dock.call("nonsense")

    def test_a_service_that_hangs_or_dies_is_an_error_in_time(self):
        self.system._service.send_signal(signal.SIGSTOP)
        with self.assertRaises(wc.ServiceGone):
            self.charger.call("align", timeout=0.3)
        with self.assertRaises(wc.ServiceGone):
            wc.Charger(self.charger._env, 0.3).events()
        self.system._service.send_signal(signal.SIGCONT)
        with self.charger.events() as events:
            self.system.kill()
            with self.assertRaises(wc.ServiceGone):
                events.next(20)
        with self.assertRaises(wc.ServiceGone):
            self.charger.align()
        self.system.start()
        self.charger.align()


if __name__ == "__main__":
    unittest.main()
