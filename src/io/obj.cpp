// Wavefront OBJ files: the reader (statements over the token scanner) and
// the writer.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

#include <zeb/plexa/io/obj.hpp>

#include "core/element_model.hpp"
#include "core/result_codes.hpp"
#include "io/common/block_expansion.hpp"
#include "io/common/input_file.hpp"
#include "io/common/mesh_assembly.hpp"
#include "io/common/number_format.hpp"
#include "io/common/output_file.hpp"
#include "io/common/text_scanner.hpp"
#include "io/common/text_writer.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::mesh_assembly;
using detail::text_scanner;
using detail::text_writer;
using token = text_scanner::token;

constexpr int CANNOT_READ = -1, MALFORMED = -3, UNSUPPORTED = -4, MISSING_NODE = -5;

// ---------------------------------------------------------------------------
// Reading
// ---------------------------------------------------------------------------

// The arguments of one statement: tokens up to the end of its line, across
// the continuations of lines ending with a backslash, up to a comment.
class statement_tokens {
 public:
  explicit statement_tokens(text_scanner& s) noexcept : s_(s) {}

  // Moves to the next argument: true when the scanner is at its first
  // character, false at the end of the statement (a comment skipped).
  bool more() noexcept {
    const int c = s_.skip_blanks();
    if (c < 0 || c == '\n') return false;
    if (c == '#') {
      s_.skip_line();
      return false;
    }
    return true;
  }

  // The next argument; false at the end of the statement (or of a token
  // too long, which the scanner tells, or when memory runs out).
  bool next(token& t) noexcept {
    for (;;) {
      if (!more()) return false;
      if (!s_.take(t)) return false;
      if (t.last[-1] != '\\') return true;
      // A backslash that ends the line joins the next one.  The token is
      // kept aside first: looking past it may refill the scanner's buffer.
      try {
        held_.assign(t.first, t.size());
      } catch (const std::bad_alloc&) {
        out_of_memory_ = true;
        return false;
      }
      t = {held_.data(), held_.data() + held_.size()};
      if (s_.skip_blanks() != '\n') return true;
      s_.advance();
      if (--t.last != t.first) return true;
    }
  }
  bool out_of_memory() const noexcept { return out_of_memory_; }
  // Drops the rest of the statement.
  void skip() noexcept {
    token t;
    while (next(t)) {
    }
  }

 private:
  text_scanner& s_;
  std::string held_;
  bool out_of_memory_ = false;
};

