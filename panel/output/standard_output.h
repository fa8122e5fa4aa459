#ifndef VELKOR_PANEL_OUTPUT_STANDARD_OUTPUT_H
#define VELKOR_PANEL_OUTPUT_STANDARD_OUTPUT_H

/// Standard output that may be lost before the work is done: a pipe whose reader has gone, a full
/// disk. The one mark of it is a status of the stream that is not Ok.

#include "panel/process/output_stream.h"

namespace panel {

/// To be called first in main(). Writing to a pipe that nobody reads no longer ends the program at
/// once, with files and a terminal as they happen to be; it is an error like another. And what was
/// closed of standard input, output and error is taken up, lest the socket to the PLC gets its
/// number and what is printed.
void prepareStandardOutput();

/// Does what is written to `out`, which is standard output, still arrive? Marks it as lost when the
/// pipe's reader has gone, which is told also when nothing is being written.
bool stillRead(OutputStream& out);

/// The last word of main(): gives back the exit code, or 1 with a message on `err` when output was
/// lost, and 1 without one when what was said on `err`, standard error, was lost. When the pipe's
/// reader has gone it does not return: the program ends as other programs do then, by SIGPIPE
/// without a message, unless it was started with that signal ignored.
int finishOutput(OutputStream& out, OutputStream& err, int exitCode);

} // namespace panel

#endif
