// The table of `list`: one row per card, with its drive's size.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "console/base/Output.h"
#include "console/model/Model.h"
#include "console/render/Table.h"

namespace Console {

// Returns the cards, those with the most severe status first, and cards with the same severity in
// the order of their positions. The pointers belong to `model`.
std::vector<const Object*> CardsWorstFirst(const Model& model);

// Returns the drives of a card. The pointers belong to `model`.
std::vector<const Object*> DrivesOf(const Model& model, const Object& card);

// Returns a table with one row per card. On a terminal that is wider than 80 columns, it also has
// columns for the PCI address, the name, the drives and the size in binary units. With `isLong`, it
// has all of these columns, and a row for each drive below its card. The cards in `acknowledged`
// are marked.
//
// A reading that is older than the report is followed by a question mark: all readings if `isOld`,
// otherwise those of cards that cannot be read.
Table CardList(const Model& model, const Style& style, bool isLong, bool isOld,
               const std::set<const Object*>& acknowledged);

// Marks the cell of a field if it is a reading that is older than the report.
void MarkOldReading(const Object& object, const std::string& field, bool isOld, Cell& cell);

// Adds "detached" to the cell of the status if the status does not say it because of another
// problem.
void MarkDetached(const Object& object, const std::string& field, Cell& cell);

// Returns a table with the columns `names` and one row per card. If a card lacks a column that
// drives have, its cell shows the value of its drives. With `isLong`, it also has a row for each
// drive. Old readings are marked as in `CardList`. Throws `Failure` for an unknown name.
Table CardListWith(const Model& model, const std::vector<std::string>& names, const Style& style,
                   bool isLong, bool isOld);

}  // namespace Console
