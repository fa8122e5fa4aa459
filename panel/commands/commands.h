#ifndef VELKOR_PANEL_COMMANDS_COMMANDS_H
#define VELKOR_PANEL_COMMANDS_COMMANDS_H

/// The commands. Each returns the program's exit code.

#include "panel/context/context.h"

namespace panel {

int runRegisters(const Context& context);
int runCheck(const Context& context);
int runLayout(const Context& context);
int runRead(const Context& context);
int runWrite(const Context& context);
int runWatch(const Context& context);
int runRecipe(const Context& context);
int runProbe(const Context& context);

} // namespace panel

#endif
