// Reading a bulk-data deck: lines cut into fields (small, large and free
// field), fields numbered across continuation lines, the cards of the mesh
// parsed as their fields arrive, then points, systems and elements put
// together.
//
// Only the cards of the vocabulary keep anything: their fields up to the
// last one read (MAX_FIELD) are parsed by position into integers or reals
// as the line is met, so that no text is kept between lines.  Other cards,
// with their continuations, are passed over without looking at their
// fields.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/element_model.hpp"
#include "core/result_codes.hpp"
#include "io/common/line_reader.hpp"
#include "io/common/mesh_assembly.hpp"
#include "io/common/number_parse.hpp"
#include "io/nastran_deck.hpp"
#include "io/nastran_systems.hpp"

namespace zeb {
namespace plexa {
namespace detail {

namespace {

enum class card_kind : unsigned char { other, grid, cord2r, cord2c, cord2s, element };

// An element card: where its nodes are and the node counts it takes.
struct element_card {
  const char* name;
  unsigned char slots;  // node fields G1 to G<slots>, from field 3
  unsigned char forms;  // number of node counts it takes
  unsigned char counts[3];
  element_type types[3];
};

constexpr element_card element_cards[] = {
    {"CBAR", 2, 1, {2}, {ELT_EDGE2}},
    {"CBEAM", 2, 1, {2}, {ELT_EDGE2}},
    {"CROD", 2, 1, {2}, {ELT_EDGE2}},
    {"CTRIA", 3, 1, {3}, {ELT_TRIA3}},
    {"CTRIA3", 3, 1, {3}, {ELT_TRIA3}},
    {"CTRIA6", 6, 2, {3, 6}, {ELT_TRIA3, ELT_TRIA6}},
    {"CQUAD", 9, 3, {4, 8, 9}, {ELT_QUAD4, ELT_QUAD8, ELT_QUAD9}},
    {"CQUAD4", 4, 1, {4}, {ELT_QUAD4}},
    {"CQUAD8", 8, 2, {4, 8}, {ELT_QUAD4, ELT_QUAD8}},
    {"CTETRA", 10, 2, {4, 10}, {ELT_TETRA4, ELT_TETRA10}},
    {"CPYRA", 13, 2, {5, 13}, {ELT_PYRA5, ELT_PYRA13}},
    {"CPYRAM", 13, 2, {5, 13}, {ELT_PYRA5, ELT_PYRA13}},
    {"CPENTA", 15, 2, {6, 15}, {ELT_WEDGE6, ELT_WEDGE15}},
    {"CHEXA", 20, 2, {8, 20}, {ELT_HEXA8, ELT_HEXA20}},
};

// The last field position read: G20 of CHEXA.
constexpr unsigned MAX_FIELD = 22;
// Longest text of a free field that is read as a number.
constexpr unsigned NUMBER_TEXT_MAX = 64;

constexpr char upper(char c) noexcept { return c >= 'a' && c <= 'z' ? char(c - ('a' - 'A')) : c; }
constexpr bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }
constexpr bool is_blank(char c) noexcept { return is_c_space(c); }

// [a, b) without the blanks around it.
void trim(const char*& a, const char*& b) noexcept {
  while (a < b && is_blank(*a)) ++a;
  while (b > a && is_blank(b[-1])) --b;
}

// Whether [a, b) starts with `word` (upper case), in any case, followed by
// the end or a character that cannot continue a word.
bool starts_with_word(const char* a, const char* b, const char* word) noexcept {
  for (; *word; ++a, ++word)
    if (a == b || upper(*a) != *word) return false;
  return a == b || !(is_digit(*a) || (upper(*a) >= 'A' && upper(*a) <= 'Z') || *a == '_');
}

// A decimal integer field in [0, 4294967295].
bool parse_unsigned(const char* a, const char* b, std::uint64_t& value) noexcept {
  std::int64_t v;
  if (!parse_integer(a, b, 0, 0xFFFFFFFF, v)) return false;
  value = std::uint64_t(v);
  return true;
}

// A real field in the NASTRAN forms: [sign] digits [. digits], then
// nothing, or E or D with an optional sign and digits, or a sign and
// digits.  The text is rewritten as "%lg" takes it and converted by the
// shared reader, so that the value is exact and locale-free.
bool parse_real(const char* a, const char* b, double& value) noexcept {
  if (b - a > long(NUMBER_TEXT_MAX)) return false;
  char text[NUMBER_TEXT_MAX + 4];
  unsigned n = 0;
  if (a < b && (*a == '+' || *a == '-')) text[n++] = *a++;
  unsigned digits = 0;
  for (; a < b && is_digit(*a); ++a, ++digits) text[n++] = *a;
  if (a < b && *a == '.') {
    text[n++] = *a++;
    for (; a < b && is_digit(*a); ++a, ++digits) text[n++] = *a;
  }
  if (digits == 0) return false;
  if (a < b) {
    char sign = '+';
    const char c = upper(*a);
    if (c == 'E' || c == 'D') {
      ++a;
      if (a < b && (*a == '+' || *a == '-')) sign = *a++;
    } else if (c == '+' || c == '-') {
      sign = *a++;
    } else {
      return false;
    }
    text[n++] = 'e';
    text[n++] = sign;
    const unsigned before = n;
    for (; a < b && is_digit(*a); ++a) text[n++] = *a;
    if (n == before || a != b) return false;
  }
  return convert_double(number_text{text, text + n}, value);
}

class deck_reader {
 public:
  deck_reader() noexcept : mesh_(3) {}

