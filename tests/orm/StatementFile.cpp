#include "tests/orm/StatementFile.h"

#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

#include "tests/orm/Database.h"
#include "tests/orm/Rows.h"

using DatabaseORM::is_equal;
using DatabaseORM::where;

namespace {

using Words = std::vector<std::string>;

Words Split(const std::string& text, const char* separators) {
  Words words;
  if (!text.empty()) boost::split(words, text, boost::is_any_of(separators));
  return words;
}

void Read(const std::string& text, int& value) {
  value = std::stoi(text);
}
void Read(const std::string& text, unsigned long& value) {
  value = std::stoul(text);
}
void Read(const std::string& text, double& value) {
  value = std::stod(text);
}
void Read(const std::string& text, std::string& value) {
  value = text;
}
void Read(const std::string& text, string_list& value) {
  value = Split(text, ",");
}

std::string ToText(int value) {
  return value == null_int ? "null" : std::to_string(value);
}
std::string ToText(unsigned long value) {
  return value == null_ulong ? "null" : std::to_string(value);
}
std::string ToText(double value) {
  std::ostringstream text;
  text << value;
  return value == null_double ? "null" : text.str();
}
std::string ToText(const std::string& value) {
  return value;
}
std::string ToText(string_list value) {
  std::replace(value.begin(), value.end(), std::string(), std::string("\"\""));
  return "[" + boost::join(value, ",") + "]";
}

template <class Row>
std::string RowText(const Row& row) {
  std::string text = "row";
  Row::Columns([&](const char* column, auto member) {
    text += std::string(" ") + column + "=" + ToText(row.*member);
  });
  return text + "\n";
}

TableSetup SetupOf(const StatementCase& given) {
  TableSetup setup;
  for (const auto& [keyword, arguments] : given.lines) {
    if (keyword == "map") setup.hasMap = arguments != "none";
    if (keyword != "table") continue;
    const Words words = Split(arguments, " ");
    setup.name = words.at(0);
    setup.hasTable = setup.name != "none";
    setup.autoKey = std::count(words.begin(), words.end(), "auto") != 0;
    setup.foreignKeys = std::count(words.begin(), words.end(), "foreign") != 0;
  }
  return setup;
}

template <class Row>
class Runner {
 public:
  explicit Runner(const StatementCase& given)
      : m_pDatabase(std::make_shared<ScriptedDatabase>()),
        m_Storage(StorageOf<Row>(m_pDatabase, SetupOf(given))) {
    // An unsigned long key must be in the last column.
    if constexpr (std::is_same_v<Row, WideKey>) {
      const auto table = TableOf<Row>(SetupOf(given));
      std::swap(table->columns.front()->autoIncrement, table->columns.back()->autoIncrement);
      m_Storage.tables = {table};
    }
  }

  std::string Run(const StatementCase& given) {
    std::string outcome;
    for (const auto& [keyword, arguments] : given.lines) {
      if (keyword == "set") Set(arguments);
      if (keyword == "answer") m_pDatabase->Answer(Split(arguments, "|"));
      if (keyword == "fail") m_pDatabase->Fail(arguments);
      if (keyword == "do") outcome = Outcome(Split(arguments, " "));
    }
    std::string text;
    for (const std::string& sql : m_pDatabase->sent) text += "sent " + sql + "|\n";
    return text + outcome + (m_Storage.useAlias ? "" : "the alias stays off\n");
  }

 private:
  void Set(const std::string& arguments) {
    const auto blank = arguments.find(' ');
    const std::string column = arguments.substr(0, blank);
    const std::string value = blank == std::string::npos ? "" : arguments.substr(blank + 1);
    bool found = false;
    Row::Columns([&](const char* name, auto member) {
      if (name != column) return;
      Read(value, m_Row.*member);
      found = true;
    });
    if (!found) throw std::runtime_error("no column " + column);
  }

  std::string Outcome(const Words& command) {
    try {
      return Do(command);
    } catch (const DBEXCEPTION::DatabaseException& exception) {
      return std::string("throws ") + exception.what() + "\n";
    }
  }

  std::string Do(const Words& command) {
    if (command.at(0) == "insert") return ResultLine(m_Storage.insert(m_Row));
    if (command.at(0) == "max") return Max(command.at(1));
    if (command.at(0) == "update") {
      m_Storage.update(m_Row);
      return "";
    }
    return WithCondition(command);
  }

