// SPDX-License-Identifier: Apache-2.0
#include "kept_firmware.h"

namespace virtual_dock {
namespace {

constexpr std::string_view kKeptMagic = "DOCKFIRM";
constexpr uint32_t kKeptFormat = 1;
constexpr size_t kKeptHeader = 16;
constexpr size_t kRecordHeader = 4;
constexpr size_t kChecksum = 8;

// Which parts of a slot follow.
constexpr uint8_t kHasExecution = 1;
constexpr uint8_t kHasDigest = 2;
constexpr uint8_t kHasTransfer = 4;

// FNV-1a, 64 bits.
uint64_t checksumOf(Bytes bytes) {
    uint64_t sum = 0xcbf29ce484222325;
    for (const uint8_t byte : bytes) sum = (sum ^ byte) * 0x100000001b3;
    return sum;
}

class KeptWriter {
  public:
    void number(uint64_t value, size_t size) {
        for (size_t i = 0; i < size; ++i) mBytes.push_back(static_cast<uint8_t>(value >> 8 * i));
    }
    void bytes(Bytes bytes) { mBytes.insert(mBytes.end(), bytes.begin(), bytes.end()); }
    void text(const std::string& text) {
        number(text.size(), 4);
        bytes(bytesOf(text));
    }
    void version(const FirmwareVersionNumber& version) {
        number(version.major, 1);
        number(version.minor, 1);
    }
    std::vector<uint8_t> take() { return std::move(mBytes); }
    std::vector<uint8_t> takeChecked() {
        number(checksumOf(mBytes), kChecksum);
        return take();
    }

  private:
    std::vector<uint8_t> mBytes;
};

// Past the end it gives zeros, and isGood() is false from then on.
class KeptReader {
  public:
    explicit KeptReader(Bytes bytes) : mLeft(bytes) {}

    Bytes bytes(size_t size) {
        if (size > mLeft.size()) {
            mGood = false;
            return {};
        }
        const Bytes taken = mLeft.first(size);
        mLeft = mLeft.subspan(size);
        return taken;
    }
    uint64_t number(size_t size) {
        uint64_t value = 0;
        size_t shift = 0;
        for (const uint8_t byte : bytes(size)) value |= uint64_t{byte} << 8 * shift++;
        return value;
    }
    uint8_t number8() { return static_cast<uint8_t>(number(1)); }
    uint32_t number32() { return static_cast<uint32_t>(number(4)); }
    std::string text() {
        const Bytes text = bytes(number32());
        return {text.begin(), text.end()};
    }
    void version(FirmwareVersionNumber* version) {
        version->major = number8();
        version->minor = number8();
    }
    void expect(bool condition) { mGood = mGood && condition; }
    bool isGood() const { return mGood; }
    bool isAtEnd() const { return mLeft.empty(); }
    size_t left() const { return mLeft.size(); }

