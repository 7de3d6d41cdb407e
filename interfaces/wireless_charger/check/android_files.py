#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks the files that only an Android tree reads, as far as that goes without one.

android_files.py FOLDER SOURCES: FOLDER is interfaces/wireless_charger, SOURCES a file with a line
"TARGET PATH" for each source of each CMake target. Reads simulator/Android.bp too. Prints what is wrong, a line each; exits 1 when
anything is. Needs m4 and checkpolicy.
"""
import json
import os
import pathlib
import posixpath
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

import blueprint

CLOSED_LIBRARIES = {"libchargelink", "libreverselink"}
PLATFORM_MODULES = set("""Android-Apache-2.0 VtsHalTargetTestDefaults libbase libbase_headers libbinder_ndk
    libbinder_random_parcel libcutils libgmock libgtest liblog libutils service_fuzzer_defaults
    fuzzer_disable_leaks use_libaidlvintf_gtest_helper_static""".split())
MODULE_PROPERTIES = set("""binaries certificate default_applicable_licenses defaults
    export_shared_lib_headers export_static_lib_headers header_libs key prebuilts shared_libs
    static_libs""".split())
FILE_PROPERTIES = set("""corpus data dictionary file_contexts init_rc manifest private_key public_key src
    srcs vintf_fragments""".split())
OTHER_PROPERTIES = set("""arch arm64 backend cc cflags compile_multilib componentid cpp cpp_std
    description enabled export_include_dirs frozen fuzz_config fuzzed_code_usage host_supported hotlists
    imports include_dirs installable java ldflags local_include_dirs name ndk none owner product_available
    relative_install_path require_root sdk_version service_privilege stability stem stl strip sub_dir
    test_suites updatable use_platform_apis use_vndk_as_stable users vector vendor vendor_available
    version versions_with_info""".split())
# The CMake target of a module, where it has another name.
TARGETS = {"vendor.zorvak.wireless_charger-hal": "wireless_charger_hal",
           "libchargelink_recorder": "chargelink_recorder", "libdock_recorder": "dock_recorder",
           "libreverselink_recorder": "reverselink_recorder"}
# Beside the folder: of it a tree takes the recorder's libraries alone.
SIMULATOR = "simulator/"

# Every class of object that the service may use, and whose; nothing else.
DOMAIN = "hal_wireless_charger_default"
ALLOWED = {
    "binder": "dumpstate servicemanager", "chr_file": "vendor_wireless_charger_device",
    "dir": "vendor_sysfs_wireless_charger", "fd": "dumpstate", "fifo_file": "dumpstate",
    "file": f"{DOMAIN}_exec vendor_sysfs_wireless_charger vendor_wlcservice_prop",
    "netlink_kobject_uevent_socket": DOMAIN, "property_service": "vendor_wlcservice_prop",
    "service_manager": "hal_wireless_charger_service", "sock_file": "property_socket",
    "unix_stream_socket": "init"}
ALLOWED_FOR_DEBUGGING = {
    "binder": "shell", "chr_file": "devpts", "fd": "adbd shell", "fifo_file": "shell",
    "unix_stream_socket": "adbd"}


def roots(folder):
    return {"": folder, SIMULATOR: folder.parent.parent / SIMULATOR}


def read_tree(folder):
    return {prefix + path.relative_to(root).as_posix(): path.read_bytes().decode("utf-8", "replace")
            for prefix, root in roots(folder).items() for path in sorted(root.rglob("*"))
            if path.is_file() and "aidl_api" not in path.parts}


def matching(tree, pattern):
    """The files that a path of a build file means; * stands for a name, ** for any folders."""
    expression = re.escape(pattern).replace(r"\*\*/", "(.*/)?").replace(r"\*", "[^/]*")
    return {path for path in tree if re.fullmatch(expression, path)}


class Checker:
    """One look at the files; what is wrong with them is then in `complaints`."""

    def __init__(self, tree, targets):
        self.tree, self.targets, self.complaints = tree, targets, []
        self.modules = {}  # by name
        self.folders = {}  # of a module
        try:
            self.read_modules()
            self.check_modules()
            self.check_sources()
            self.check_names()
            self.check_policy()
        except (ValueError, LookupError) as error:
            self.complaints.append(f"cannot go on: {error!r}")

    def expect(self, right, complaint):
        if not right:
            self.complaints.append(complaint)

    def read_modules(self):
        for path, text in self.tree.items():
            if posixpath.basename(path) != "Android.bp":
                continue
            for module in blueprint.parse(path, text):
                place = f"{path}:{module.line}"
                known = MODULE_PROPERTIES | FILE_PROPERTIES | OTHER_PROPERTIES
                for key in sorted({key for names, _ in module.leaves() for key in names} - known):
                    self.complaints.append(f"{place}: unknown property {key}")
                if module.kind == "package":
                    module.name = place
                self.expect(module.name not in self.modules,
                            f"{place}: {module.name} is already defined")
                self.modules[module.name] = module
                self.folders[module] = posixpath.dirname(path)

    def of_kind(self, kind):
        return [module for module in self.modules.values() if module.kind == kind]

    def files(self, module, key):
        """The paths that a property means, relative to the tree."""
        for value in module.all(key):
            if not value.startswith(":"):
                yield from matching(self.tree, posixpath.join(self.folders[module], value))

    def check_modules(self):
        defined = set(self.modules) | PLATFORM_MODULES
        for module in self.of_kind("aidl_interface"):
            for version in module.all("version"):
                defined |= {f"{module.name}-V{version}-{backend}" for backend in ("java", "ndk")}
        for module in self.modules.values():
            for names, value in module.leaves():
                key = names[-1]
                if module.kind == "android_app_certificate" and key == "certificate":
                    key, value = "public_key", value + ".x509.pem"
                if key in MODULE_PROPERTIES or value.startswith(":"):
                    self.expect(value.lstrip(":") in defined, f"{module.name}: no module {value}")
                    self.expect(value not in CLOSED_LIBRARIES or module.kind == "cc_binary",
                                f"{module.name}: only the binary may link {value}")
                elif key in FILE_PROPERTIES:
                    self.check_file(module, value)
            for exported in module.all("export_shared_lib_headers"):
                self.expect(exported in self.inherited(module, "shared_libs"),
                            f"{module.name} exports the headers of {exported} but does not link it")

    def check_file(self, module, value):
        """It is there, or the folder's README says that a device adds it."""
        readme = self.tree.get(posixpath.join(self.folders[module], "README.md"), "")
        self.expect(".." not in value and (value in readme or
                    matching(self.tree, posixpath.join(self.folders[module], value))),
                    f"{module.name}: no file {value}")

    def inherited(self, module, key):
        values = module.all(key)
        for name in module.all("defaults"):
            if name in self.modules:
                values += self.inherited(self.modules[name], key)
        return values

    def check_sources(self):
        used = set()
        built = {posixpath.dirname(path) for paths in self.targets.values() for path in paths}
        for module in self.modules.values():
            sources = {path for path in self.files(module, "srcs") if path.endswith(".cpp")}
            used |= sources
            target = TARGETS.get(module.name, module.name)
            # The preset that builds the fuzzers has no tests: their folder is not part of this build.
            if target in self.targets or built & {posixpath.dirname(path) for path in sources}:
                for path in sources ^ self.targets.get(target, set()):
                    self.complaints.append(f"{module.name}: Android.bp and CMake disagree on {path}")
        for path in self.tree:
            self.expect(not path.endswith(".cpp") or path.startswith(SIMULATOR) or path in used,
                        f"no module builds {path}")

    def check_names(self):
        """All files mean the same interface, instance, program, property and APEX."""
        interface, = self.of_kind("aidl_interface")
        binary, = self.of_kind("cc_binary")
        apex, = self.of_kind("apex")
        folder = self.folders[interface] + "/" + interface.name.replace(".", "/")
        self.expect(f"package {interface.name};" in self.tree[f"{folder}/IWirelessCharger.aidl"],
                    f"{interface.name} is not the package of the interface")
        default = self.folders[binary]
        instance, = re.findall(r'descriptor \+ "/(\w+)"', self.tree[f"{default}/main.cpp"])
        self.name = f"{interface.name}.IWirelessCharger/{instance}"
        self.program = f"/bin/hw/{binary.name}"
        self.property, = re.findall(r'SetProperty\("([^"]+)"', self.tree[f"{default}/event_handlers.cpp"])

        rc, = self.files(binary, "init_rc")
        self.check_rc(rc, "/vendor" + self.program)
        copies = [path for module in self.of_kind("prebuilt_etc") if module.name in apex.all("prebuilts")
                  for path in self.files(module, "src")]
        for path in copies:
            self.check_rc(path, f"/apex/{apex.name}" + self.program)
            same = self.tree[path].replace(f"/apex/{apex.name}/bin", "/vendor/bin") == self.tree[rc]
            self.expect(same, f"{path} differs from {rc} in more than the folder of the program")
        self.expect(len(copies) == 1, f"{apex.name} needs one .rc file, has {copies}")
        self.expect(binary.name in apex.all("binaries"), f"{apex.name} lacks {binary.name}")
        manifest, = self.files(apex, "manifest")
        self.expect(json.loads(self.tree[manifest])["name"] == apex.name,
                    f"{manifest} does not name {apex.name}")

        version = interface.all("version")[-1]
        fragment, = self.files(binary, "vintf_fragments")
        self.check_hal(fragment, {"type": "device"}, {
            "name": interface.name, "version": version, "fqname": f"IWirelessCharger/{instance}"})
        self.check_hal("compatibility_matrix.xml", {"type": "framework", "optional": "true"}, {
            "name": interface.name, "version": version, "interface/name": "IWirelessCharger",
            "interface/instance": instance})

        tests = {module.name for module in self.of_kind("cc_test")
                 if "general-tests" in self.inherited(module, "test_suites")}
        for group in json.loads(self.tree["TEST_MAPPING"]).values():
            for entry in group:
                self.expect(entry["name"] in tests, f"TEST_MAPPING: no test {entry['name']}")

    def check_rc(self, path, program):
        text = self.tree[path]
        self.expect(re.findall(r"^service \S+ (.*)$", text, re.M) == [program],
                    f"{path} does not start {program}")
        self.expect(re.findall(r"^ +interface aidl (.*)$", text, re.M) == [self.name],
                    f"{path} does not name {self.name}")
        self.expect(re.search(r"^ +capabilities$", text, re.M), f"{path} leaves capabilities")

    def check_hal(self, path, attributes, texts):
        try:
            root = xml.etree.ElementTree.fromstring(self.tree[path])
        except xml.etree.ElementTree.ParseError as error:
            raise ValueError(f"{path}: {error}") from error
        hal, = root.findall("hal")
        found = {**root.attrib, **hal.attrib}
        for name, value in {"format": "aidl", "version": "1.0", **attributes}.items():
            self.expect(found.get(name) == value, f"{path}: {name} is not {value}")
        for name, value in texts.items():
            self.expect(hal.findtext(name) == value, f"{path}: {name} is not {value}")

    def compile(self, variant):
        """The policy as checkpolicy writes it back, in CIL; None when it does not compile."""
        inputs = ["check/sepolicy/begin.conf", *sorted(matching(self.tree, "sepolicy/public/*")),
                  *sorted(matching(self.tree, "sepolicy/vendor/*.te")), "check/sepolicy/end.conf",
                  "sepolicy/vendor/genfs_contexts"]
        with tempfile.TemporaryDirectory() as folder:
            for path in inputs:
                os.makedirs(f"{folder}/{posixpath.dirname(path)}", exist_ok=True)
                pathlib.Path(folder, path).write_text(self.tree[path])
            for command in (f"m4 --fatal-warnings -s -D target_build_variant={variant} "
                            f"{' '.join(inputs)} >policy.conf", "checkpolicy -M -C -o cil policy.conf"):
                done = subprocess.run(command, shell=True, cwd=folder, text=True, check=False,
                                      stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
                if done.returncode != 0:
                    self.complaints.append(f"the policy does not compile: {done.stdout}")
                    return None
            return pathlib.Path(folder, "cil").read_text()

    def check_policy(self):
        for variant in ("user", "userdebug"):
            cil = self.compile(variant)
            if cil is None:
                return
            members = {name: set(types.split()) for name, types in
                       re.findall(r"^\(typeattributeset (\w+) \(([\w ]*)\)\)$", cil, re.M)}
            rules = set()
            for line in re.findall(r"^\(allow.*", cil, re.M):
                source, target, kind = re.match(r"\(allow (\w+) (\w+) \((\w+) \(", line).groups()
                for one in members.get(source, {source}):
                    rules |= {(one, one if other == "self" else other, kind)
                              for other in members.get(target, {target})}
            wanted = {(kind, target) for table in
                      (ALLOWED, ALLOWED_FOR_DEBUGGING if variant == "userdebug" else {})
                      for kind, targets in table.items() for target in targets.split()}
            allowed = {(kind, target) for source, target, kind in rules if source == DOMAIN}
            for kind, target in sorted(allowed - wanted):
                self.complaints.append(f"{variant}: the service may use {target}:{kind}")
            for kind, target in sorted(wanted - allowed):
                self.complaints.append(f"{variant}: the service may not use {target}:{kind}")
            callers = {source for source, target, kind in rules if (target, kind) == (DOMAIN, "binder")}
            callers ^= {"dumpstate", "servicemanager"} | ({"shell"} if variant == "userdebug" else set())
            self.expect(not callers, f"{variant}: wrong set of callers: {callers}")
            readers = {source for source, target, kind in rules
                       if (target, kind) == ("vendor_wlcservice_prop", "file")}
            self.expect(readers == {DOMAIN, "vendor_init"}, f"{variant}: {readers} read the property")
        self.check_labels(cil, members)

    def check_labels(self, cil, members):
        program = re.escape(f"(typetransition init {DOMAIN}_exec process {DOMAIN})")
        self.expect(re.search(program, cil), f"init does not start {DOMAIN}")
        node, = re.findall(r"\(genfscon sysfs .* object_r (\w+) ", cil)
        self.expect(node in members["sysfs_type"], f"{node} is no sysfs_type")
        types = set(re.findall(r"^\(type (\w+)\)$", cil, re.M))
        executable = {"exec_type", "vendor_file_type"}
        for path, name, attributes in (
                ("sepolicy/vendor/file_contexts", "/vendor" + self.program, executable),
                ("sepolicy/vendor/file_contexts", "/dev/zorvak_wlc", {"dev_type"}),
                ("apex/file_contexts", self.program, executable),
                ("sepolicy/vendor/service_contexts", self.name,
                 {"hal_service_type", "protected_service", "service_manager_type"}),
                ("sepolicy/vendor/property_contexts", self.property, {"vendor_property_type"})):
            same = re.fullmatch if path.endswith("file_contexts") else str.__eq__
            suffix = " exact string" if path.endswith("property_contexts") else ""
            label = None
            for line in self.tree[path].splitlines():
                found = re.fullmatch(rf"(\S+)\s+u:object_r:(\w+):s0{suffix}", line)
                if found and found[2] in types:
                    label = found[2] if same(found[1], name) else label
                else:
                    self.expect(line[:1] in ("", "#"), f"{path}: no label of the policy: {line}")
            self.expect(label, f"{path} does not label {name}")
            for attribute in attributes if label else ():
                self.expect(label in members.get(attribute, ()), f"{label} is no {attribute}")


def read_sources(path, root):
    """The files below the roots that each CMake target is built from."""
    sources = {}
    for entry in pathlib.Path(path).read_text().splitlines():
        target, source = entry.split(" ", 1)
        for prefix, folder in roots(root).items():
            if source.startswith(f"{folder}/"):
                sources.setdefault(target, set()).add(prefix + source[len(f"{folder}/"):])
    return sources


def main(folder, sources):
    root = pathlib.Path(folder).resolve()
    complaints = Checker(read_tree(root), read_sources(sources, root)).complaints
    print("\n".join(complaints) or "the files agree")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