bool is_letter(char c) noexcept { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool token_equals(const token& t, const char* word) noexcept {
  const std::size_t n = std::strlen(word);
  return t.size() == n && std::memcmp(t.first, word, n) == 0;
}

bool one_of(const token& t, const char* const* words) noexcept {
  for (; *words; ++words)
    if (token_equals(t, *words)) return true;
  return false;
}

constexpr const char* attribute_keywords[] = {"vp",        "mtllib",    "usemtl",   "maplib",
                                              "usemap",    "lod",       "shadow_obj", "trace_obj", "bevel",
                                              "c_interp",  "d_interp",  "ctech",  "stech",    nullptr};

// The fields of a vertex reference "i", "i/t", "i//n" or "i/t/n" as one
// pass over its characters reads them: each field an optional sign and
// decimal digits, the fields separated by at most two slashes.
struct vertex_ref {
  std::int64_t value[3];  // vertex, texture vertex, normal
  bool number[3];         // the field is a sign and 1 to 18 digits
  bool given[3];          // the field has a character (a sign at least)
  unsigned slashes;
};

// Reads the fields from p and returns where the reading stopped: at the
// first character that no field or slash continues (a token read whole
// stops at its end, anything else is no vertex reference).
const char* scan_vertex_ref(const char* p, vertex_ref& r) noexcept {
  r.slashes = 0;
  for (unsigned k = 0;; ++k) {
    const char* const start = p;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    const char* const digits = p;
    std::uint64_t v = 0;
    for (unsigned d; (d = unsigned(*p - '0')) <= 9; ++p) v = v * 10 + d;
    // At most 18 digits: far beyond the 32-bit ranges, and v exact.
    r.number[k] = p > digits && p - digits <= 18;
    r.given[k] = p > start;
    r.value[k] = negative ? -std::int64_t(v) : std::int64_t(v);
    if (*p != '/' || k == 2) return p;
    ++p;
    ++r.slashes;
  }
}

class obj_reader {
 public:
  explicit obj_reader(std::FILE* f, std::vector<std::string>* names) noexcept : s_(f), names_(names) {}

  // Reads the whole stream into the assembly: 0 or a code.
  int read() noexcept {
    if (!s_.init()) return detail::OUT_OF_MEMORY;
    token keyword;
    for (;;) {
      if (s_.skip_space(true) < 0) break;
      if (!s_.take(keyword)) break;
      statement_tokens args(s_);
      const int r = statement(keyword, args);
      if (args.out_of_memory()) return detail::OUT_OF_MEMORY;
      if (r != 0) return r;
    }
    if (s_.read_error()) return CANNOT_READ;
    return s_.too_long() ? MALFORMED : 0;
  }

  int finish(dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
             dense1D<int, 8>& types, dense1D<unsigned, 8>& groups) noexcept {
    // Vertex ids are positions: none can repeat.
    return mesh_assembly::code(mesh_.finish(pos, connect, ranges, types, groups, nullptr, nullptr), MISSING_NODE,
                               MALFORMED);
  }

 private:
  int statement(const token& keyword, statement_tokens& args) noexcept {
    if (keyword.size() == 1) {
      switch (*keyword.first) {
        case 'v': return vertex(args);
        case 'f': return elements(args, 3);
        case 'l': return elements(args, 2);
        case 'p': return elements(args, 1);
        case 'g':
        case 'o': return group(args);
        case 's': return args.skip(), 0;
        default: break;
      }
    }
    if (token_equals(keyword, "vt") || token_equals(keyword, "vn")) {
      ++(keyword.first[1] == 't' ? texture_vertices_ : normals_);
      args.skip();
      return 0;
    }
    if (one_of(keyword, attribute_keywords)) {
      args.skip();
      return 0;
    }
    return is_letter(*keyword.first) ? UNSUPPORTED : MALFORMED;
  }

  int vertex(statement_tokens& args) noexcept {
    double x[3];
    unsigned count = 0;
    while (args.more()) {
      // In place when the number is whole in the buffer, as for faces.
      double v;
      const char* const first = s_.ahead();
      const char* const end = detail::parse_double(first, v);
      if (end && unsigned(end - first) <= s_.token_max() && s_.ends_at(end)) {
        s_.move_to(end);
      } else {
        token t;
        if (!args.next(t)) break;
        if (!detail::token_double(t, v)) return MALFORMED;
      }
      if (count == 7) return MALFORMED;
      if (count < 3) x[count] = v;
      ++count;
    }
    if (count < 3) return MALFORMED;
    if (vertices_ == UINT32_MAX - 1) return MALFORMED;
    if (!mesh_.add_node(++vertices_, x)) return detail::OUT_OF_MEMORY;
    return 0;
  }

  // The vertex of one "i", "i/t", "i//n" or "i/t/n" (lines: "i", "i/t")
  // read by scan_vertex_ref; `whole` when its reading stopped at the end of
  // the token.  The vertex is checked first: a bad one is malformed, a
  // relative one past the vertices so far missing; then the rest.
  int vertex_of(const vertex_ref& r, bool whole, bool normals_allowed, unsigned& id) const noexcept {
    std::int64_t i = r.value[0];
    if (!r.number[0] || (r.slashes == 0 && !whole) || i == 0 || i < INT32_MIN || i > std::int64_t(UINT32_MAX) - 1)
      return MALFORMED;
    if (i < 0) {
      if (-i > std::int64_t(vertices_)) return MISSING_NODE;
      i += std::int64_t(vertices_) + 1;
    }
    id = unsigned(i);
    if (r.slashes == 0) return 0;
    if (!whole || (r.slashes == 2 && !normals_allowed)) return MALFORMED;
    // The texture vertex (may be empty before a normal) and the normal.
    const bool texture_empty = r.slashes == 2 && !r.given[1];
    if (!texture_empty && !valid_index(r, 1, texture_vertices_)) return MALFORMED;
    if (r.slashes == 2 && !valid_index(r, 2, normals_)) return MALFORMED;
    return 0;
  }

  // A texture or normal index: non-zero, a negative one within the count.
  static bool valid_index(const vertex_ref& r, unsigned k, unsigned count) noexcept {
    const std::int64_t v = r.value[k];
    return r.number[k] && v != 0 && v >= INT32_MIN && v <= std::int64_t(UINT32_MAX) &&
           (v > 0 || -v <= std::int64_t(count));
  }

  // A face (at least 3 vertices), a line (2) or points (1).
  int elements(statement_tokens& args, unsigned least) noexcept {
    ids_.clear();
    while (args.more()) {
      // Read in place in one pass when the reference is whole in the
      // buffer (the common case); through the token otherwise (continued
      // lines, tokens at the end of the buffer, anything odd).
      vertex_ref ref;
      const char* const first = s_.ahead();
      const char* stop = scan_vertex_ref(first, ref);
      bool whole = true;
      if (unsigned(stop - first) <= s_.token_max() && s_.ends_at(stop)) {
        s_.move_to(stop);
      } else {
        token t;
        if (!args.next(t)) break;
        whole = scan_vertex_ref(t.first, ref) == t.last;
      }
      unsigned id;
      if (const int r = vertex_of(ref, whole, least == 3, id)) return r;
      if (!ids_.push_back(id)) return detail::OUT_OF_MEMORY;
    }
    const unsigned n = ids_.size();
    if (n < least) return MALFORMED;
    const unsigned group = current_group();
    if (group == NO_GROUP) return detail::OUT_OF_MEMORY;
    const unsigned* v = ids_.data();
    bool added = true;
    if (least == 1) {
      for (unsigned k = 0; k < n && added; ++k) added = add(ELT_NODE, v + k, 1, group);
    } else if (least == 2) {
      for (unsigned k = 0; k + 1 < n && added; ++k) added = add(ELT_EDGE2, v + k, 2, group);
    } else if (n <= 4) {
      added = add(ELT_FACE_MIX, v, n, group);
    } else {
      for (unsigned k = 1; k + 1 < n && added; ++k) {
        const unsigned triangle[3] = {v[0], v[k], v[k + 1]};
        added = add(ELT_FACE_MIX, triangle, 3, group);
      }
    }
    return added ? 0 : detail::OUT_OF_MEMORY;
  }

  bool add(element_type type, const unsigned* v, unsigned count, unsigned group) noexcept {
    return mesh_.add_element(type, v, count, elements_++, group);
  }

  // "g" and "o": the name of the group of the elements that follow.
  int group(statement_tokens& args) noexcept {
    try {
      name_.clear();
      token t;
      while (args.next(t)) {
        if (!name_.empty()) name_ += ' ';
        name_.append(t.first, t.size());
      }
    } catch (const std::bad_alloc&) {
      return detail::OUT_OF_MEMORY;
    }
    group_ = NO_GROUP;
    return 0;
  }

  // The number of the current group, given on its first use; NO_GROUP
  // when memory runs out.
  unsigned current_group() noexcept {
    if (group_ != NO_GROUP) return group_;
    try {
      const auto found = numbers_.find(name_);
      if (found != numbers_.end()) return group_ = found->second;
      const unsigned number = unsigned(numbers_.size());
      numbers_.emplace(name_, number);
      if (names_) names_->push_back(name_);
      return group_ = number;
    } catch (const std::bad_alloc&) {
      return NO_GROUP;
    }
  }

  static constexpr unsigned NO_GROUP = 0xFFFFFFFFu;

  text_scanner s_;
  std::vector<std::string>* names_;
  mesh_assembly mesh_{3};
  unsigned vertices_ = 0, texture_vertices_ = 0, normals_ = 0, elements_ = 0;
  dense1D<unsigned, 8> ids_;
  std::string name_;  // of the current group ("" before any g or o)
  unsigned group_ = NO_GROUP;
  std::unordered_map<std::string, unsigned> numbers_;
};

// The entry step of both forms: the outputs emptied, ranges and groups
// being one object refused.
int empty_outputs(dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
                  dense1D<int, 8>& types, dense1D<unsigned, 8>& groups, std::vector<std::string>* names) noexcept {
  if (names) names->clear();
  return detail::empty_read_outputs(pos, connect, ranges, types, groups, nullptr, nullptr);
}

int read_obj(std::FILE* f, dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
             dense1D<int, 8>& types, dense1D<unsigned, 8>& groups, std::vector<std::string>* names) noexcept {
  if (!f || std::ferror(f)) return CANNOT_READ;
  obj_reader reader(f, names);
  int r = reader.read();
  if (r == 0) r = reader.finish(pos, connect, ranges, types, groups);
  if (r == 0) return 0;
  if (names) names->clear();
  return detail::fail(r, pos, connect, ranges, types, groups);
}

int read_obj_stream(std::FILE* f, dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
                    dense1D<int, 8>& types, dense1D<unsigned, 8>& groups, std::vector<std::string>* names) noexcept {
  if (const int r = empty_outputs(pos, connect, ranges, types, groups, names)) return r;
  return read_obj(f, pos, connect, ranges, types, groups, names);
}

int read_obj_file(const char* path, dense2D<double>& pos, dense2D<unsigned>& connect,
                  dense1D<unsigned, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned, 8>& groups,
                  std::vector<std::string>* names) noexcept {
  if (const int r = empty_outputs(pos, connect, ranges, types, groups, names)) return r;
  return detail::with_input_file(
      path, [&](std::FILE* f) { return read_obj(f, pos, connect, ranges, types, groups, names); });
}

// ---------------------------------------------------------------------------
// Writing
// ---------------------------------------------------------------------------

// Whether a group name reads back as itself.
bool writable_name(const std::string& name) noexcept {
  if (name.empty()) return true;
  if (name.front() == ' ' || name.back() == ' ' || name.back() == '\\') return false;
  for (std::size_t k = 0; k < name.size(); ++k) {
    const unsigned char c = static_cast<unsigned char>(name[k]);
    if (c < 32 || c == 127 || c == '#' || (c == ' ' && name[k + 1] == ' ')) return false;
  }
  return true;
}

bool written_type(int type) noexcept {
  switch (type) {
    case ELT_NODE:
    case ELT_EDGE2:
    case ELT_EDGE3:
    case ELT_TRIA3:
    case ELT_TRIA6:
    case ELT_QUAD4:
    case ELT_QUAD8:
    case ELT_QUAD9:
    case ELT_FACE_MIX: return true;
    default: return false;
  }
}

int write_obj(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned>& connect,
              const dense1D<unsigned, 8>& ranges, const dense1D<int, 8>& types, const dense1D<unsigned, 8>& ids,
              const std::vector<std::string>* names, const write_options& options) noexcept {
  if (!f || std::ferror(f)) return -1;
  const unsigned d = pos.rows(), n = pos.cols();
  if (d != 2 && d != 3) return -2;
  if (const int r = detail::check_ranged_blocks(connect, ranges, types, ids, n)) return r;
  const unsigned blocks = types.size();
  for (unsigned i = 0; i < blocks; ++i)
    if (ranges[i] != ranges[i + 1] && !written_type(types[i])) return -3;
  if (names)
    for (unsigned i = 0; i < blocks; ++i)
      for (unsigned j = ranges[i]; j < ranges[i + 1]; ++j)
        if (ids[j] >= names->size() || !writable_name((*names)[ids[j]])) return -7;

  text_writer w(f);
  w.set_digits(options.digits);
  w.put("# Wavefront OBJ, generated by ZEB Plexa(R).\n");
  const double* p = pos.data();
  for (unsigned j = 0; j < n; ++j, p += pos.ld()) {
    w.put('v');
    for (unsigned k = 0; k < 3; ++k) {
      w.put(' ');
      w.put_exponent(k < d ? p[k] : 0.0, detail::LOWER_E, 0);
    }
    w.put('\n');
  }
  const unsigned* base = connect.data();
  bool first = true;
  unsigned group = 0;
  for (unsigned i = 0; i < blocks; ++i) {
    if (ranges[i] == ranges[i + 1]) continue;
    const element_type type = element_type(types[i]);
    bool fits;
    const unsigned used = detail::ranged_block_rows(type, connect.rows(), fits);
    for (unsigned j = ranges[i]; j < ranges[i + 1]; ++j) {
      if (first || ids[j] != group) {
        w.put('g');
        if (names) {
          const std::string& name = (*names)[ids[j]];
          if (!name.empty()) {
            w.put(' ');
            w.put(name.data(), name.size());
          }
        } else {
          w.put(' ');
          w.put_int(ids[j]);
        }
        w.put('\n');
        first = false;
        group = ids[j];
      }
      const unsigned* col = base + std::size_t(j) * connect.ld();
      const element_type kind = type == ELT_FACE_MIX ? detail::ranged_column_type(type, col, used) : type;
      const unsigned vertices = kind == ELT_NODE ? 1 : detail::base_node_count(kind);
      w.put(kind == ELT_NODE ? 'p' : vertices == 2 ? 'l' : 'f');
      for (unsigned k = 0; k < vertices; ++k) {
        w.put(' ');
        w.put_int(col[k] + 1);
      }
      w.put('\n');
    }
  }
  return w.finish();
}

int write_obj_file(const char* path, const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   const dense1D<unsigned, 8>& ranges, const dense1D<int, 8>& types,
                   const dense1D<unsigned, 8>& ids, const std::vector<std::string>* names,
                   const write_options& options) noexcept {
  detail::output_file file(path);
  if (!file) return -1;
  return file.close(write_obj(file.get(), pos, connect, ranges, types, ids, names, options));
}

}  // namespace

