// Standard output and standard error of the program `cardsim`. Not thread-safe.
#pragma once

#include <stdexcept>
#include <string>

namespace CardSim {

// Occupies the descriptors of closed standard streams, so that no other file gets one of them.
// Reading or writing such a stream still fails.
void ReserveStandardStreams();

// Prints a line on standard output, with unsafe characters escaped. A failed write is reported by
// `FlushOutput`.
void PrintLine(const std::string& line);

// Thrown when output was lost, for example because the disk is full.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws `OutputError` unless everything printed so far has been written.
void FlushOutput();

// Prints "cardsim: " and the text on standard error, with unsafe characters escaped.
void PrintError(const std::string& text);

}  // namespace CardSim
