// A host that executes commands, one per line of standard input, and prints the result of each:
//
//   open         opens the database that the environment names
//   fill N       writes the rows of N adapters, as a plug-in does at its start
//   name TEXT    names adapter number 0 so, as a plug-in does when a card has changed
//   count        prints how many adapters it sees
//   end          ends
#include <iostream>
#include <string>

#include "models/Adapter.h"
#include "orm/storage.h"

namespace {

using RaidDataModels::Adapter;

auto OfNumber(int number) {
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

void GiveName(const std::string& name) {
  const auto rows = getDatabasePointer()->get_all<Adapter>(OfNumber(0));
  if (rows.empty()) return;
  Adapter row = rows.front();
  row.name = name;
  getDatabasePointer()->update(row);
}

std::string Do(const std::string& order) {
  const std::string word = order.substr(0, order.find(' '));
  const std::string rest = order.substr(std::min(order.size(), word.size() + 1));
  if (word == "open") getDatabasePointer();
  if (word == "fill") Fill(std::stoi(rest));
  if (word == "name") GiveName(rest);
  if (word == "count") {
    return getDatabasePointer()->dao->query("SELECT COUNT(*) FROM host_adapter_rows").at(0);
  }
  return "done";
}

}  // namespace

int main() {
  for (std::string order; std::getline(std::cin, order) && order != "end";) {
    try {
      std::cout << Do(order) << std::endl;
    } catch (const DBEXCEPTION::DatabaseException& exception) {
      std::cout << exception.what() << std::endl;
    }
  }
}
