// The function that the stand-in for a plug-in exports.
#pragma once

__attribute__((visibility("default"))) void SleepWithBoost(long milliseconds);
