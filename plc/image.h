// The PLC's memory as text. A line is an area, the first address and the words from there on:
//
//     # what follows a '#' is a comment
//     DM 100: 04D2 0000 FFFF
//     T 0: 0064
//     T-flag 0: 1 0 1
//
// Areas are CIO, WR, HR, AR, T, C, DM and EM0, words four hex digits; "T-flag" and "C-flag" lines
// hold completion flags, each 0 or 1. What no line names is 0. A byte order mark of UTF-8 before
// the first line is skipped; a NUL byte anywhere is refused.
#pragma once

#include <optional>
#include <string>

#include "plc/memory.h"

namespace plc {

struct ImageError {
    int line = 0;        // from 1
    std::string message; // quotes the file as it is, control characters too
};

// Lines of at most eight words; runs of zeros are left out.
std::string imageText(const Memory& memory);

// Replaces the whole memory, or leaves it alone and says what is wrong.
std::optional<ImageError> readImage(const std::string& text, Memory& memory);

} // namespace plc
