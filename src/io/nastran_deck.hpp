// What the NASTRAN writer and reader share: the node order of each card,
// and the reading of a deck behind the NASTRAN_input overloads.
#pragma once

#include <cstdio>

#include <zeb/dense.hpp>
#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {
namespace detail {

// The local rows that NASTRAN_output writes into the node fields of the
// card of `type`, in field order; `count` is set to their number (0, and
// nullptr returned, for a type without a card).
const unsigned char* nastran_node_rows(element_type type, unsigned& count) noexcept;

// Reads a deck from `f` into the outputs, which are empty (node_ids and
// element_ids may be null when not wanted); on failure every output is
// left empty.  The result codes of NASTRAN_input from -1 on.
int read_nastran_deck(std::FILE* f, dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
                      dense1D<int, 8>& types, dense1D<unsigned, 8>& pids, dense1D<unsigned, 8>* node_ids,
                      dense1D<unsigned, 8>* element_ids) noexcept;

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
