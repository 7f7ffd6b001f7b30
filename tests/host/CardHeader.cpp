// The same checks, compiled as C++17.
#include "tests/host/CardHeader.c"
