// The rows of known cards.
#pragma once

#include <map>
#include <string>

#include "hostkit/database/Connection.h"
#include "service/state/CardStates.h"
#include "service/state/KnownCard.h"

namespace Service {

// A known card, and what the event log says of it.
struct CardRow {
  KnownCard m_Card;
  CardState m_Logged;
};

// By serial number.
using CardRows = std::map<std::string, CardRow>;

CardRows ReadCardRows(HostKit::Connection& connection);

// Writes those of `rows` that are not in `stored` or differ from it.
void WriteCardRows(HostKit::Connection& connection, const CardRows& stored, const CardRows& rows);

// The card's number in the tables of the history; empty if it is not known.
std::optional<std::int64_t> FindPosition(HostKit::Connection& connection,
                                         const std::string& serial);

}  // namespace Service
