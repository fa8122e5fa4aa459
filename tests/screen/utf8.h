#ifndef VELKOR_TESTS_SCREEN_UTF8_H
#define VELKOR_TESTS_SCREEN_UTF8_H

/// Whoever includes this measures texts in UTF-8, whatever the environment says.

#include "panel/text.h"

#include <clocale>

inline const bool UTF8_IS_SET = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr;

#endif
