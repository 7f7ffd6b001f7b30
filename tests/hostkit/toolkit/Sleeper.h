// What the stand-in of a plug-in exports.
#pragma once

__attribute__((visibility("default"))) void SleepWithBoost(long milliseconds);
