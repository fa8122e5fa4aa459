// The code of docs/host-layer.md, compiled as it stands there, before anything else is included.
#include "host_layer_code.inc"
