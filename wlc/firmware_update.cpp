// SPDX-License-Identifier: Apache-2.0
#include "firmware_update.h"

#include <aidl/vendor/zorvak/wireless_charger/ErrorCode.h>
#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <type_traits>

#include "failure.h"
#include "names.h"
#include "progress.h"
#include "qi_authentication.h"
#include "text.h"
#include "transfer_journal.h"

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

bool isBusy(const Failure& failure) {
    return failure.exitCode() == kRefused &&
           static_cast<ErrorCode>(failure.code()) == ErrorCode::BUSY;
}

bool worthAnotherTry(const Failure& failure) {
    if (failure.exitCode() != kRefused) return false;
    const auto code = static_cast<ErrorCode>(failure.code());
    return code == ErrorCode::TIMED_OUT || code == ErrorCode::IO_ERROR || code == ErrorCode::BUSY;
}

// The dock on which the phone lies, as a word for the journal.
std::string dockName(Context& context) {
    charger::DockPresent dock;
    check(context.service()->isDockPresent(&dock), "presence");
    return fmt::format("{:08x}-{:04x}-{:04x}", static_cast<uint32_t>(dock.id),
                       static_cast<uint32_t>(dock.ptmc), static_cast<uint32_t>(dock.product));
}

// The command line of the update, for the user to repeat.
std::string commandLine(const Context& context, const FirmwareChannel& channel,
                        const UpdateRequest& request, bool resume) {
    std::string line = fmt::format("{} update {}", channel.command(), shellQuoted(request.path));
    if (resume) line += " --resume";
    if (resume && request.unverified) line += " --unverified";
    if (request.compress) line += " --compress";
    if (request.version) {
        line += fmt::format(" --fw-version {}.{}", request.version->major, request.version->minor);
    }
    if (!request.name.empty()) line += " --name " + shellQuoted(request.name);
    if (request.reboot) line += " --reboot";
    if (context.timeoutSeconds > 0) line += fmt::format(" --timeout {:g}", context.timeoutSeconds);
    return line;
}

// One update; its phases are methods, called in order.
class Update {
  public:
    Update(Context& context, FirmwareChannel& channel, const UpdateRequest& request,
           Progress& progress)
        : mContext(context), mChannel(channel), mRequest(request), mProgress(progress) {}

    void prepare() {
        mProgress.phase("prepare", 0, 1);
        mProgress.onInterrupt("interrupted; nothing was sent");
        const FirmwareLimits limits = mChannel.limits(!mRequest.version);
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
        if (!mRequest.version && !limits.running) {
            throw badUsage(
                "--fw-version is required: the dock does not report its running version");
        }
        mVersion = mRequest.version ? *mRequest.version : *limits.running;
        mJournal.emplace(TransferKey{dockName(mContext), mChannel.target(), mRequest.image.size(),
                                     versionText()});
        mDigest = toHex(sha256(sent()));
        int other = 0;
        if (!mJournal->lock(&other) && !mRequest.force) {
            throw Failure(
                kRefused, 0, "UPDATE_RUNNING",
                fmt::format("another update of this dock is running (process {}); --force starts "
                            "this one all the same",
                            other));
        }
        if (mRequest.resume) checkRecord();
    }

