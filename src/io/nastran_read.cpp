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
#include <bit>
#include <cstdint>
#include <cstring>

#include "core/element_model.hpp"
#include "core/result_codes.hpp"
#include "io/common/mesh_assembly.hpp"
#include "io/common/number_parse.hpp"
#include "io/common/text_scanner.hpp"
#include "io/nastran_deck.hpp"
#include "io/nastran_systems.hpp"

namespace zeb {
namespace plexa {
namespace detail {

namespace {

enum class card_kind : unsigned char { other, grid, cord2r, cord2c, cord2s, element };

// A card name of up to 8 characters as one integer.
constexpr std::uint64_t packed(const char* name) noexcept {
  std::uint64_t v = 0;
  for (; *name; ++name) v = v << 8 | static_cast<unsigned char>(*name);
  return v;
}

// An element card: where its nodes are and the node counts it takes.
struct element_card {
  std::uint64_t name;   // packed
  unsigned char slots;  // node fields G1 to G<slots>, from field 3
  unsigned char forms;  // number of node counts it takes
  unsigned char counts[3];
  element_type types[3];
};

// The element cards, the most common first.
constexpr element_card element_cards[] = {
    {packed("CTETRA"), 10, 2, {4, 10}, {ELT_TETRA4, ELT_TETRA10}},
    {packed("CHEXA"), 20, 2, {8, 20}, {ELT_HEXA8, ELT_HEXA20}},
    {packed("CPENTA"), 15, 2, {6, 15}, {ELT_WEDGE6, ELT_WEDGE15}},
    {packed("CPYRAM"), 13, 2, {5, 13}, {ELT_PYRA5, ELT_PYRA13}},
    {packed("CTRIA3"), 3, 1, {3}, {ELT_TRIA3}},
    {packed("CQUAD4"), 4, 1, {4}, {ELT_QUAD4}},
    {packed("CTRIA6"), 6, 2, {3, 6}, {ELT_TRIA3, ELT_TRIA6}},
    {packed("CQUAD8"), 8, 2, {4, 8}, {ELT_QUAD4, ELT_QUAD8}},
    {packed("CBAR"), 2, 1, {2}, {ELT_EDGE2}},
    {packed("CROD"), 2, 1, {2}, {ELT_EDGE2}},
    {packed("CBEAM"), 2, 1, {2}, {ELT_EDGE2}},
    {packed("CTRIA"), 3, 1, {3}, {ELT_TRIA3}},
    {packed("CQUAD"), 9, 3, {4, 8, 9}, {ELT_QUAD4, ELT_QUAD8, ELT_QUAD9}},
    {packed("CPYRA"), 13, 2, {5, 13}, {ELT_PYRA5, ELT_PYRA13}},
};

// The first '$', ',' or tab in [p, e), or e: eight characters at a time
// (the lowest byte of a word that matches is exact; higher ones may be
// false alarms, which are not used).
const char* find_special(const char* p, const char* e) noexcept {
  if constexpr (std::endian::native == std::endian::little) {
    constexpr std::uint64_t ones = 0x0101010101010101u, highs = 0x8080808080808080u;
    constexpr auto zero_bytes = [](std::uint64_t v) { return (v - ones) & ~v & highs; };
    for (; e - p >= 8; p += 8) {
      std::uint64_t x;
      std::memcpy(&x, p, 8);
      const std::uint64_t m = zero_bytes(x ^ (ones * '$')) | zero_bytes(x ^ (ones * ',')) | zero_bytes(x ^ (ones * '\t'));
      if (m) return p + (std::countr_zero(m) >> 3);
    }
  }
  while (p < e && *p != '$' && *p != ',' && *p != '\t') ++p;
  return p;
}

// The last field position read: G20 of CHEXA.
constexpr unsigned MAX_FIELD = 22;
// Longest text of a free field that is read as a number.
constexpr unsigned NUMBER_TEXT_MAX = 64;

constexpr char upper(char c) noexcept { return c >= 'a' && c <= 'z' ? char(c - ('a' - 'A')) : c; }
constexpr bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }
constexpr bool is_blank(char c) noexcept {
  return static_cast<unsigned char>(c) <= ' ' && (c == ' ' || (c >= '\t' && c <= '\r'));
}

// [a, b) without the blanks around it (the runs of spaces that pad the
// fields of large-field cards skipped eight at a time).
void trim(const char*& a, const char*& b) noexcept {
  constexpr std::uint64_t spaces = 0x2020202020202020u;
  for (std::uint64_t w; b - a >= 8 && (std::memcpy(&w, a, 8), w == spaces);) a += 8;
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
// digits.  A mantissa of at most 15 significant digits with a small power
// of ten is converted on the spot (exact_decimal); other texts are
// rewritten as "%lg" takes them and converted by the shared reader.  Either
// way the value is the correctly rounded one, whatever the locale.
bool parse_real(const char* a, const char* b, double& value) noexcept {
  if (b - a > long(NUMBER_TEXT_MAX)) return false;
  char text[NUMBER_TEXT_MAX + 4];
  unsigned n = 0;
  const bool negative = a < b && *a == '-';
  if (a < b && (*a == '+' || *a == '-')) text[n++] = *a++;
  std::uint64_t m = 0;
  int significant = 0, scale = 0;
  unsigned digits = 0;
  auto digit = [&](char c, bool fraction) {
    text[n++] = c;
    ++digits;
    scale -= fraction;
    if ((m != 0 || c != '0') && ++significant <= 15) m = m * 10 + unsigned(c - '0');
  };
  for (; a < b && is_digit(*a); ++a) digit(*a, false);
  if (a < b && *a == '.') {
    text[n++] = *a++;
    for (; a < b && is_digit(*a); ++a) digit(*a, true);
  }
  if (digits == 0) return false;
  int exponent = 0;
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
    for (; a < b && is_digit(*a); ++a) {
      text[n++] = *a;
      if (exponent < 1000) exponent = exponent * 10 + (*a - '0');
    }
    if (n == before || a != b) return false;
    if (sign == '-') exponent = -exponent;
  }
  double v;
  if (significant <= 15 && (m == 0 || exact_decimal(m, scale + exponent, v))) {
    value = m == 0 ? (negative ? -0.0 : 0.0) : negative ? -v : v;
    return true;
  }
  return convert_double(number_text{text, text + n}, value);
}

class deck_reader {
 public:
  deck_reader() noexcept : mesh_(3) {
    for (unsigned t = 0; t < ELEMENT_TYPE_COUNT; ++t) rows_[t] = nastran_node_rows(element_type(t), written_[t]);
  }

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
  int fixed_line(const char* s, const char* e, bool tab) noexcept;
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
  // How field `k` of the open card is read.
  enum class field_kind { skip, integer, real };
  field_kind kind_at(unsigned k) const noexcept;
  // Field `k` of the open card, [a, b) trimmed.
  int field(unsigned k, const char* a, const char* b) noexcept;

