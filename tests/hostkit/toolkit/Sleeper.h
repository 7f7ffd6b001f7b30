// A sleep in a library that, like a plug-in, does not link the kit.
#pragma once

__attribute__((visibility("default"))) void SleepWithBoost(long milliseconds);
