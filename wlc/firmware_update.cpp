// SPDX-License-Identifier: Apache-2.0
#include "firmware_update.h"

#include <aidl/vendor/zorvak/wireless_charger/ErrorCode.h>
#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>

#include "failure.h"
#include "names.h"
#include "progress.h"
#include "text.h"

namespace wlc {
namespace {

using charger::ErrorCode;
using charger::ExecuteStatus;
using std::chrono::milliseconds;

// Chunk numbers have 16 bits, and one value past the last stands for "nothing is missing".
constexpr size_t kMaxChunks = 65535;
// How often a chunk is sent again when the dock did not accept it.
constexpr int kRetries = 5;
// How often the dock may report missing chunks after it acknowledged all of them.
constexpr int kRounds = 8;
constexpr milliseconds kPollInterval(100);
// A dock that needs longer to apply an image has failed.
constexpr std::chrono::minutes kApplyLimit(10);

std::vector<uint8_t> deflated(const std::vector<uint8_t>& image) {
    uLongf length = compressBound(static_cast<uLong>(image.size()));
    std::vector<uint8_t> out(length);
    if (compress2(out.data(), &length, image.data(), static_cast<uLong>(image.size()),
                  Z_BEST_COMPRESSION) != Z_OK) {
        throw refused("cannot compress the image");
    }
    out.resize(length);
    return out;
}

bool worthAnotherTry(const Failure& failure) {
    if (failure.exitCode() != kRefused) return false;
    const auto code = static_cast<ErrorCode>(failure.code());
    return code == ErrorCode::TIMED_OUT || code == ErrorCode::IO_ERROR || code == ErrorCode::BUSY;
}

// One update; its phases are methods, called in order.
class Update {
  public:
    Update(FirmwareChannel& channel, const UpdateRequest& request, Progress& progress)
        : mChannel(channel), mRequest(request), mProgress(progress) {}

    void prepare() {
        mProgress.phase("prepare", 0, 1);
        const FirmwareLimits limits = mChannel.limits();
        if (mRequest.image.size() > limits.maxSize) {
            throw badUsage(fmt::format("{} is too large for this dock: {} bytes, the limit is {}",
                                       mRequest.path, mRequest.image.size(), limits.maxSize));
        }
        if (mRequest.compress) mDeflated = deflated(mRequest.image);
        mChunkSize = limits.maxChunk;
        if (chunkCount() > kMaxChunks) {
            throw badUsage(fmt::format("{} is too large for chunks of {} bytes: {} bytes",
                                       mRequest.path, mChunkSize, mRequest.image.size()));
        }
        mVersion = mRequest.version.value_or(limits.running);
    }

    void transfer() {
        mProgress.phase("transfer", 1, 90);
        start(!mRequest.resume);
        uint32_t next = 0;
        if (mRequest.resume) next = firstMissing();
        for (int round = 0; next < chunkCount(); ++round) {
            if (round == kRounds) throw refused("the dock keeps dropping chunks; giving up");
            sendFrom(next);
            next = firstMissing();
        }
        mProgress.atBytes(sent().size(), sent().size());
    }

    // The dock may report missing chunks as late as this.
    void apply() {
        for (int round = 0;; ++round) {
            mProgress.phase("apply", 90, 100);
            const ExecuteStatus status = mChannel.execute();
            if (status == ExecuteStatus::ACCEPTED) break;
            if (status != ExecuteStatus::INCOMPLETE || round == kRounds) {
                throw refused("the dock did not apply the image: " +
                              executeStatusName(static_cast<int8_t>(status)));
            }
            mProgress.phase("transfer", 1, 90);
            sendFrom(firstMissing());
        }
        const auto deadline = std::chrono::steady_clock::now() + kApplyLimit;
        for (;;) {
            const ApplyStatus status = mChannel.applyStatus();
            if (status.state == ApplyStatus::kFailed) {
                throw refused("the dock failed to apply the image");
            }
            if (status.state == ApplyStatus::kIdle) {
                if (status.percent == 100) break;
                throw refused("the dock stopped applying the image");
            }
            if (std::chrono::steady_clock::now() > deadline) {
                throw refused("the dock is still applying the image; check it with status");
            }
            mProgress.at(status.percent);
            mProgress.pause(kPollInterval);
        }
        mProgress.at(100);
    }

    const ImageVersion& version() const { return mVersion; }
    size_t sentBytes() const { return sent().size(); }

  private:
    const std::vector<uint8_t>& sent() const {
        return mRequest.compress ? mDeflated : mRequest.image;
    }

    uint32_t chunkCount() const {
        return static_cast<uint32_t>((sent().size() + mChunkSize - 1) / mChunkSize);
    }

