#include "support/frame_vectors.h"

#include <fstream>
#include <ostream>
#include <sstream>
#include <stdexcept>

namespace {

class VectorFile {
public:
    VectorFile(const std::string& folder, std::string file) : file_(std::move(file)) {
        std::ifstream stream(folder + "/" + file_);
        if (!stream) {
            throw std::runtime_error(folder + "/" + file_ + ": cannot be opened");
        }
        std::string line;
        while (std::getline(stream, line)) {
            ++lineNumber_;
            takeLine(line.substr(0, line.find('#')));
        }
        if (open_) {
            fail("the last case has no \"lengths\" line");
        }
    }

    std::vector<FrameVector> cases;

private:
    [[noreturn]] void fail(const std::string& why) const {
        throw std::runtime_error(file_ + ":" + std::to_string(lineNumber_) + ": " + why);
    }

    void takeLine(const std::string& line) {
        std::istringstream words(line);
        std::string keyword;
        if (!(words >> keyword)) {
            return;
        }
        if (keyword == "nodes") {
            for (int& node : nodes_) {
                words >> node;
            }
        } else if (keyword == "case") {
            startCase(words);
        } else if (!open_) {
            fail("\"" + keyword + "\" outside a case");
        } else {
            takeCaseLine(keyword, words);
        }
        if (words.fail()) {
            fail("a field of \"" + keyword + "\" is missing or not understood");
        }
        std::string rest;
        if (words >> rest) {
            fail("\"" + rest + "\" is too much after \"" + keyword + "\"");
        }
        words.clear();
    }

    void startCase(std::istringstream& words) {
        if (open_) {
            fail("the case before has no \"lengths\" line");
        }
        open_ = true;
        current_ = FrameVector();
        current_.file = file_;
        current_.nodes = nodes_;
        words >> current_.name;
    }

    void takeCaseLine(const std::string& keyword, std::istringstream& words) {
        if (keyword == "sid") {
            words >> current_.sid;
        } else if (keyword == "request") {
            words >> current_.kind;
            if (current_.kind == "read" || current_.kind == "write") {
                words >> current_.regName >> current_.addr >> current_.count;
            } else if (current_.kind != "mode" && current_.kind != "node") {
                fail("a request is read, write, mode or node, not \"" + current_.kind + "\"");
            }
        } else if (keyword == "data") {
            takeBytes(words, current_.data);
        } else if (keyword == "frame") {
            takeBytes(words, current_.frame);
        } else if (keyword == "lengths") {
            words >> current_.sendLen >> current_.rcvLen >> current_.headLen >> current_.dataLen;
            cases.push_back(current_);
            open_ = false;
        } else {
            fail("unknown keyword \"" + keyword + "\"");
        }
    }

    void takeBytes(std::istringstream& words, std::vector<unsigned char>& bytes) {
        std::string text;
        while (words >> text) {
            std::size_t used = 0;
            const unsigned long value = std::stoul(text, &used, 16);
            if (text.size() != 2 || used != 2) {
                fail("\"" + text + "\" is no byte of two hex digits");
            }
            bytes.push_back(static_cast<unsigned char>(value));
        }
        words.clear();
    }

    std::string file_;
    int lineNumber_ = 0;
    bool open_ = false;
    std::array<int, 6> nodes_ = {};
    FrameVector current_;
};

} // namespace

std::ostream& operator<<(std::ostream& out, const FrameVector& vector) {
    return out << vector.file << ": " << vector.name;
}

std::vector<FrameVector> loadFrameVectors(const std::string& folder, const std::string& file) {
    return VectorFile(folder, file).cases;
}
