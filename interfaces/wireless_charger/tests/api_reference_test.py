#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Takes comments out of the .aidl files one by one: the reference has to name each place."""
import pathlib
import sys
import tempfile
import unittest

TREE = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TREE / "check"))
from api_reference import Type  # noqa: E402

# File, text in it, what stands there instead, what is named and what is said of it.
MUTATIONS = (
    ("SkinTemp", "/** Temperatures", "/* Temperatures", "@VintfStability", "SkinTemp has no comment"),
    ("SkinTemp", "/** Puck temperature, -128 to 127. */", "", "byte puckTemp", "puckTemp has no comment"),
    ("PowerInfo", "/** -1 when it cannot be read. */\n    int neg", "int neg", "int negotiatedPower",
     "negotiatedPower has no comment"),
    ("FanMode", "/** The dock chooses the level. */", "// AUTO", "AUTO = 0", "AUTO has no comment"),
    ("WlcInfo", "/** Ignored by this version. */\n    PowerInfo", "PowerInfo", "PowerInfo powerInfo",
     "powerInfo has no comment"),
    ("IWirelessCharger", "     * Errors: none.\n", "", "PowerInfo getPowerInformation", "'Errors:'"),
    ("IWirelessChargerInfoCallback", "@param info", "@param it", "void alignChanged", "has no '@param info'"),
)


class ApiReferenceTest(unittest.TestCase):
    def test_each_missing_comment_is_named(self):
        for name, text, instead, place, complaint in MUTATIONS:
            source = (TREE / f"aidl/vendor/zorvak/wireless_charger/{name}.aidl").read_text()
            begin = source.rindex(text)
            broken = source[:begin] + instead + source[begin + len(text):]
            line = broken[:broken.rindex(place)].count("\n") + 1
            with tempfile.NamedTemporaryFile("w", suffix=".aidl") as file, self.subTest(complaint):
                file.write(broken)
                file.flush()
                self.assertIn(line, [
                    at for at, what in Type(file.name).missing() if complaint in what])


unittest.main()
