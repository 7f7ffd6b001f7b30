// How the kit estimates a card's remaining hours, `CPluginHelper::ComputeRemainingLifeTime`.
//
// The result is the smaller of two estimates: how long the remaining bytes last at the average
// write rate so far, and how long the remaining percentage lasts at the average rate of wear. It is
// 0 when either is used up. An age of 0 counts as one hour. With a rating of 0, which means none,
// only the wear counts. A percentage that is negative as a signed number, of a card with more than
// its full endurance left, counts as 0.
#pragma once

namespace HostKit {

// The longest estimate, in hours; also the result for a card without wear. About 7,000 years:
// until the year 2999, a date that far ahead has four digits.
constexpr unsigned long kLongestLifetimeHours = 61360000;

}  // namespace HostKit
