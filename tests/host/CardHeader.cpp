// The same checks as C++17.
#include "tests/host/CardHeader.c"
