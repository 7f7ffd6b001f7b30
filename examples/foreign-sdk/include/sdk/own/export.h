#pragma once

#define OWN_EXPORT __attribute__((visibility("default")))