  // One line of the file, [s, e) with *e == '\0'; `truncated` when it was
  // cut.  Returns 0 or a result code.
  int line(char* s, char* e, bool truncated) noexcept;
  // Ends the card being read (at a new card or the end of the file).
  int finish_card() noexcept;

  bool any_card() const noexcept { return any_card_; }
  bool begin_bulk() const noexcept { return begin_bulk_; }
  bool ended() const noexcept { return ended_; }

  mesh_assembly& mesh() noexcept { return mesh_; }
  coordinate_systems& systems() noexcept { return systems_; }
  // (ID << 32 | CP) of the points whose CP is not 0.
  dense1D<std::uint64_t, 8>& placed() noexcept { return placed_; }

 private:
  int fixed_line(const char* s, const char* e) noexcept;
  int free_line(const char* s, const char* e, const char* comma, bool truncated) noexcept;
  // Starts a card at a line whose first field is [a, b), or goes on with
  // the open one: sets `large` (the line is in large field) and `read`
  // (its fields are read: a card of the vocabulary is open).  Returns 0, or
  // the code of the card that a new one ends.
  int begin_line(const char* a, const char* b, bool& large, bool& read) noexcept;
  // The position of the first field of a line of the open card.
  unsigned place_line(bool large) noexcept {
    unsigned first;
    if (large && next_ % 8 == 5)
      first = next_;  // the second half of a pair of large-field lines
    else
      first = (next_ + 6) / 8 * 8 + 1;
    next_ = first + (large ? 4 : 8);
    return first;
  }
  // Field `k` of the open card, [a, b) trimmed.
  int field(unsigned k, const char* a, const char* b) noexcept;

  mesh_assembly mesh_;
  coordinate_systems systems_;
  dense1D<std::uint64_t, 8> placed_;

  card_kind kind_ = card_kind::other;
  const element_card* element_ = nullptr;
  bool open_ = false;  // a card of the vocabulary is being read
  unsigned next_ = 1;  // position of the next field
  bool given_[MAX_FIELD + 1];
  std::uint64_t ints_[MAX_FIELD + 1];
  double reals_[MAX_FIELD + 1];

