#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Breaks the files for an Android tree one by one: the check has to notice each.

android_files_test.py FOLDER SOURCES [UNITTEST ARGS]: see check/android_files.py.
"""
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "check"))
from android_files import Checker, read_sources, read_tree  # noqa: E402

# File, text in it, what stands there instead, and a complaint that this must cause.
DEFAULT = "aidl/default/Android.bp"
RC = "aidl/default/vendor.zorvak.wireless_charger-service.rc"
TE = "sepolicy/vendor/hal_wireless_charger_default.te"
MUTATIONS = (
    (DEFAULT, '"dump.cpp",', '"dump.cpp"', 'Android.bp:44: "event_handlers.cpp" instead of ,'),
    (DEFAULT, '"dump.cpp",', "", "no module builds aidl/default/dump.cpp"),
    (DEFAULT, '"dump.cpp",', '"dumb.cpp",', "no file dumb.cpp"),
    (DEFAULT, '"main.cpp"', '"main.cpp", "dump.cpp"', "disagree on aidl/default/dump.cpp"),
    (DEFAULT, "wireless_event_test", "event_test", "disagree on aidl/default/tests/wireless_event"),
    (DEFAULT, '"libutils",', '"libutil",', "no module libutil"),
    (DEFAULT, "static_libs", "static_lib", "unknown property static_lib"),
    (DEFAULT, '"liblog",', '"liblog", "libchargelink",', "only the binary may link libchargelink"),
    (DEFAULT, '"libbase",\n        "libbinder_ndk",', '"libbinder_ndk",', "headers of libbase"),
    ("simulator/Android.bp", '"trace/recorder.cpp",', "", "disagree on simulator/trace/recorder.cpp"),
    ("prebuilts/Android.bp", '"libreverselink"', '"libchargelink"', "already defined"),
    ("apex/Android.bp", ".pem", ".key", "no file vendor.zorvak.hardware.wireless_charger.key"),
    ("apex/apex_manifest.json", "hardware.", "", "does not name"),
    ("apex/vendor.zorvak.hardware.wireless_charger.rc", "40 40", "10 10", "differs from"),
    (RC, "/vendor/bin/hw/", "/vendor/bin/", "does not start"),
    (RC, "capabilities\n", "capabilities NET_ADMIN\n", "leaves capabilities"),
    (RC, "/default", "/other", "does not name"),
    ("compatibility_matrix.xml", "8", "7", "version is not 8"),
    ("compatibility_matrix.xml", "</hal>", "", "compatibility_matrix.xml: mismatched tag"),
    ("aidl/default/vendor.zorvak.wireless_charger-service.xml", "/default", "", "fqname is not"),
    ("TEST_MAPPING", "wireless_event_test", "event_test", "no test event_test"),
    (TE, "set_prop(", "set_property(", "does not compile"),
    (TE, "hal_server_domain", "# ", "may not use servicemanager:binder"),
    (TE, "_prop)\n", "_prop)\nallow hal_wireless_charger_server self:capability net_admin;\n",
     "may use hal_wireless_charger_default:capability"),
    (TE, "_prop)\n", "_prop)\nallow hal_wireless_charger_default dev_type:chr_file read;\n",
     "may use device:chr_file"),
    (TE, "init_daemon_domain(", "# ", "init does not start"),
    ("sepolicy/vendor/hal_wireless_charger.te", "userdebug_or_eng(`", "ifelse(a, a, `",
     "user: wrong set of callers: {'shell'}"),
    ("sepolicy/vendor/service.te", "protected_service, ", "", "is no protected_service"),
    ("sepolicy/vendor/service_contexts", "/default", "/other", "does not label"),
    ("sepolicy/vendor/property_contexts", " exact string", "", "no label of the policy"),
    ("sepolicy/vendor/file_contexts", "_default_exec", "_exec", "no label of the policy"),
    ("apex/file_contexts", "/bin/hw", "/bin", "is no exec_type"),
)


class AndroidFilesTest(unittest.TestCase):
    def test_each_mutation_is_noticed(self):
        for path, old, new, complaint in MUTATIONS:
            with self.subTest(path=path, old=old, new=new):
                self.assertIn(old, TREE[path])
                mutated = {**TREE, path: TREE[path].replace(old, new, 1)}
                self.assertIn(complaint, "\n".join(Checker(mutated, TARGET_SOURCES).complaints))


if __name__ == "__main__":
    ROOT = pathlib.Path(sys.argv[1]).resolve()
    TREE = read_tree(ROOT)
    TARGET_SOURCES = read_sources(sys.argv[2], ROOT)
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
