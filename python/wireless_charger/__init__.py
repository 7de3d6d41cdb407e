# SPDX-License-Identifier: Apache-2.0
"""Calls the wireless-charger service and steers its virtual dock, for tests.

    with System() as system:
        system.dock.align(2)
        assert system.charger.align().status == 2

Runs the programs of the installed package, or of $WIRELESS_CHARGER_BIN. Every method takes at most
its time limit and raises an Error otherwise.
"""

import json
import os
import select
import shutil
import subprocess
import tempfile
import time
from pathlib import Path
from typing import Any, Dict, Iterator, List, Optional, Sequence, Type, Union

from .records import *  # noqa: F403
from .records import (AlignInfo, DockInfo, DockPresent, FanInfo, FwUpdateInfo, FwUpdateStatus,
                      PhoneInfo, PowerInfo, Record, RtxStatusInfo, SkinTemp, UpdateInfo,
                      UpdateStatus, WpcAuthChallengeResponse, WpcAuthDigests, read)

Json = Dict[str, Any]


class Error(Exception):
    """What failed. `code` and `name` as the interface has them, 0 when it is not the service's."""

    def __init__(self, message: str, code: int = 0, name: str = "") -> None:
        super().__init__(message)
        self.code = code
        self.name = name


class ServiceGone(Error):
    """The service is not running, died during the call, or gave no answer in time."""


def _program(name: str) -> str:
    # From PREFIX/lib/python3/dist-packages/wireless_charger.
    installed = Path(__file__).resolve().parent / "../../../../bin"
    folder = os.environ.get("WIRELESS_CHARGER_BIN", str(installed))
    found = shutil.which(name, path=f"{folder}{os.pathsep}{os.environ.get('PATH', '')}")
    if found is None:
        raise Error(f"cannot find {name}; set WIRELESS_CHARGER_BIN to the folder of the programs")
    return found


def _run(words: Sequence[str], env: Dict[str, str], limit: float) -> Json:
    """Runs a program that prints one JSON object."""
    try:
        done = subprocess.run(words, env=env, capture_output=True, text=True, timeout=limit,
                              check=False)
    except subprocess.TimeoutExpired:
        raise ServiceGone(f"{' '.join(words)}: no answer within {limit} s") from None
    lines = done.stdout.splitlines()
    try:
        said: Json = dict(json.loads(lines[-1])) if lines else {}
    except (TypeError, ValueError):
        raise Error(f"{' '.join(words)}: said {lines[-1]!r}, not a JSON object") from None
    if done.returncode == 0:
        return said
    error = said.get("error", said)  # of wlc; dockctl has the message beside "ok"
    message = error.get("message") or done.stderr.strip() or f"exit status {done.returncode}"
    kind = ServiceGone if done.returncode == 3 else Error
    raise kind(message, error.get("code", 0), error.get("name", ""))