int WavefrontOBJ_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect,
                       dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& groups) {
  return read_obj_stream(f, pos, connect, ranges, types, groups, nullptr);
}

int WavefrontOBJ_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect,
                       dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& groups,
                       std::vector<std::string>& names) {
  return read_obj_stream(f, pos, connect, ranges, types, groups, &names);
}

int WavefrontOBJ_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                       dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& groups) {
  return read_obj_file(path, pos, connect, ranges, types, groups, nullptr);
}

int WavefrontOBJ_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                       dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& groups,
                       std::vector<std::string>& names) {
  return read_obj_file(path, pos, connect, ranges, types, groups, &names);
}

int WavefrontOBJ_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                        const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                        const dense1D<unsigned int, 8>& ids, const write_options& options) {
  return write_obj(f, pos, connect, ranges, types, ids, nullptr, options);
}

int WavefrontOBJ_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                        const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                        const dense1D<unsigned int, 8>& ids, const std::vector<std::string>& names,
                        const write_options& options) {
  return write_obj(f, pos, connect, ranges, types, ids, &names, options);
}

int WavefrontOBJ_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                        const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                        const dense1D<unsigned int, 8>& ids, const write_options& options) {
  return write_obj_file(path, pos, connect, ranges, types, ids, nullptr, options);
}

int WavefrontOBJ_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                        const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                        const dense1D<unsigned int, 8>& ids, const std::vector<std::string>& names,
                        const write_options& options) {
  return write_obj_file(path, pos, connect, ranges, types, ids, &names, options);
}

}  // namespace plexa
}  // namespace zeb