  private:
    Bytes mLeft;
    bool mGood = true;
};

void writeTransfer(const ImageTransfer& transfer, KeptWriter* writer) {
    const TransferRequest& request = transfer.request();
    writer->number(request.imageSize, 4);
    writer->number(request.compressedSize, 4);
    writer->number(request.chunkSize, 1);
    writer->number(request.major, 1);
    writer->number(request.minor, 1);
    for (uint32_t i = 0; i < transfer.chunkCount(); ++i) writer->number(transfer.has(i), 1);
    writer->bytes(transfer.bytes());
}

void readTransfer(KeptReader* reader, ImageTransfer* transfer) {
    TransferRequest request;
    request.imageSize = reader->number32();
    request.compressedSize = reader->number32();
    request.chunkSize = reader->number8();
    request.major = reader->number8();
    request.minor = reader->number8();
    // All bytes are in the file, so what is allocated for them is no more than the file.
    reader->expect(ImageTransfer::isPossible(request) && request.sentSize() <= reader->left());
    if (!reader->isGood()) return;
    *transfer = ImageTransfer(request);
    const Bytes has = reader->bytes(transfer->chunkCount());
    const Bytes image = reader->bytes(request.sentSize());
    if (!reader->isGood()) return;
    for (uint32_t i = 0; i < transfer->chunkCount(); ++i) {
        if (has[i] == 0) continue;
        transfer->store(i, image.subspan(size_t{i} * request.chunkSize, transfer->chunk(i).size()));
    }
}

void writeSlot(const FirmwareSlot& slot, KeptWriter* writer) {
    const KeptSlot& kept = slot.kept();
    writer->version(slot.version);
    writer->version(kept.newVersion);
    writer->number((kept.execution ? kHasExecution : 0) | (kept.imageDigest ? kHasDigest : 0) |
                       (kept.transfer.isOpen() ? kHasTransfer : 0),
                   1);
    if (kept.execution) {
        writer->number(static_cast<uint64_t>(kept.execution->startNs), 8);
        writer->number(kept.execution->durationMs, 4);
        writer->number(static_cast<uint8_t>(kept.execution->failAt), 1);
        writer->number(kept.execution->aborted, 1);
    }
    if (kept.imageDigest) {
        writer->bytes(*kept.imageDigest);
        writer->number(kept.imageSize, 4);
    }
    if (kept.transfer.isOpen()) writeTransfer(kept.transfer, writer);
}

void readSlot(KeptReader* reader, KeptFirmware::Slot* slot) {
    KeptSlot& kept = slot->kept;
    reader->version(&slot->version);
    reader->version(&kept.newVersion);
    const uint8_t parts = reader->number8();
    if ((parts & kHasExecution) != 0) {
        KeptSlot::Execution execution{};
        execution.startNs = static_cast<int64_t>(reader->number(8));
        execution.durationMs = reader->number32();
        execution.failAt = static_cast<int8_t>(reader->number8());
        execution.aborted = reader->number8() != 0;
        reader->expect(execution.startNs >= 0 && execution.failAt >= -1 && execution.failAt <= 100);
        kept.execution = execution;
    }
    if ((parts & kHasDigest) != 0) {
        Digest digest{};
        const Bytes bytes = reader->bytes(digest.size());
        std::copy(bytes.begin(), bytes.end(), digest.begin());
        kept.imageDigest = digest;
        kept.imageSize = reader->number32();
    }
    if ((parts & kHasTransfer) != 0) readTransfer(reader, &kept.transfer);
}

// False at the end and in front of what is no record of a chunk that the slot waits for.
bool readRecord(Bytes file, size_t* at, KeptFirmware* kept) {
    const Bytes left = file.subspan(*at);
    if (left.size() < kRecordHeader) return false;
    const size_t checked = kRecordHeader + left[1];
    if (left.size() < checked + kChecksum ||
        readLe64(left, checked) != checksumOf(left.first(checked)) ||
        left[0] >= kept->slots.size()) {
        return false;
    }
    ImageTransfer& transfer = kept->slots[left[0]].kept.transfer;
    const uint16_t chunk = readLe16(left, 2);
    const Bytes data = left.subspan(kRecordHeader, left[1]);
    if (!transfer.expects(chunk, data.size())) return false;
    transfer.store(chunk, data);
    *at += checked + kChecksum;
    return true;
}

}  // namespace

std::vector<uint8_t> encodeSnapshot(const FirmwareUpdater& firmware) {
    KeptWriter body;
    for (size_t i = 0; i < FirmwareUpdater::kSlots; ++i) writeSlot(firmware.slot(i), &body);
    body.text(firmware.legacyName);
    body.text(firmware.newLegacyName);
    const std::vector<uint8_t> bytes = body.take();
    KeptWriter snapshot;
    snapshot.bytes(bytesOf(kKeptMagic));
    snapshot.number(kKeptFormat, 4);
    snapshot.number(bytes.size(), 4);
    snapshot.bytes(bytes);
    return snapshot.takeChecked();
}

std::vector<uint8_t> encodeRecord(const FirmwareUpdater& firmware, const FirmwareChange& chunk) {
    const Bytes data = firmware.slot(chunk.slot).transfer().chunk(chunk.chunk);
    KeptWriter record;
    record.number(chunk.slot, 1);
    record.number(data.size(), 1);
    record.number(chunk.chunk, 2);
    record.bytes(data);
    return record.takeChecked();
}

KeptFileState decodeKeptFile(Bytes file, KeptFirmware* kept, size_t* intact) {
    const Bytes magic = bytesOf(kKeptMagic);
    if (file.size() < kKeptHeader + kChecksum ||
        !std::equal(magic.begin(), magic.end(), file.begin())) {
        return KeptFileState::kDamaged;
    }
    if (readLe32(file, magic.size()) != kKeptFormat) return KeptFileState::kOtherFormat;
    const size_t length = readLe32(file, magic.size() + 4);
    if (length > file.size() - kKeptHeader - kChecksum) return KeptFileState::kDamaged;
    const size_t checked = kKeptHeader + length;
    if (readLe64(file, checked) != checksumOf(file.first(checked))) return KeptFileState::kDamaged;
    KeptReader reader(file.subspan(kKeptHeader, length));
    for (KeptFirmware::Slot& slot : kept->slots) readSlot(&reader, &slot);
    kept->legacyName = reader.text();
    kept->newLegacyName = reader.text();
    if (!reader.isGood() || !reader.isAtEnd()) return KeptFileState::kDamaged;
    *intact = checked + kChecksum;
    while (readRecord(file, intact, kept)) {
    }
    return KeptFileState::kOk;
}

}  // namespace virtual_dock
