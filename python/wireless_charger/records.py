# SPDX-License-Identifier: Apache-2.0
"""The records of the interface, as `wlc --json` prints them; the .aidl files say what they mean."""

from dataclasses import dataclass, fields
from typing import Any, Mapping, Optional, Type, TypeVar, get_type_hints


@dataclass(frozen=True)
class AlignInfo:
    status: int
    subStatus: int
    value1: int
    value2: int


@dataclass(frozen=True)
class FirmwareVersion:
    major: int
    minor: int
    name: str


@dataclass(frozen=True)
class DockInfo:
    infoText0: str
    infoText1: str
    infoText2: str
    dockValue: int
    getInfoSupported: bool
    firmwareVersion: FirmwareVersion
    flagBits: int
    dockKind: int
    qiId: str
    extraText: str
    compatibility: int
    extraFirmwareVersion: Optional[FirmwareVersion]


@dataclass(frozen=True)
class DockPresent:
    docked: bool
    dockKind: int
    dockClass: int
    getInfoSupported: bool
    id: int
    ptmc: int
    product: int


@dataclass(frozen=True)
class FanInfo:
    valid: bool
    level: int
    fanValue1: int
    fanValue2: int
    fanValue3: int


@dataclass(frozen=True)
class FwUpdateInfo:
    target: int
    maxSize: int
    maxChunkSize: int
    version: FirmwareVersion


@dataclass(frozen=True)
class FwUpdateStatus:
    status: int
    progress: int
    target: int


@dataclass(frozen=True)
class PhoneInfo:
    model: str
    receiverId: int
    qiSpec: int


@dataclass(frozen=True)
class PowerInfo:
    maxPower: int
    negotiatedPower: int
    limitReason: int


@dataclass(frozen=True)
class RtxStatusInfo:
    mode: int
    prmc: int
    connected: bool
    readingA: int
    readingB: int
    deviceLevel: int
    errorType: int


@dataclass(frozen=True)
class SkinTemp:
    boostTemp: int
    puckTemp: int


@dataclass(frozen=True)
class UpdateInfo:
    maxSize: int
    infoByte4: int
    infoByte5: int


@dataclass(frozen=True)
class UpdateStatus:
    status: int
    progress: int


@dataclass(frozen=True)
class WpcAuthChallengeResponse:
    maxProtocolVersion: int
    slotPopulatedMask: int
    certChainHashLsb: int
    signatureR: str
    signatureS: str


@dataclass(frozen=True)
class WpcAuthDigests:
    slotPopulatedMask: int
    digestMask: int
    digest0: str
    digest1: str
    digest2: str
    digest3: str


Record = TypeVar("Record")


def read(kind: Type[Record], json: Mapping[str, Any]) -> Record:
    """The record of one JSON object. KeyError when a field is missing; further ones are ignored."""
    hints = get_type_hints(kind)
    values = {}
    for field in fields(kind):
        value = json[field.name]
        nested = hints[field.name] in (FirmwareVersion, Optional[FirmwareVersion])
        values[field.name] = read(FirmwareVersion, value) if nested and value is not None else value
    return kind(**values)