class Charger:
    """The interface: one method for each command of wlc. `timeout` is in seconds."""

    def __init__(self, env: Dict[str, str], timeout: float = 30) -> None:
        self._env = env
        self.timeout = timeout

    def call(self, *words: object, timeout: Optional[float] = None) -> Json:
        """Any command of wlc; the JSON object that it prints."""
        limit = timeout or self.timeout
        return _run([_program("wlc"), "--json", "--timeout", str(limit), *map(str, words)],
                    self._env, limit + 10)

    def _get(self, kind: Type[Record], *words: object) -> Record:
        return read(kind, self.call(*words))

    def status(self) -> Json:
        return self.call("status")

    def version(self) -> Json:
        return self.call("version")

    def phone(self) -> PhoneInfo:
        return self._get(PhoneInfo, "phone")

    def dock(self) -> DockInfo:
        return self._get(DockInfo, "dock")

    def info(self) -> DockInfo:
        return self._get(DockInfo, "info")

    def power(self) -> PowerInfo:
        return self._get(PowerInfo, "power")

    def presence(self) -> DockPresent:
        return self._get(DockPresent, "presence")

    def align(self) -> AlignInfo:
        return self._get(AlignInfo, "align")

    def temperature(self) -> SkinTemp:
        return self._get(SkinTemp, "temperature")

    def features(self, query: int) -> int:
        return int(self.call("features", "get", query)["features"])

    def set_features(self, query: int, flags: int) -> None:
        self.call("features", "set", query, flags)

    def set_qi_id(self, text: str) -> None:
        self.call("qi-id", text)

    def fans(self) -> List[FanInfo]:
        return [read(FanInfo, fan) for fan in self.call("fan", "list")["fans"]]

    def fan(self, index: int) -> FanInfo:
        return self._get(FanInfo, "fan", "get", index)

    def set_fan(self, index: int, level: Optional[int] = None) -> None:
        """A level of 0 to 65535; without one the dock decides."""
        self.call("fan", "set", index, *(("auto",) if level is None else ("manual", level)))

    def fan_level(self) -> int:
        return int(self.call("fan", "level")["level"])

    def rtx(self) -> RtxStatusInfo:
        return self._get(RtxStatusInfo, "rtx", "status")

    def set_rtx(self, on: bool) -> None:
        self.call("rtx", "on" if on else "off")

    def rtx_supported(self) -> bool:
        return bool(self.call("rtx", "supported")["supported"])

    def authenticate(self, root: Optional[str] = None) -> Json:
        """Against a root certificate, or the virtual dock's public one. Error: not genuine."""
        trust = ("--virtual-dock",) if root is None else ("--root", root)
        return self.call("auth", *trust, timeout=max(self.timeout, 360))

    def digests(self) -> WpcAuthDigests:
        return self._get(WpcAuthDigests, "auth", "digests")

    def certificate(self, slot: int = 0) -> bytes:
        return bytes.fromhex(self.call("auth", "certificate", "--slot", slot)["certificate"])

    def sign(self, nonce: bytes, slot: int = 0) -> WpcAuthChallengeResponse:
        return self._get(WpcAuthChallengeResponse, "auth", "challenge", "--slot", slot, "--nonce",
                         nonce.hex())

    def challenge(self, value: int, nonce: bytes) -> bytes:
        return bytes.fromhex(self.call("challenge", value, nonce.hex())["response"])

    def key_exchange(self, key: bytes) -> Json:
        return self.call("key-exchange", key.hex())

    def firmware_info(self, target: int = 0) -> FwUpdateInfo:
        return self._get(FwUpdateInfo, "firmware", "info", "--target", target)

    def firmware_status(self, target: int = 0) -> FwUpdateStatus:
        return self._get(FwUpdateStatus, "firmware", "status", "--target", target)

    def firmware_update(self, image: Union[str, Path], *options: object) -> Json:
        """With the options of `wlc firmware update`; returns its last line."""
        return self.call("firmware", "update", image, *options, timeout=600)

    def firmware_reboot(self) -> None:
        self.call("firmware", "reboot")

    def legacy_firmware_info(self) -> UpdateInfo:
        return self._get(UpdateInfo, "legacy-firmware", "info")

    def legacy_firmware_status(self) -> UpdateStatus:
        return self._get(UpdateStatus, "legacy-firmware", "status")

    def legacy_firmware_update(self, image: Union[str, Path], *options: object) -> Json:
        return self.call("legacy-firmware", "update", image, *options, timeout=600)

    def legacy_firmware_reboot(self) -> None:
        self.call("legacy-firmware", "reboot")

    def dump(self) -> str:
        return str(self.call("dump")["dump"])

    def shell(self, *words: object) -> int:
        return int(self.call("shell", *words)["status"])

    def events(self, *kinds: str) -> "Events":
        """Subscribes to "align", "rtx" and "fan", or to the kinds given."""
        return Events(self._env, kinds, self.timeout)


