// A graph of values over time, drawn with characters.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Console {

struct GraphStyle {
  std::size_t m_Columns = 80;  // of the complete graph
  std::size_t m_Rows = 8;      // of the plot, without the axis
  bool m_Ascii = false;
  double m_MinSpan = 8;  // minimum span of the scale, so that noise appears as a flat line
  std::string m_From;    // label of the first value
  std::string m_To;      // label of the end of the last one
  std::function<std::string(double)> m_Label;  // formats a value for the scale
};

// Draws the values from left to right at equal intervals, with a scale on the left and a time axis
// below; NaN values leave a gap. The plot uses Braille characters, or asterisks in ASCII. Every
// line ends with a line feed, and none is longer than the style's columns unless these are fewer
// than 20. Returns an empty string if no value is a number.
std::string DrawGraph(const std::vector<double>& values, const GraphStyle& style);

}  // namespace Console
