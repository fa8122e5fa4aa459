// Feeds files to a fuzzing target, one by one: the inputs that fuzzing has found, as ordinary
// tests, with any compiler.
//
// Usage: PROGRAM FILE_OR_FOLDER...
// Exit codes: 0 every input has run, 1 one cannot be read or there is none, 2 wrong usage. A
// finding ends the process by a signal; the input's name stands above it.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace {

namespace fs = std::filesystem;

/// The files of a folder in the order of their names; a file as it is.
std::vector<fs::path> inputsAt(const fs::path& path) {
    std::vector<fs::path> inputs;
    std::error_code error;
    for (fs::directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error)) {
        inputs.push_back(entry->path());
    }
    if (error) {
        return {path};
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

bool replay(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> read((std::istreambuf_iterator<char>(file)),
                                 std::istreambuf_iterator<char>());
    if (!file || fs::is_directory(path)) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    std::fprintf(stderr, "%s, %zu bytes\n", path.c_str(), read.size());
    // A copy of exactly that size: a sanitizer sees a read beyond it.
    const std::vector<std::uint8_t> bytes(read.begin(), read.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return true;
}

} // namespace

int main(int count, char** arguments) {
    if (count < 2) {
        std::fprintf(stderr, "usage: %s FILE_OR_FOLDER...\n", arguments[0]);
        return 2;
    }
    std::size_t replayed = 0;
    for (int i = 1; i < count; ++i) {
        for (const fs::path& input : inputsAt(arguments[i])) {
            if (!replay(input)) {
                return 1;
            }
            ++replayed;
        }
    }
    std::printf("%zu inputs replayed\n", replayed);
    if (replayed == 0) {
        std::fprintf(stderr, "no input; right is a file or a folder of files\n");
        return 1;
    }
    return 0;
}