  // The writer's node order of each element type, and its node count.
  const unsigned char* rows_[ELEMENT_TYPE_COUNT];
  unsigned written_[ELEMENT_TYPE_COUNT];

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
  // The comment, the first comma (a free-field line: tabs are blanks there)
  // and tabs (to expand in fixed field).
  const char* comma = nullptr;
  bool tab = false;
  for (const char* p = find_special(s, e); p < e; p = find_special(p + 1, e)) {
    if (*p == '$') {
      e = s + (p - s);
      truncated = false;  // what was cut is comment
      break;
    }
    if (*p == '\t') {
      tab = true;
      continue;
    }
    comma = p;  // free_line() ends the line at a '$' that follows
    break;
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

  if (comma) return free_line(s, e, comma, truncated);
  return fixed_line(s, e, tab);
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
  // The card's name, in upper case, packed into an integer.
  kind_ = card_kind::other;
  element_ = nullptr;
  const unsigned length = unsigned(b - a);
  if (length >= 4 && length <= 6) {
    std::uint64_t name = 0;
    for (unsigned k = 0; k < length; ++k) name = name << 8 | static_cast<unsigned char>(upper(a[k]));
    constexpr std::uint64_t grid = packed("GRID"), cord2r = packed("CORD2R"), cord2c = packed("CORD2C"),
                            cord2s = packed("CORD2S");
    if (name == grid) {
      kind_ = card_kind::grid;
    } else if (name == cord2r) {
      kind_ = card_kind::cord2r;
    } else if (name == cord2c) {
      kind_ = card_kind::cord2c;
    } else if (name == cord2s) {
      kind_ = card_kind::cord2s;
    } else {
      for (const element_card& c : element_cards)
        if (name == c.name) {
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

int deck_reader::fixed_line(const char* s, const char* e, bool tab) noexcept {
  // Columns 1 to 80, tabs expanded to the next multiple of 8.
  char expanded[80];
  std::size_t length = std::size_t(e - s);
  if (tab) {
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

// A line with a comma before any '$'; the comment, if any, is still on it.
int deck_reader::free_line(const char* s, const char* e, const char* comma, bool truncated) noexcept {
  bool large, read;
  if (const int r = begin_line(s, comma, large, read)) return r;
  if (!read) return 0;
  if (truncated && !std::memchr(comma, '$', std::size_t(e - comma))) return -3;
  const unsigned first = place_line(large), count = large ? 4 : 8;
  const char* a = comma + 1;
  for (unsigned k = 0;; ++k) {
    const char* b = a;
    // Integer fields of a few digits alone, the bulk of element cards, are
    // read as they are scanned; the others go through field().
    if (k < count && kind_at(first + k) == field_kind::integer) {
      std::uint32_t v;
      const unsigned digits = leading_digits(a, v);
      b = a + digits;
      if (digits > 0 && digits < 8 && (b == e || *b == ',')) {
        given_[first + k] = true;
        ints_[first + k] = v;
        if (b == e) return 0;
        a = b + 1;
        continue;
      }
    }
    while (b < e && *b != ',' && *b != '$') ++b;
    if (k < count) {
      if (const int r = field(first + k, a, b)) return r;
    } else if (k > count) {
      return -3;  // more fields than the line's form and its mark
    }
    if (b == e || *b == '$') return 0;  // the end, or a comment
    a = b + 1;
  }
}

deck_reader::field_kind deck_reader::kind_at(unsigned k) const noexcept {
  switch (kind_) {
    case card_kind::grid:
      return k > 5 ? field_kind::skip : k >= 3 ? field_kind::real : field_kind::integer;
    case card_kind::element:
      return k > 2u + element_->slots ? field_kind::skip : field_kind::integer;
    default:  // the systems
      return k > 11 ? field_kind::skip : k >= 3 ? field_kind::real : field_kind::integer;
  }
}

int deck_reader::field(unsigned k, const char* a, const char* b) noexcept {
  const field_kind kind = kind_at(k);
  if (kind == field_kind::skip) return 0;
  trim(a, b);
  if (a == b) return 0;
  given_[k] = true;
  return (kind == field_kind::real ? parse_real(a, b, reals_[k]) : parse_unsigned(a, b, ints_[k])) ? 0 : -3;
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
      const unsigned char* rows = rows_[type];
      const unsigned written = written_[type];
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
  empty_read_outputs(pos, connect, ranges, types, pids, node_ids, element_ids);
  return code;
}

}  // namespace

int read_nastran_deck(std::FILE* f, dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
                      dense1D<int, 8>& types, dense1D<unsigned, 8>& pids, dense1D<unsigned, 8>* node_ids,
                      dense1D<unsigned, 8>* element_ids) noexcept {
  auto failed = [&](int code) { return fail_all(code, pos, connect, ranges, types, pids, node_ids, element_ids); };
  if (!f || std::ferror(f)) return -1;

  text_scanner lines(f);
  if (!lines.init()) return OUT_OF_MEMORY;
  deck_reader deck;
  char *s, *e;
  while (!deck.ended() && lines.next_line(s, e))
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
  if (const int r = mesh_assembly::code(deck.mesh().finish(pos, connect, ranges, types, pids, ids, element_ids), -5, -5))
    return failed(r);
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