    // The first chunk that the dock is missing; chunkCount() when it has all.
    uint32_t firstMissing() {
        const MissingChunks missing = mChannel.missing();
        return missing.count == 0 ? chunkCount() : missing.first;
    }

    void start(bool fresh) {
        FirmwareStart start;
        start.size = static_cast<uint32_t>(mRequest.image.size());
        start.compressed = static_cast<uint32_t>(mDeflated.size());
        start.chunkSize = mChunkSize;
        start.fresh = fresh;
        start.version = mVersion;
        start.name = mRequest.name;
        const uint32_t wanted = mChannel.start(start);
        if (wanted != 0 && wanted != mChunkSize) {
            // The dock insists on its own size: open the transfer with that one.
            if (wanted > mChunkSize) {
                throw refused(fmt::format(
                    "the dock asks for chunks of {} bytes, above its own limit", wanted));
            }
            mChunkSize = start.chunkSize = wanted;
            if (chunkCount() > kMaxChunks) throw refused("the dock asks for too small chunks");
            if (mChannel.start(start) != wanted)
                throw refused("the dock keeps changing its chunk size");
        }
    }

    // Sends chunks from `number` on, in the order in which the dock asks for them.
    void sendFrom(uint32_t number) {
        int repeated = 0;
        while (number < chunkCount()) {
            mProgress.throwIfInterrupted();
            const size_t begin = size_t{number} * mChunkSize;
            const size_t length = std::min<size_t>(mChunkSize, sent().size() - begin);
            const uint32_t next = sendChunk(number, {sent().data() + begin, length});
            repeated = next <= number ? repeated + 1 : 0;
            if (repeated > kRetries) {
                throw refused(fmt::format("the dock does not accept chunk {}", number));
            }
            number = next;
            mProgress.atBytes(std::min<uint64_t>(uint64_t{next} * mChunkSize, sent().size()),
                              sent().size());
        }
    }

    uint32_t sendChunk(uint32_t number, std::span<const uint8_t> data) {
        for (int tries = 1;; ++tries) {
            try {
                return mChannel.sendChunk(number, data);
            } catch (const Failure& failure) {
                if (tries > kRetries || !worthAnotherTry(failure)) throw;
            }
            mProgress.pause(kPollInterval);
        }
    }

    FirmwareChannel& mChannel;
    const UpdateRequest& mRequest;
    Progress& mProgress;
    std::vector<uint8_t> mDeflated;
    uint32_t mChunkSize = 1;
    ImageVersion mVersion;
};

std::string resumeText(const FirmwareChannel& channel, const UpdateRequest& request) {
    return fmt::format("continue with: {} update {} --resume{}{}", channel.command(), request.path,
                       request.compress ? " --compress" : "",
                       request.version ? fmt::format(" --fw-version {}.{}", request.version->major,
                                                     request.version->minor)
                                       : "");
}

}  // namespace

ImageVersion parseVersion(const std::string& text) {
    const size_t dot = text.find('.');
    if (dot == std::string::npos) {
        throw badUsage(
            fmt::format("--fw-version must be M.m, like 2.1, not '{}'", printable(text)));
    }
    return {static_cast<uint8_t>(toNumber(text.substr(0, dot), "the major version", 0, 255)),
            static_cast<uint8_t>(toNumber(text.substr(dot + 1), "the minor version", 0, 255))};
}

void updateFirmware(Context& context, FirmwareChannel& channel, const UpdateRequest& request) {
    if (request.image.empty()) throw badUsage(request.path + " is empty");
    const std::string resume = resumeText(channel, request);
    Progress progress(context, "interrupted; the dock keeps the chunks it has; " + resume);
    Update update(channel, request, progress);
    update.prepare();
    try {
        update.transfer();
        update.apply();
    } catch (const Failure& failure) {
        progress.finish();
        if (failure.name() == "INTERRUPTED" || failure.exitCode() == kBadUsage) throw;
        throw Failure(failure.exitCode(), failure.code(), failure.name(),
                      fmt::format("{}; {}", failure.what(), resume));
    }
    if (request.reboot) channel.reboot();
    progress.finish();
    const std::string version =
        fmt::format("{}.{}", update.version().major, update.version().minor);
    context.printText(fmt::format("done: {} bytes, version {}, {}\n", request.image.size(), version,
                                  request.reboot
                                      ? "the dock restarts"
                                      : "takes effect after: " + channel.command() + " reboot"));
    context.printJson({{"phase", "done"},
                       {"percent", 100},
                       {"imageBytes", request.image.size()},
                       {"sentBytes", update.sentBytes()},
                       {"version", version},
                       {"rebooted", request.reboot}});
}

}  // namespace wlc