  template <class Number>
  std::string ResultLine(Number number) {
    return "returns " + std::to_string(number) + "\n";
  }

  std::string Max(const std::string& column) {
    std::string text;
    Row::Columns([&](const char* name, auto member) {
      using Field = std::decay_t<decltype(m_Row.*member)>;
      if constexpr (std::is_same_v<Field, int> || std::is_same_v<Field, unsigned long>) {
        if (name == column) text = ResultLine(m_Storage.max(member));
      }
    });
    return text;
  }

  std::string WithCondition(const Words& command) {
    if constexpr (std::is_same_v<Row, Place>) {
      const auto number = [&](std::size_t at) {
        return is_equal(&Place::number, std::stoi(command.at(at)));
      };
      const auto host = [&](std::size_t at) {
        return is_equal(&Place::host, command.at(at).c_str());
      };
      const auto name = [&](std::size_t at) { return is_equal(&Place::name, command.at(at)); };
      const std::string& kind = command.at(1);
      if (kind == "number-host") return Perform(command[0], where(number(2) and host(3)));
      if (kind == "name-host") return Perform(command[0], where(name(2) and host(3)));
      if (kind == "all-three") {
        return Perform(command[0], where(number(2) and host(3) and name(4)));
      }
      if (kind == "number") return Perform(command[0], where(number(2)));
      if (kind == "name") return Perform(command[0], where(name(2)));
    } else if constexpr (std::is_same_v<Row, Everything> || std::is_same_v<Row, Item>) {
      return Perform(command[0], where(is_equal(&Row::id, std::stoi(command.at(2)))));
    }
    throw std::runtime_error("unknown verb or condition: " + boost::join(command, " "));
  }

  template <class Condition>
  std::string Perform(const std::string& verb, Condition condition) {
    if (verb == "remove") {
      m_Storage.remove_all<Row>(condition);
      return "";
    }
    std::string text;
    for (const Row& row : m_Storage.get_all<Row>(condition)) text += RowText(row);
    return text.empty() ? "no rows\n" : text;
  }

  std::shared_ptr<ScriptedDatabase> m_pDatabase;
  DatabaseORM::storage_t m_Storage;
  Row m_Row;
};

template <class Row>
std::string RunAs(const StatementCase& given) {
  return Runner<Row>(given).Run(given);
}

void ReadLine(const std::string& line, StatementCase& current) {
  const auto blank = line.find(' ');
  const std::string keyword = line.substr(0, blank);
  const std::string arguments = blank == std::string::npos ? "" : line.substr(blank + 1);
  if (!current.lines.empty() && current.lines.back().first == "do") {
    current.expected += line + "\n";
  } else if (keyword == "case") {
    current.name = arguments;
  } else if (keyword == "row") {
    current.row = arguments;
  } else {
    current.lines.emplace_back(keyword, arguments);
  }
}

std::vector<StatementCase> ReadStatementFile(const std::filesystem::path& file) {
  std::vector<StatementCase> cases;
  std::ifstream input(file);
  StatementCase current;
  for (std::string line; std::getline(input, line) || !current.name.empty(); line.clear()) {
    if (!line.empty()) {
      ReadLine(line, current);
    } else if (!current.name.empty()) {
      current.file = file.stem().string();
      if (current.expected.empty()) throw std::runtime_error("no expected result: " + current.name);
      cases.push_back(std::exchange(current, {}));
    }
  }
  return cases;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const StatementCase& shown) {
  return out << shown.file << ": " << shown.name;
}

std::vector<StatementCase> ReadStatementFiles(const std::string& directory) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  std::vector<StatementCase> cases;
  for (const auto& file : files) {
    for (const auto& found : ReadStatementFile(file)) cases.push_back(found);
  }
  if (cases.empty()) throw std::runtime_error("no statements in " + directory);
  return cases;
}

std::string RunStatementCase(const StatementCase& given) {
  static const std::map<std::string, std::string (*)(const StatementCase&)> types = {
      {"Item", RunAs<Item>},       {"OnlyKey", RunAs<OnlyKey>},
      {"Place", RunAs<Place>},     {"Everything", RunAs<Everything>},
      {"WideKey", RunAs<WideKey>}, {"LeadingUlong", RunAs<LeadingUlong>},
      {"TwoKeys", RunAs<TwoKeys>}};
  return types.at(given.row)(given);
}
