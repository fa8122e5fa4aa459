// The code of docs/host-guide.md, compiled as it stands there.
#include "host_guide_code.inc"
