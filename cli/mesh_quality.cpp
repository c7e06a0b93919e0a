#include "mesh_quality.hpp"

#include <cmath>
#include <limits>

#include <zeb/plexa/quality.hpp>

#include "format.hpp"
#include "mesh_summary.hpp"

namespace plexa_cli {

using namespace zeb::plexa;

namespace {

// Bins suited to values in [0, 1]: tenths, and below 0 the inverted ones.
constexpr double tenths[] = {0, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9};

// Ordering of the worst list: NaN first, then by value.
bool worse(double a, double b) { return (std::isnan(a) && !std::isnan(b)) || a < b; }

void keep_worst(std::vector<measured_element>& worst, unsigned keep, const measured_element& e) {
  if (keep == 0) return;
  if (worst.size() == keep && !worse(e.quality, worst.back().quality)) return;
  auto at = worst.end();
  while (at != worst.begin() && worse(e.quality, (at - 1)->quality)) --at;
  worst.insert(at, e);
  if (worst.size() > keep) worst.pop_back();
}

}  // namespace

mesh_quality::mesh_quality() {
  qualities.set_edges(tenths, sizeof tenths / sizeof *tenths);
  scaled_jacobians.set_edges(tenths, sizeof tenths / sizeof *tenths);
}

double scaled_jacobian(double smallest, double largest) {
  if (std::isnan(smallest) || std::isnan(largest)) return std::numeric_limits<double>::quiet_NaN();
  if (largest > 0) return smallest / largest;
  if (smallest < 0) return largest / -smallest;
  return 0;
}

namespace {

// The shape qualities and the Jacobian determinants (smallest, largest) of
// the elements of block b.  0, or the library's code with `failed` set.
int measure_block(const mesh& m, unsigned b, zeb::dense1D<double, 8>& qualities, zeb::dense2D<double>& dets,
                  const char*& failed) {
  const element_type type = element_type(m.types[b]);
  int code = shape_qualities(m.coords, m.blocks[b], type, qualities);
  if (code != 0) {
    failed = "shape_qualities(pos, connect, type, qualities)";
    return code;
  }
  if ((code = jacobians(m.coords, m.blocks[b], type, dets)) != 0) failed = "jacobians(pos, connect, type, dets)";
  return code;
}

}  // namespace

int measure_quality(const mesh& m, unsigned keep, mesh_quality& q, const char*& failed) {
  zeb::dense1D<double, 8> qualities;
  zeb::dense2D<double> dets;
  for (unsigned b = 0; b < m.block_count(); ++b) {
    const zeb::dense2D<unsigned>& block = m.blocks[b];
    const element_type type = element_type(m.types[b]);
    const unsigned elements = block.empty() ? 0 : block.cols();
    if (element_dim(type) < 2) {
      q.unmeasured += elements;
      continue;
    }
    if (const int code = measure_block(m, b, qualities, dets, failed)) return code;
    for (unsigned j = 0; j < elements; ++j) {
      const double quality = qualities[j], smallest = dets(0, j);
      const measured_element e{b, j, element_kind(block, type, j), quality, scaled_jacobian(smallest, dets(1, j))};
      q.qualities.process(quality);
      q.scaled_jacobians.process(e.scaled_jacobian);
      keep_worst(q.worst, keep, e);
      if (quality < 0 || smallest < 0) {
        if (q.first_inverted.size() < keep) q.first_inverted.push_back(e);
        ++q.inverted;
      } else if (quality == 0 || smallest == 0) {
        if (q.first_degenerate.size() < keep) q.first_degenerate.push_back(e);
        ++q.degenerate;
      }
    }
    q.measured += elements;
  }
  return 0;
}

int element_qualities(const mesh& m, std::vector<double>& qualities, std::vector<double>& jacobians,
                      const char*& failed) {
  qualities.clear();
  jacobians.clear();
  zeb::dense1D<double, 8> q;
  zeb::dense2D<double> dets;
  const double none = std::numeric_limits<double>::quiet_NaN();
  for (unsigned b = 0; b < m.block_count(); ++b) {
    const unsigned elements = m.blocks[b].empty() ? 0 : m.blocks[b].cols();
    if (element_dim(element_type(m.types[b])) < 2) {
      qualities.insert(qualities.end(), elements, none);
      jacobians.insert(jacobians.end(), elements, none);
      continue;
    }
    if (const int code = measure_block(m, b, q, dets, failed)) return code;
    for (unsigned j = 0; j < elements; ++j) {
      qualities.push_back(q[j]);
      jacobians.push_back(scaled_jacobian(dets(0, j), dets(1, j)));
    }
  }
  return 0;
}

void write_quality_histogram(std::FILE* out, const mesh_quality& q) {
  std::fputs("shape quality:\n", out);
  q.qualities.print(out);
}

void write_quality_report(std::FILE* out, const mesh_quality& q) {
  write_quality_histogram(out, q);
  std::fputs("scaled Jacobian (smallest / largest determinant):\n", out);
  q.scaled_jacobians.print(out);
  if (!q.worst.empty()) std::fputs("worst elements:\n", out);
  for (const measured_element& e : q.worst)
    std::fprintf(out, "  block %u element %u (%s): quality %s, scaled Jacobian %s\n", e.block, e.element,
                 element_name(e.kind), format_number(e.quality, 6).text, format_number(e.scaled_jacobian, 6).text);
  std::fprintf(out, "inverted: %u\ndegenerate: %u\n", q.inverted, q.degenerate);
}

}  // namespace plexa_cli
