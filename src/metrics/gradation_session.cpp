// gradation_session: one propagation engine kept between runs.
#include "metrics/gradation_session.hpp"

#include <new>

#include "metrics/gradation_control.hpp"
#include "metrics/size_fields.hpp"

namespace zeb {
namespace plexa {
namespace detail {

struct gradation_session::engine {
  virtual ~engine() = default;
  virtual int resume(const unsigned* nodes, unsigned count) noexcept = 0;
};

namespace {

// The engine for one field view and measure, with what it walks.
template <class Field, class Measure>
struct engine_of final : gradation_session::engine {
  dense2D<double> pos;
  dense1D<unsigned, 8> offsets, adjacent;
  Field field;
  propagation<Field, Measure> run;

  engine_of(const dense2D<double>& p, const dense1D<unsigned, 8>& off, const dense1D<unsigned, 8>& adj, Field f,
            double g) noexcept
      : pos(p), offsets(off), adjacent(adj), field(f), run(field, offsets, adjacent, g) {}
  int resume(const unsigned* nodes, unsigned count) noexcept override { return run.run_from(nodes, count); }
};

template <class Measure, unsigned D, class Values>
int start_engine(const dense2D<double>& pos, const dense1D<unsigned, 8>& offsets, const dense1D<unsigned, 8>& adjacent,
                 const dense1D<unsigned, 8>& nodes, bool frozen, unsigned char mode, double g, Values& values,
                 gradation_session::engine*& out) noexcept {
  using field_type = decltype(view_of<D>(pos, values));
  auto* e = new (std::nothrow) engine_of<field_type, Measure>(pos, offsets, adjacent, view_of<D>(pos, values), g);
  if (!e) return OUT_OF_MEMORY;
  if (const int r = e->run.prepare(nodes, frozen, mode)) {
    delete e;
    return r;
  }
  out = e;
  return e->run.run();
}

template <class Values>
int start_session(bool variation, const dense2D<double>& pos_arg, const dense2D<unsigned>& connect, element_type type,
                  const dense1D<unsigned, 8>& nodes, bool frozen, int mode, double g, Values& values,
                  gradation_session::engine*& out) noexcept {
  dense2D<double> pos;
  dense1D<unsigned, 8> offsets, adjacent;
  const int ready = prepare_size_change(pos_arg, connect, type, nodes, g, values, pos, offsets, adjacent);
  if (ready != SUCCESS) return ready == NOTHING_TO_DO ? 0 : ready;
  const unsigned char m = static_cast<unsigned char>(mode & 0xFF);
  const bool two = pos.rows() == 2;
  if (variation)
    return two ? start_engine<detail::variation, 2>(pos, offsets, adjacent, nodes, frozen, m, g, values, out)
               : start_engine<detail::variation, 3>(pos, offsets, adjacent, nodes, frozen, m, g, values, out);
  return two ? start_engine<detail::gradation, 2>(pos, offsets, adjacent, nodes, frozen, m, g, values, out)
             : start_engine<detail::gradation, 3>(pos, offsets, adjacent, nodes, frozen, m, g, values, out);
}

}  // namespace

gradation_session::gradation_session() noexcept = default;

gradation_session::~gradation_session() { delete engine_; }

int gradation_session::start(bool variation, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                             element_type type, const dense1D<unsigned int, 8>& nodes, bool frozen, int mode,
                             double g, dense1D<double, 8>& H) noexcept {
  delete engine_;
  engine_ = nullptr;
  return start_session(variation, pos, connect, type, nodes, frozen, mode, g, H, engine_);
}

int gradation_session::start(bool variation, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                             element_type type, const dense1D<unsigned int, 8>& nodes, bool frozen, int mode,
                             double g, dense2D<double>& M) noexcept {
  delete engine_;
  engine_ = nullptr;
  return start_session(variation, pos, connect, type, nodes, frozen, mode, g, M, engine_);
}

int gradation_session::resume(const dense1D<unsigned int, 8>& nodes) noexcept {
  return engine_ ? engine_->resume(nodes.data(), nodes.size()) : 0;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
