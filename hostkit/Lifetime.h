// How `CPluginHelper::ComputeRemainingLifeTime` estimates a card's remaining hours.
//
// The result is the smaller of two estimates: how long the remaining bytes last at the average
// write rate so far, and how long the remaining percentage lasts at the average rate of wear. It is
// 0 once the bytes or the percentage are used up. An age of 0 counts as one hour. A rating of 0
// means that the card has none, and only the wear counts. The used percentage is treated as signed:
// a negative one, of a card with more than its full endurance left, counts as 0.
#pragma once

namespace HostKit {

// The longest estimate, in hours; also the result for a card without wear. About 7,000 years, so
// that an end-of-life date computed before the year 3000 has a four-digit year.
constexpr unsigned long kMaxLifetimeHours = 61360000;

}  // namespace HostKit