  bool any_card_ = false, begin_bulk_ = false, ended_ = false;
};

int deck_reader::line(char* s, char* e, bool truncated) noexcept {
  if (void* dollar = std::memchr(s, '$', std::size_t(e - s))) {
    e = static_cast<char*>(dollar);
    truncated = false;  // what was cut is comment
  }
  while (e > s && is_blank(e[-1])) --e;
  if (e == s) return 0;
  any_card_ = true;

  // Statements recognised on the line as a whole.
  const char* p = s;
  while (is_blank(*p)) ++p;
  switch (upper(*p)) {
    case 'E':
      if (starts_with_word(p, e, "ENDDATA")) {
        ended_ = true;
        return finish_card();
      }
      break;
    case 'B':
      if (starts_with_word(p, e, "BEGIN")) {
        const char* q = p + 5;
        while (q < e && is_blank(*q)) ++q;
        if (q > p + 5 && starts_with_word(q, e, "BULK")) {
          // What came before is the executive and case control decks.
          open_ = false;
          begin_bulk_ = true;
          mesh_ = mesh_assembly(3);
          systems_.clear();
          placed_.clear();
          return 0;
        }
      }
      break;
    case 'I':
      if (starts_with_word(p, e, "INCLUDE")) return -4;
      break;
    default:
      break;
  }

  if (const void* comma = std::memchr(s, ',', std::size_t(e - s)))
    return free_line(s, e, static_cast<const char*>(comma), truncated);
  return fixed_line(s, e);
}

int deck_reader::begin_line(const char* a, const char* b, bool& large, bool& read) noexcept {
  trim(a, b);
  const bool continuation = a == b || *a == '+' || *a == '*';
  if (continuation) {
    large = a < b && *a == '*';
    read = open_;
    return 0;
  }
  if (const int r = finish_card()) return r;
  large = b[-1] == '*';
  if (large) --b;
  // The card's name, in upper case.
  char name[8];
  const unsigned length = unsigned(b - a);
  kind_ = card_kind::other;
  element_ = nullptr;
  if (length >= 4 && length <= 6) {
    for (unsigned k = 0; k < length; ++k) name[k] = upper(a[k]);
    auto is = [&](const char* word) { return std::strlen(word) == length && std::memcmp(name, word, length) == 0; };
    if (is("GRID")) {
      kind_ = card_kind::grid;
    } else if (is("CORD2R")) {
      kind_ = card_kind::cord2r;
    } else if (is("CORD2C")) {
      kind_ = card_kind::cord2c;
    } else if (is("CORD2S")) {
      kind_ = card_kind::cord2s;
    } else if (name[0] == 'C') {
      for (const element_card& c : element_cards)
        if (is(c.name)) {
          kind_ = card_kind::element;
          element_ = &c;
          break;
        }
    }
  }
  open_ = kind_ != card_kind::other;
  next_ = 1;
  if (open_) std::memset(given_, 0, sizeof given_);
  read = open_;
  return 0;
}

int deck_reader::fixed_line(const char* s, const char* e) noexcept {
  // Columns 1 to 80, tabs expanded to the next multiple of 8.
  char expanded[80];
  std::size_t length = std::size_t(e - s);
  if (std::memchr(s, '\t', length)) {
    unsigned column = 0;
    for (const char* p = s; p < e && column < 80; ++p) {
      if (*p == '\t') {
        const unsigned stop = (column / 8 + 1) * 8;
        while (column < stop && column < 80) expanded[column++] = ' ';
      } else {
        expanded[column++] = *p;
      }
    }
    s = expanded;
    length = column;
  }
  if (length > 72) length = 72;  // the continuation mark and beyond are not read
  auto columns = [&](unsigned from, unsigned width, const char*& a, const char*& b) {
    a = s + (from < length ? from : length);
    b = s + (from + width < length ? from + width : length);
  };
  const char *a, *b;
  columns(0, 8, a, b);
  bool large, read;
  if (const int r = begin_line(a, b, large, read)) return r;
  if (!read) return 0;
  const unsigned first = place_line(large), width = large ? 16 : 8, count = large ? 4 : 8;
  for (unsigned k = 0; k < count; ++k) {
    columns(8 + k * width, width, a, b);
    if (const int r = field(first + k, a, b)) return r;
  }
  return 0;
}

int deck_reader::free_line(const char* s, const char* e, const char* comma, bool truncated) noexcept {
  bool large, read;
  if (const int r = begin_line(s, comma, large, read)) return r;
  if (!read) return 0;
  if (truncated) return -3;
  const unsigned first = place_line(large), count = large ? 4 : 8;
  const char* a = comma + 1;
  for (unsigned k = 0;; ++k) {
    const void* next = std::memchr(a, ',', std::size_t(e - a));
    const char* b = next ? static_cast<const char*>(next) : e;
    if (k < count) {
      if (const int r = field(first + k, a, b)) return r;
    } else if (k > count) {
      return -3;  // more fields than the line's form and its mark
    }
    if (!next) return 0;
    a = b + 1;
  }
}

int deck_reader::field(unsigned k, const char* a, const char* b) noexcept {
  if (k > MAX_FIELD) return 0;
  bool real;
  switch (kind_) {
    case card_kind::grid:
      if (k > 5) return 0;
      real = k >= 3;
      break;
    case card_kind::element:
      if (k > 2u + element_->slots) return 0;
      real = false;
      break;
    default:  // the systems
      if (k > 11) return 0;
      real = k >= 3;
      break;
  }
  trim(a, b);
  if (a == b) return 0;
  given_[k] = true;
  return (real ? parse_real(a, b, reals_[k]) : parse_unsigned(a, b, ints_[k])) ? 0 : -3;
}

int deck_reader::finish_card() noexcept {
  if (!open_) return 0;
  open_ = false;
  auto integer = [&](unsigned k, std::uint64_t blank) { return given_[k] ? ints_[k] : blank; };
  auto real = [&](unsigned k) { return given_[k] ? reals_[k] : 0.0; };
  const std::uint64_t id = integer(1, 0);
  if (id == 0) return -3;

  switch (kind_) {
    case card_kind::grid: {
      const double x[3] = {real(3), real(4), real(5)};
      if (!mesh_.add_node(unsigned(id), x)) return OUT_OF_MEMORY;
      if (const std::uint64_t cp = integer(2, 0))
        if (!placed_.push_back(id << 32 | cp)) return OUT_OF_MEMORY;
      return 0;
    }
    case card_kind::element: {
      const element_card& card = *element_;
      unsigned given = 0;
      while (given < card.slots && given_[3 + given]) ++given;
      for (unsigned k = given + 1; k < card.slots; ++k)
        if (given_[3 + k]) return -4;  // a blank between nodes
      if (given < card.counts[0]) return -3;
      unsigned form = 0;
      while (form < card.forms && card.counts[form] != given) ++form;
      if (form == card.forms) return -4;
      const element_type type = card.types[form];
      // The rows NASTRAN_output writes the nodes from (all of them only: a
      // type it writes with fewer nodes, ELT_QUAD9, is read in row order).
      unsigned written;
      const unsigned char* rows = nastran_node_rows(type, written);
      unsigned nodes[20];
      for (unsigned k = 0; k < given; ++k) {
        const std::uint64_t node = ints_[3 + k];
        if (node == 0) return -3;
        nodes[written == given ? rows[k] : k] = unsigned(node);
      }
      const unsigned pid = unsigned(integer(2, id));
      return mesh_.add_element(type, nodes, given, unsigned(id), pid) ? 0 : OUT_OF_MEMORY;
    }
    default: {
      coordinate_systems::card c;
      c.cid = unsigned(id);
      c.rid = unsigned(integer(2, 0));
      c.type = kind_ == card_kind::cord2r   ? coordinate_systems::rectangular
               : kind_ == card_kind::cord2c ? coordinate_systems::cylindrical
                                            : coordinate_systems::spherical;
      for (unsigned k = 0; k < 3; ++k) {
        c.a[k] = real(3 + k);
        c.b[k] = real(6 + k);
        c.c[k] = real(9 + k);
      }
      return systems_.add(c) ? 0 : OUT_OF_MEMORY;
    }
  }
}

// Every output emptied; returns `code`.
int fail_all(int code, dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
             dense1D<int, 8>& types, dense1D<unsigned, 8>& pids, dense1D<unsigned, 8>* node_ids,
             dense1D<unsigned, 8>* element_ids) noexcept {
  if (node_ids) node_ids->clear_hard();
  if (element_ids) element_ids->clear_hard();
  return fail(code, pos, connect, ranges, types, pids);
}

}  // namespace

int read_nastran_deck(std::FILE* f, dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
                      dense1D<int, 8>& types, dense1D<unsigned, 8>& pids, dense1D<unsigned, 8>* node_ids,
                      dense1D<unsigned, 8>* element_ids) noexcept {
  auto failed = [&](int code) { return fail_all(code, pos, connect, ranges, types, pids, node_ids, element_ids); };
  if (!f || std::ferror(f)) return -1;

  line_reader lines(f);
  if (!lines.init()) return OUT_OF_MEMORY;
  deck_reader deck;
  char *s, *e;
  while (!deck.ended() && lines.next(s, e))
    if (const int r = deck.line(s, e, lines.truncated())) return failed(r);
  if (lines.read_error()) return -1;
  if (const int r = deck.finish_card()) return failed(r);
  if (!deck.any_card()) return -2;
  if (deck.begin_bulk() && !deck.ended()) return -3;
  if (const int r = deck.systems().resolve()) return failed(r);

  // The points placed in a system need their positions: the IDs are asked
  // for when the caller does not want them.
  dense1D<std::uint64_t, 8>& placed = deck.placed();
  dense1D<unsigned, 8> own_ids;
  dense1D<unsigned, 8>* ids = node_ids ? node_ids : placed.empty() ? nullptr : &own_ids;
  switch (deck.mesh().finish(pos, connect, ranges, types, pids, ids, element_ids)) {
    case mesh_assembly::outcome::complete:
      break;
    case mesh_assembly::outcome::out_of_memory:
      return failed(OUT_OF_MEMORY);
    default:
      return failed(-5);
  }
  if (!placed.empty()) {
    // Both lists in ascending ID order, each point once (finish refused
    // repeated IDs).
    std::sort(placed.begin(), placed.end());
    const unsigned* id = ids->data();
    double* x = pos.data();
    unsigned p = 0;
    for (const std::uint64_t entry : placed) {
      const unsigned point = unsigned(entry >> 32), cp = unsigned(entry);
      while (id[p] != point) ++p;
      double* column = x + std::size_t(p) * 3;
      double basic[3];
      if (!deck.systems().to_basic(cp, column, basic)) return failed(-5);
      for (unsigned k = 0; k < 3; ++k) column[k] = basic[k];
    }
  }
  return 0;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
