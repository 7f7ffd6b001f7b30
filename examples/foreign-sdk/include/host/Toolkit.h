#pragma once

#include "sdk/toolkit/language.h"
#include "sdk/toolkit/system.h"
#include "sdk/toolkit/threads.h"
#include "sdk/toolkit/trace.h"
