// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "dock/kept_firmware.h"
#include "dock_fixture.h"

namespace virtual_dock::testing {
namespace {

constexpr const char* kStart = "25 00 19000000 0a 80 02 07";
constexpr const char* kChunks[] = {"26 00 0000 00 00010203040506070809",
                                   "26 00 0100 00 0a0b0c0d0e0f10111213",
                                   "26 00 0200 00 1415161718"};

class FirmwareStateTest : public ::testing::Test {
  protected:
    // One life of a dock, whose process then ends without another word.
    void live(const std::vector<Step>& steps) {
        VirtualDock dock;
        std::string problem;
        ASSERT_TRUE(dock.keepFirmware(mFolder, &problem)) << problem;
        expectSteps(&dock, steps);
    }
    std::string problemOfStart() {
        std::string problem;
        EXPECT_FALSE(VirtualDock().keepFirmware(mFolder, &problem));
        return problem;
    }
    ByteVector file() const {
        std::ifstream stream(mFolder + "/firmware", std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    TempFolder mParent;
    const std::string mFolder = mParent / "state";
};

TEST_F(FirmwareStateTest, TransfersVersionsAndExecutionsOutlastTheProcess) {
    live({{std::string("prop ") + kStart, "00000a64"},
          {std::string("prop ") + kChunks[2], "0000001f1c"},
          {std::string("prop ") + kChunks[0], "0001001f1c"},
          {"set firmware.1.execute-ms=4000000 firmware.1.major=5", ""},
          {"prop 25 01 05000000 0a 80 06 00", "01000a64"},
          {"prop 26 01 0000 00 0001020304", "0101001f1c"},
          {"prop 28 01", "0100"},
          {"set legacy.execute-ms 0", ""},
          {"bidi 25 05000000 0a 80 03 01 626f6174", "000a64"},
          {"bidi 26 0000 00 0001020304", "0100"},
          {"bidi 28", "00"}});
    live({{"prop 25 00 19000000 0a 00 02 07", "00010a22"},
          {"prop 27 00", "0001000100"},
          {"prop 29 01", "010200"},
          {"get firmware.1.major", ":5}"},
          {"prop 27 01", "0101000000"},
          {"status", "\"runningName\":\"boat\""},
          {"get legacy.major", ":3}"},
          {"bidi 27", "result 9"},
          {std::string("prop ") + kChunks[1], "0003001f1c"},
          {"set firmware.0.execute-ms 0", ""},
          {"prop 28 00", "0000"}});
    live({{"get info.major", ":2}"},
          {"get info.minor", ":7}"},
          {"status", "\"executedSize\":25,\"executedDigest\":\"b729ce724d9a48d3884dbfcbee1d37"},
          {"prop 27 00", "result 9"},
          {"set firmware.0.max-size 3000000", ""},
          {"prop 25 00 c0c62d00 fc 80 02 07", "0000fc64"}});
    live({{"prop 27 00", "result 9"},  // larger than a dock takes whose settings are new
          {"reset", ""}});
    live({{"get firmware.0.major", ":1}"}, {"status", "\"runningName\":\"desk\""}});
}

TEST_F(FirmwareStateTest, CutAndDamagedFilesGiveWhatIsIntact) {
    const std::vector<uint32_t> order = {2, 0, 1};
    std::vector<size_t> ends;  // of the snapshot, then of each record
    {
        VirtualDock dock;
        std::string problem;
        ASSERT_TRUE(dock.keepFirmware(mFolder, &problem)) << problem;
        perform(&dock, std::string("prop ") + kStart);
        ends.push_back(file().size());
        for (const uint32_t chunk : order) {
            perform(&dock, std::string("prop ") + kChunks[chunk]);
            ends.push_back(file().size());
        }
    }
    const ByteVector whole = file();
    // What is left of a file that is intact up to here.
    const auto expectIntact = [&](const ByteVector& bytes, size_t upTo) {
        KeptFirmware kept;
        size_t intact = 0;
        const bool loaded = decodeKeptFile(bytes, &kept, &intact) == KeptFileState::kOk;
        ASSERT_EQ(loaded, upTo >= ends[0]) << upTo;
        const ImageTransfer& transfer = kept.slots[0].kept.transfer;
        for (size_t i = 0; loaded && i < order.size(); ++i) {
            ASSERT_EQ(transfer.has(order[i]), upTo >= ends[i + 1]) << upTo;
            ASSERT_EQ(transfer.chunk(order[i])[0], upTo >= ends[i + 1] ? order[i] * 10 : 0);
            if (upTo >= ends[i + 1]) {
                ASSERT_GE(intact, ends[i + 1]);
            }
        }
    };
    for (size_t at = 0; at <= whole.size(); ++at) {
        expectIntact({whole.begin(), whole.begin() + static_cast<ptrdiff_t>(at)}, at);
        for (int bit = 0; bit < 8 && at < whole.size(); ++bit) {
            ByteVector flipped = whole;
            flipped[at] ^= static_cast<uint8_t>(1 << bit);
            expectIntact(flipped, at);
        }
        // A lie with the right checksum: anything but a crash.
        for (const uint8_t lie : {0x00, 0x7F, 0x80, 0xFF}) {
            ByteVector lying(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(ends[0]));
            if (at >= ends[0] - 8) break;
            lying[at] = lie;
            uint64_t sum = 0xcbf29ce484222325;
            for (size_t i = 0; i < ends[0] - 8; ++i) sum = (sum ^ lying[i]) * 0x100000001b3;
            writeLe64(sum, &lying[ends[0] - 8]);
            KeptFirmware kept;
            size_t intact = 0;
            if (decodeKeptFile(lying, &kept, &intact) != KeptFileState::kOk) continue;
            EXPECT_LE(kept.slots[0].kept.transfer.bytes().size(), lying.size());
        }
    }
    // The dock itself: a torn record, a damaged snapshot.
    std::filesystem::resize_file(mFolder + "/firmware", whole.size() - 1);
    live({{"prop 27 00", "0001000100"}, {std::string("prop ") + kChunks[1], "0003001f1c"}});
    live({{"prop 27 00", "0003000000"}});
    std::filesystem::resize_file(mFolder + "/firmware", ends[0] - 1);
    EXPECT_EQ(problemOfStart(),
              mFolder + "/firmware is damaged; remove it to start with a new dock");
}

TEST_F(FirmwareStateTest, FolderIsPrivateForOneDockAndItsFileStaysSmall) {
    VirtualDock dock;
    std::string problem;
    ASSERT_TRUE(dock.keepFirmware(mFolder, &problem)) << problem;
    struct stat status;
    ASSERT_EQ(stat(mFolder.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);
    EXPECT_THAT(problemOfStart(), ::testing::HasSubstr("another virtual dock keeps its state in"));
    perform(&dock, std::string("prop ") + kStart);
    const size_t snapshot = file().size();
    const ByteVector chunk(14);  // target, number, tag and 10 bytes
    for (size_t bytes = 0; bytes <= kMaxRecordBytes + 22; bytes += 22) {
        dock.exchange({.operation = Operation::kPropRequest, .type = 26, .request = chunk});
        dock.exchange({.operation = Operation::kPropRequest, .type = 27, .request = {}});
    }
    EXPECT_LT(file().size(), snapshot + 200);
    // Without its folder the dock goes on.
    std::filesystem::remove_all(mFolder);
    expectSteps(&dock, {{std::string("prop ") + kStart, "00000a64"},
                        {std::string("prop ") + kChunks[0], "0001001f1c"}});
}

}  // namespace
}  // namespace virtual_dock::testing
