/// The driver's frames against the hand-written ones of tests/vectors/driver_*.txt.

#include "support/exchange.h"
#include "support/frame_vectors.h"

#include "fins/frame_builder.h"
#include "fins/plc_mode.h"

#include <algorithm>
#include <set>

namespace {

const char* const vectorFiles[] = {"driver_other.txt", "driver_reads.txt", "driver_writes.txt"};

std::vector<FrameVector> allVectors() {
    std::vector<FrameVector> all;
    for (const char* file : vectorFiles) {
        const std::vector<FrameVector> cases = loadFrameVectors(VELKOR_VECTORS_DIR, file);
        all.insert(all.end(), cases.begin(), cases.end());
    }
    return all;
}

std::string caseName(const ::testing::TestParamInfo<FrameVector>& info) {
    const std::string kind = info.param.kind;
    return (kind == "read" || kind == "write" ? kind + "_" : "") + info.param.name;
}

class FrameVectors : public Exchange, public ::testing::WithParamInterface<FrameVector> {
protected:
    static VARIABLE requestOf(const FrameVector& vector) {
        return withData(makeRequest(vector.regName.c_str(), vector.addr, vector.count),
                        vector.data);
    }

    /// Node settings through the page that the host sends; the service ID before the wanted one.
    static void prepare(const FrameVector& vector) {
        QString page = QLatin1String("6");
        for (const int node : vector.nodes) {
            page += QLatin1Char(',') + QString::number(node);
        }
        intf_SetDriverPropertyPage(page);
        driver.SID = static_cast<unsigned char>(vector.sid == 0 ? 254 : vector.sid - 1);
    }

    static void build(const FrameVector& vector) {
        if (vector.kind == "read") {
            getReadFrame(requestOf(vector));
        } else if (vector.kind == "write") {
            getWriteFrame(requestOf(vector));
        } else if (vector.kind == "mode") {
            changePLCModeToMonitor();
        } else {
            connectToServer();
        }
    }
};

TEST_P(FrameVectors, built_asWrittenByHand) {
    const FrameVector& vector = GetParam();
    prepare(vector);
    build(vector);
    ASSERT_EQ(1, driver.frameQueue.size());
    const FRAME_PRO& built = driver.frameQueue.at(0);
    EXPECT_EQ(vector.frame, sentBytes(built));
    EXPECT_EQ(vector.sendLen, built.sendLen);
    EXPECT_EQ(vector.rcvLen, built.rcvLen);
    EXPECT_EQ(vector.headLen, built.headLen);
    EXPECT_EQ(vector.dataLen, built.dataLen);
}

TEST_P(FrameVectors, built_zeroBeyondSendLength) {
    const FrameVector& vector = GetParam();
    prepare(vector);
    build(vector);
    ASSERT_EQ(1, driver.frameQueue.size());
    const FRAME_PRO& built = driver.frameQueue.at(0);
    EXPECT_EQ(0, std::count_if(built.frame + vector.sendLen, built.frame + 1024,
                               [](unsigned char byte) { return byte != 0; }));
    EXPECT_EQ(0, built.spare);
}

INSTANTIATE_TEST_SUITE_P(Vectors, FrameVectors, ::testing::ValuesIn(allVectors()), caseName);

/// The files would prove little if they lost their cases.
TEST(FrameVectorFiles, driverFiles_holdReadsAndWritesOfAllRegisters) {
    std::set<std::string> reads;
    std::set<std::string> writes;
    for (const FrameVector& vector : allVectors()) {
        ASSERT_EQ(static_cast<std::size_t>(vector.sendLen), vector.frame.size()) << vector;
        (vector.kind == "read" ? reads : writes).insert(vector.regName);
    }
    for (const char* name : {"CIO_bit", "WR_bit", "HR_bit", "AR_bit", "DM_bit", "CIO", "WR", "HR",
                             "AR", "T", "C", "DM"}) {
        EXPECT_TRUE(reads.count(name)) << "no read of " << name;
        EXPECT_TRUE(writes.count(name)) << "no write of " << name;
    }
}

} // namespace
