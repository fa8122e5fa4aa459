#ifndef VELKOR_TESTS_SUPPORT_FRAME_VECTORS_H
#define VELKOR_TESTS_SUPPORT_FRAME_VECTORS_H

/// Reads the frames written by hand in tests/vectors/driver_*.txt. The format is told at the top of
/// driver_reads.txt. Knows nothing of the driver, so that any program may be held to the files.

#include <array>
#include <iosfwd>
#include <string>
#include <vector>

struct FrameVector {
    std::string file;
    std::string name;
    std::array<int, 6> nodes = {}; ///< DNA DA1 DA2 SNA SA1 SA2
    int sid = 0;
    std::string kind; ///< "read", "write", "mode" or "node"
    std::string regName;
    int addr = 0;
    int count = 0;
    std::vector<unsigned char> data;
    std::vector<unsigned char> frame;
    int sendLen = 0;
    int rcvLen = 0;
    int headLen = 0;
    int dataLen = 0;
};

std::ostream& operator<<(std::ostream& out, const FrameVector& vector);

/// The cases of one file, in order. Throws std::runtime_error with file, line and what was expected
/// when the file is missing or a line is not understood.
std::vector<FrameVector> loadFrameVectors(const std::string& folder, const std::string& file);

#endif
