// What the substitute for a plug-in exports.
#pragma once

__attribute__((visibility("default"))) void SleepWithBoost(long milliseconds);
