// Compiled before the plug-in: checks the headers of the host SDK and of the card library.

#include "Corvane/Sdk/CardCheck.h"
#include "Corvane/Sdk/HostCheck.h"
