// The names under which the plug-in asks for headers lead to where this SDK keeps them.
#pragma once

#include "sdk/config_file.h"
#include "sdk/plugin.h"
#include "sdk/records.h"
