// The rows of known cards.
#pragma once

#include <map>
#include <string>

#include "hostkit/database/Connection.h"
#include "service/state/CardStates.h"
#include "service/state/KnownCard.h"

namespace Service {

// A known card, and its state according to the event log.
struct CardRow {
  KnownCard m_Card;
  CardState m_Logged;
};

// Rows by serial number.
using CardRows = std::map<std::string, CardRow>;

CardRows ReadCardRows(HostKit::Connection& connection);

// Writes the rows that are missing from `stored` or differ from it.
void WriteCardRows(HostKit::Connection& connection, const CardRows& stored, const CardRows& rows);

// Returns the card's position, which identifies it in the history tables, or empty if the card is
// not known.
std::optional<std::int64_t> FindPosition(HostKit::Connection& connection,
                                         const std::string& serial);

}  // namespace Service
