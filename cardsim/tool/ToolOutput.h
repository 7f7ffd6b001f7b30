// Standard output and standard error of the program `cardsim`. For its only thread.
#pragma once

#include <stdexcept>
#include <string>

namespace CardSim {

// Occupies the numbers of closed standard streams, so that no file of ours gets one of them.
// Writing to such a stream still fails.
void ReserveStandardStreams();

// Prints a line on standard output, made printable. A failed write is reported by `FlushOutput`.
void PrintLine(const std::string& line);

// The output was lost, for example because the disk is full.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws `OutputError` unless everything printed so far has been written.
void FlushOutput();

// Prints "cardsim: " and the text, made printable, on standard error.
void PrintError(const std::string& text);

}  // namespace CardSim
