// How the kit estimates the hours that a card has left, `CPluginHelper::ComputeRemainingLifeTime`.
//
// The result is the smaller of what the bytes left last at the average rate of writing so far, and
// of what the per cent left last at the average rate of wear; 0 when the card is worn out by
// either. An age of 0 counts as one hour. Without a rating, which is 0 then, only the wear counts.
// A per cent that is negative as a signed number, of a card with more than all its endurance left,
// counts as 0.
#pragma once

namespace HostKit {

// The most that it gives, also when no wear is seen yet. About 7,000 years: a date that far ahead
// still has four digits until the year 2999.
constexpr unsigned long kLongestLifetimeHours = 61360000;

}  // namespace HostKit
