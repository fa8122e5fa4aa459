#ifndef VELKOR_PANEL_OUTPUT_EXIT_CODE_H
#define VELKOR_PANEL_OUTPUT_EXIT_CODE_H

namespace panel {

enum ExitCode { EXIT_DONE = 0, EXIT_WORK_FAILED = 1, EXIT_WRONG_USAGE = 2 };

} // namespace panel

#endif
