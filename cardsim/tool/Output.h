// What the program `cardsim` says, and whether it arrived.
#pragma once

#include <stdexcept>
#include <string>

namespace CardSim {

// Keeps the numbers of closed standard streams taken, so that no file of ours gets one of them.
// Writing to them goes on to fail.
void ReserveStandardStreams();

// A line on standard output, made printable.
void Say(const std::string& line);

// The output is lost, such as on a full disk.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws `OutputError` unless all that was said has been written.
void FlushOutput();

// "cardsim: " and the text, made printable, on standard error.
void Complain(const std::string& text);

}  // namespace CardSim
