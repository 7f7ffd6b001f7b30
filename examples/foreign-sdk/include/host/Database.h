#pragma once

#include "sdk/database.h"
