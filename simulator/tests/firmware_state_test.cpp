// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "dock/kept_firmware.h"
#include "dock_fixture.h"

namespace virtual_dock::testing {
namespace {

const std::string kChunks[] = {"prop 26 00 0000 00 00010203040506070809",
                               "prop 26 00 0100 00 0a0b0c0d0e0f10111213",
                               "prop 26 00 0200 00 1415161718"};

class FirmwareStateTest : public ::testing::Test {
  protected:
    // One life of a dock, whose process then ends without another word.
    void live(const std::vector<Step>& steps, const std::string& expectedProblem = {}) {
        VirtualDock dock;
        std::string problem;
        EXPECT_EQ(dock.keepFirmware(mFolder, &problem), expectedProblem.empty());
        EXPECT_EQ(problem, expectedProblem);
        expectSteps(&dock, steps);
    }
    ByteVector file() const {
        std::ifstream stream(mFile, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    TempFolder mParent;
    const std::string mFolder = mParent / "state";
    const std::string mFile = mFolder + "/firmware";
};

TEST_F(FirmwareStateTest, TransfersVersionsAndExecutionsOutlastTheProcess) {
    live({{kStart, "00000a64"},
          {kChunks[2], "0000001f1c"},
          {kChunks[0], "0001001f1c"},
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
          {"status", "\"runningName\":\"boat\""},
          {"get legacy.major", ":3}"},
          {"bidi 27", "result 9"},
          {kChunks[1], "0003001f1c"},
          {"set firmware.0.execute-ms 0", ""},
          {"prop 28 00", "0000"}});
    live({{"get info.major", ":2}"},
          {"status", "\"executedSize\":25,\"executedDigest\":\"b729ce724d9a48d3884dbfcbee1d37"},
          {"prop 27 00", "result 9"},
          {"set firmware.0.max-size 3000000", ""},
          {"prop 25 00 c0c62d00 fc 80 02 07", "0000fc64"}});
    live({{"prop 27 00", "result 9"},  // larger than a dock takes whose settings are new
          {"reset", ""}});
    live({{"get firmware.0.major", ":1}"}, {"status", "\"runningName\":\"desk\""}});
}

TEST_F(FirmwareStateTest, CutAndDamagedFilesGiveWhatIsIntact) {
    live({{kStart, "00000a64"}});
    std::vector<size_t> ends = {file().size()};  // of the snapshot, then of each record
    live({{kChunks[2], "0000001f1c"}, {kChunks[0], "0001001f1c"}, {kChunks[1], "0003001f1c"}});
    const ByteVector whole = file();
    for (const size_t size : {5, 10, 10}) ends.push_back(ends.back() + 12 + size);
    ASSERT_EQ(whole.size(), ends.back());

    // How many chunks of the transfer such a file gives; -1 when it is damaged.
    const auto chunksIn = [](const ByteVector& bytes) {
        KeptFirmware kept;
        size_t intact = 0;
        if (decodeKeptFile(bytes, &kept, &intact) != KeptFileState::kOk) return -1;
        const ImageTransfer& transfer = kept.slots[0].kept.transfer;
        return static_cast<int>(transfer.chunkCount() - transfer.missingCount());
    };
    for (size_t at = 0; at < whole.size(); ++at) {
        const auto intact = std::upper_bound(ends.begin(), ends.end(), at) - ends.begin() - 1;
        const ByteVector cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(at));
        ASSERT_EQ(chunksIn(cut), intact) << at;
        for (int bit = 0; bit < 8; ++bit) {
            ByteVector flipped = whole;
            flipped[at] ^= static_cast<uint8_t>(1 << bit);
            ASSERT_EQ(chunksIn(flipped), intact) << at;
        }
    }
    std::filesystem::resize_file(mFile, whole.size() - 1);
    live({{"prop 27 00", "0001000100"}, {kChunks[1], "0003001f1c"}});
    live({{"prop 27 00", "0003000000"}});
    std::filesystem::resize_file(mFile, ends[0] - 1);
    live({}, mFile + " is damaged; remove it to start with a new dock");
}

TEST_F(FirmwareStateTest, FolderIsForOneDockAndItsFileStaysSmall) {
    VirtualDock dock;
    std::string problem;
    ASSERT_TRUE(dock.keepFirmware(mFolder, &problem)) << problem;
    live({}, "another virtual dock keeps its state in " + mFolder +
                 "; stop it or choose another folder");
    expectSteps(&dock, {{kStart, "00000a64"}});
    const size_t snapshot = file().size();
    const ByteVector chunk(14);  // target, number, tag and 10 bytes
    for (size_t bytes = 0; bytes <= kMaxRecordBytes; bytes += 22) {
        dock.exchange({.operation = Operation::kPropRequest, .type = 26, .request = chunk});
    }
    EXPECT_LE(file().size(), snapshot + 22);
    std::filesystem::remove_all(mFolder);
    expectSteps(&dock, {{kStart, "00000a64"}, {kChunks[0], "0001001f1c"}});  // goes on
}

}  // namespace
}  // namespace virtual_dock::testing
