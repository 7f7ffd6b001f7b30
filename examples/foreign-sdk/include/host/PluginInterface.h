// The plug-in includes headers by these names. They include the headers of this SDK.
#pragma once

#include "sdk/config_file.h"
#include "sdk/plugin.h"
#include "sdk/records.h"
