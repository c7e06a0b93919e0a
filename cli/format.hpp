// Number formatting for the tool's output, independent of the C and C++
// locales: a decimal point is always '.', and no digit grouping.
#pragma once

namespace plexa_cli {

struct number_text {
  char text[32];
};

// Shortest text that reads back as the same double ("0.5", "-2", "1e-07",
// "inf", "nan").
number_text format_number(double value);

// `digits` significant digits (1 to 17), trailing zeros dropped ("0.866025",
// "1", "-0.5", "1e-07", "nan").
number_text format_number(double value, int digits);

}  // namespace plexa_cli