    void transfer() {
        mProgress.phase("transfer", 1, 90);
        mHint = "try again with: " + commandLine(mContext, mChannel, mRequest, mRequest.resume);
        mProgress.onInterrupt("interrupted; " + mHint);
        try {
            open();
        } catch (const Failure& failure) {
            if (failure.exitCode() == kRefused && !worthAnotherTry(failure)) {
                mHint = "nothing was sent";
            }
            throw;
        }
        mHint = "continue with: " + commandLine(mContext, mChannel, mRequest, true);
        mProgress.onInterrupt("interrupted; the dock keeps the chunks it has; " + mHint);
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
            if (status == ExecuteStatus::INVALID_IMAGE) suggestStartingOver();
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
                suggestStartingOver();
                throw refused("the dock failed to apply the image");
            }
            if (status.state == ApplyStatus::kIdle) {
                if (status.percent == 100) break;
                suggestStartingOver();
                throw refused("the dock stopped applying the image");
            }
            if (std::chrono::steady_clock::now() > deadline) {
                mHint = "follow it with: " + mChannel.command() + " status";
                throw refused("the dock is still applying the image");
            }
            mProgress.at(status.percent);
            mProgress.pause(kPollInterval);
        }
        mProgress.at(100);
        mHint.clear();
        mJournal->remove();
    }

    // After the update has failed.
    void saveProgress() { mJournal->progress(mAcknowledged, true); }

    std::string versionText() const { return fmt::format("{}.{}", mVersion.major, mVersion.minor); }
    size_t sentBytes() const { return sent().size(); }
    // How to go on after the update has failed; empty if there is nothing to say.
    const std::string& hint() const { return mHint; }

  private:
    const std::vector<uint8_t>& sent() const {
        return mRequest.compress ? mDeflated : mRequest.image;
    }

    uint32_t chunkCount() const {
        return static_cast<uint32_t>((sent().size() + mChunkSize - 1) / mChunkSize);
    }

    // A transfer may be continued only with the data it was begun with.
    void checkRecord() {
        const auto record = mJournal->read();
        if (!record && !mRequest.unverified) {
            throw badUsage(fmt::format(
                "cannot resume: no record of an interrupted transfer of {} bytes as version {} to "
                "this dock, and the dock cannot tell whether its chunks are of the same image; "
                "start over without --resume, or use --resume --unverified if you are sure",
                mRequest.image.size(), versionText()));
        }
        if (record && record->compressed != mRequest.compress) {
            throw badUsage(
                fmt::format("cannot resume: the interrupted transfer was started {} --compress",
                            record->compressed ? "with" : "without"));
        }
        if (record && record->digest != mDigest) {
            throw badUsage(fmt::format(
                "cannot resume: the interrupted transfer is of a different image (SHA-256 {}, "
                "{} of {} bytes sent), and the dock would mix the two; resume with that image, or "
                "start over without --resume",
                printable(record->digest), record->sent, record->total));
        }
        mResumed = record;
        if (record) mAcknowledged = record->sent;
    }

    // Opens the transfer. The record names an image only while the dock has no chunks of another.
    void open() {
        const auto previous = mJournal->read();
        if (!mRequest.resume && previous && previous->digest != mDigest) mJournal->remove();
        bool wasBusy = false;
        retried(isBusy, [&] {
            if (wasBusy) waitWhileApplying();
            wasBusy = true;
            start(!mRequest.resume);
        });
        if (mRequest.resume && !mResumed) return;
        std::string error;
        if (!mJournal->write({mDigest, mRequest.compress, mAcknowledged, sent().size()}, &error)) {
            mContext.note(
                "cannot write the transfer journal, so --resume will need --unverified: " + error);
        }
    }

    // A dock is busy while it applies what an interrupted update has sent.
    void waitWhileApplying() {
        const auto deadline = std::chrono::steady_clock::now() + kApplyLimit;
        while (std::chrono::steady_clock::now() < deadline) {
            const ApplyStatus status = mChannel.applyStatus();
            if (status.state == ApplyStatus::kFailed || status.state == ApplyStatus::kIdle) return;
            mProgress.pause(kPollInterval);
        }
    }

    void suggestStartingOver() {
        mHint = "start over with: " + commandLine(mContext, mChannel, mRequest, false);
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
            mAcknowledged = std::min<uint64_t>(uint64_t{next} * mChunkSize, sent().size());
            mProgress.atBytes(mAcknowledged, sent().size());
            mJournal->progress(mAcknowledged);
        }
    }

    uint32_t sendChunk(uint32_t number, std::span<const uint8_t> data) {
        return retried(worthAnotherTry, [&] { return mChannel.sendChunk(number, data); });
    }

    template <typename Call>
    std::invoke_result_t<Call> retried(bool (*worthIt)(const Failure&), Call call) {
        for (int tries = 1;; ++tries) {
            try {
                return call();
            } catch (const Failure& failure) {
                if (tries > kRetries || !worthIt(failure)) throw;
            }
            mProgress.pause(kPollInterval);
        }
    }

    Context& mContext;
    FirmwareChannel& mChannel;
    const UpdateRequest& mRequest;
    Progress& mProgress;
    std::optional<TransferJournal> mJournal;
    std::optional<TransferRecord> mResumed;
    std::string mDigest;  // of the data to send
    std::string mHint;
    uint64_t mAcknowledged = 0;
    std::vector<uint8_t> mDeflated;
    uint32_t mChunkSize = 1;
    ImageVersion mVersion;
};

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
    Progress progress(context);
    Update update(context, channel, request, progress);
    update.prepare();
    try {
        update.transfer();
        update.apply();
    } catch (const Failure& failure) {
        progress.finish();
        update.saveProgress();
        if (failure.name() == "INTERRUPTED" || update.hint().empty()) throw;
        throw Failure(failure.exitCode(), failure.code(), failure.name(),
                      fmt::format("{}; {}", failure.what(), update.hint()));
    }
    if (request.reboot) channel.reboot();
    progress.finish();
    context.printText(
        fmt::format("done: {} bytes, version {}, {}\n", request.image.size(), update.versionText(),
                    request.reboot ? "the dock restarts"
                                   : "takes effect after: " + channel.command() + " reboot"));
    context.printJson({{"phase", "done"},
                       {"percent", 100},
                       {"imageBytes", request.image.size()},
                       {"sentBytes", update.sentBytes()},
                       {"version", update.versionText()},
                       {"rebooted", request.reboot}});
}

}  // namespace wlc
