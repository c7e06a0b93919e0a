// Plexa file writers: the options every text writer takes as its last
// argument.
#pragma once

namespace zeb {
namespace plexa {

// The `digits` that asks for the shortest text of each number.
constexpr int SHORTEST_DIGITS = -1;

struct write_options {
  // How many significant digits the real numbers of the file get:
  //   0                the format's own layout, as each writer documents it
  //                    ("%E": 7 digits; "%f": 6 decimals), the default;
  //   1 to 17          that many, in exponent form ("%.<digits-1>E");
  //   SHORTEST_DIGITS  the shortest text that reads back as the same double
  //                    ("0.1", "1e-07", "-2"), so that nothing is lost.
  // In a field of fixed width (NASTRAN's large field of 16 characters,
  // EnSight's 12) a number gets as many of those digits as its field holds,
  // in the exponent form of the format.  Other values write the default
  // layout.
  int digits = 0;
};

}  // namespace plexa
}  // namespace zeb
