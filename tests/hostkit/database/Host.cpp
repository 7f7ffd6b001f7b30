// A host that executes commands, one per line of standard input, and prints the result of each:
//
//   open         opens the database set by the environment
//   fill N       inserts the rows of N adapters, as a plug-in does when it starts
//   name TEXT    sets the name of adapter 0, as a plug-in does when a card has changed
//   log          appends an event
//   count        prints the number of adapters that this host sees
//   end          exits
#include <iostream>
#include <string>

#include "hostkit/EventLog.h"
#include "models/Adapter.h"
#include "orm/storage.h"

namespace {

using RaidDataModels::Adapter;

auto WithNumber(int number) {
  using DatabaseORM::is_equal;
  return DatabaseORM::where(is_equal(&Adapter::adapterNumber, number) and
                            is_equal(&Adapter::hostName, "localhost"));
}

void Fill(int count) {
  Adapter row;
  row.hostName = "localhost";
  for (row.adapterNumber = 0; row.adapterNumber < count; ++row.adapterNumber) {
    getDatabasePointer()->insert(row);
  }
}

void SetName(const std::string& name) {
  const auto rows = getDatabasePointer()->get_all<Adapter>(WithNumber(0));
  if (rows.empty()) return;
  Adapter row = rows.front();
  row.name = name;
  getDatabasePointer()->update(row);
}

std::string Run(const std::string& command) {
  const std::string verb = command.substr(0, command.find(' '));
  const std::string argument = command.substr(std::min(command.size(), verb.size() + 1));
  if (verb == "open") getDatabasePointer();
  if (verb == "fill") Fill(std::stoi(argument));
  if (verb == "name") SetName(argument);
  if (verb == "log") HostKit::AppendEvents({HostKit::LogEntryFor(PI::CEvent())});
  if (verb == "count") {
    return getDatabasePointer()->dao->query("SELECT COUNT(*) FROM host_adapter_rows").at(0);
  }
  return "done";
}

}  // namespace

int main() {
  for (std::string command; std::getline(std::cin, command) && command != "end";) {
    try {
      std::cout << Run(command) << std::endl;
    } catch (const DBEXCEPTION::DatabaseException& exception) {
      std::cout << exception.what() << std::endl;
    }
  }
}
