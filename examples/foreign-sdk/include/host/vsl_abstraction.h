#pragma once

#include "vendor/cards.h"