class Events:
    """The events from now on. Close it, or use it with `with`."""

    def __init__(self, env: Dict[str, str], kinds: Sequence[str], timeout: float) -> None:
        self._process = subprocess.Popen([_program("wlc"), "--json", "watch", *kinds], env=env,
                                         stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self._read = b""
        assert self._process.stdout is not None and self._process.stderr is not None
        self._out = self._process.stdout.fileno()
        said = self._wait(self._process.stderr.fileno(), b"", time.monotonic() + timeout)
        if not said.startswith(b"watching"):
            self.close()
            raise ServiceGone(f"cannot subscribe: {said.decode(errors='replace').strip()}")

    def _wait(self, descriptor: int, text: bytes, deadline: float) -> bytes:
        """Reads on until there is a line."""
        while b"\n" not in text:
            left = max(0.0, deadline - time.monotonic())
            piece = b""
            if select.select([descriptor], [], [], left)[0]:
                piece = os.read(descriptor, 65536)
            if not piece:
                return text
            text += piece
        return text

    def next(self, timeout: float = 30) -> Json:
        """The next event. ServiceGone when none comes in time or the service has ended."""
        self._read = self._wait(self._out, self._read, time.monotonic() + timeout)
        line, end, self._read = self._read.partition(b"\n")
        if not end:
            raise ServiceGone(f"no event within {timeout} s")
        event: Json = json.loads(line)
        if "error" in event:
            raise ServiceGone(event["error"]["message"], name=event["error"]["name"])
        return event

    def __iter__(self) -> Iterator[Json]:
        while True:
            yield self.next()

    def close(self) -> None:
        self._process.kill()
        self._process.communicate()

    def __enter__(self) -> "Events":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()


class Dock:
    """The virtual dock: one method for each command of dockctl."""

    def __init__(self, env: Dict[str, str]) -> None:
        self._env = env

    def call(self, *words: object) -> Json:
        """Any command of dockctl; the dock's reply."""
        return _run([_program("dockctl"), "--json", *map(str, words)], self._env, 30)

    def place(self) -> None:
        self.call("place")

    def remove(self) -> None:
        self.call("remove")

    def align(self, state: int, *values: int) -> None:
        self.call("align", state, *values)

    def fan_level(self, level: int) -> None:
        self.call("fan-level", level)

    def charging(self, on: bool) -> None:
        self.call("charging", "on" if on else "off")

    def set(self, **settings: object) -> None:
        """set(power_max=20) sets power.max; for keys with a dash, call("set", "a.b-c=1")."""
        self.call("set", *(f"{key.replace('_', '.')}={value}" for key, value in settings.items()))

    def fail(self, operation: str, result: int, *count: int) -> None:
        """Requests of this C function fail with the result, all or so many."""
        self.call("fail", operation, result, *count)

    def delay(self, operation: str, milliseconds: int, *count: int) -> None:
        self.call("delay", operation, milliseconds, *count)

    def reset(self) -> None:
        self.call("reset")

    def status(self) -> Json:
        return self.call("status")


class System:
    """A service on a virtual dock of its own, in a folder of its own, until it is closed."""

    def __init__(self, timeout: float = 30) -> None:
        self._folder = tempfile.TemporaryDirectory(prefix="wireless-charger.")
        folder = self._folder.name
        env = {**os.environ, "ANDROID_HOST_DIR": folder, "XDG_STATE_HOME": folder,
               "ANDROID_HOST_UEVENT_SOCKET": f"{folder}/uevent"}
        self.charger = Charger(env, timeout)
        self.dock = Dock(env)
        self._env = env
        self._service: Optional["subprocess.Popen[bytes]"] = None
        self._log = open(f"{folder}/service.log", "wb")  # pylint: disable=consider-using-with
        try:
            self.start()
        except Error:
            self.close()
            raise

    def start(self) -> None:
        """Starts the service; again after kill()."""
        self._service = subprocess.Popen([_program("vendor.zorvak.wireless_charger-service")],
                                         env=self._env, stderr=self._log)
        self.charger.call("--wait", self.charger.timeout, "version")
        deadline = time.monotonic() + self.charger.timeout
        while not os.path.exists(self._env["ANDROID_HOST_UEVENT_SOCKET"]):
            if time.monotonic() > deadline or self._service.poll() is not None:
                raise ServiceGone(f"the service does not start: {self.log()}")
            time.sleep(0.01)

    def kill(self) -> None:
        """Ends the service as a crash would."""
        if self._service is not None:
            self._service.kill()
            self._service.wait()

    def log(self) -> str:
        return Path(self._log.name).read_text(errors="replace")

    def close(self) -> None:
        self.kill()
        self._log.close()
        self._folder.cleanup()

    def __enter__(self) -> "System":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()
