// What a process must have before the program can work in it.
#pragma once

#include <QtCore/QString>

namespace plc {

// Empty, or what stands in the way. To be called first of all, before anything is opened.
//
// Afterwards descriptors 0 to 2 are taken, so that no file or socket of the program gets one of
// them and what is said goes nowhere else; a write to a closed pipe and a file that may not grow
// are errors to be told instead of signals that end the program and lose its memory.
QString prepareProcess();

} // namespace plc
