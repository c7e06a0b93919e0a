// The C++ side of the Python tests: runs library calls on inputs that the
// tests wrote as .npy files and writes the results as .npy files, so that
// each binding is compared with the library called directly on the same
// data.
//
//   plexa_py_oracle <case> <folder>
//
// An (n, k) array is the k x n column-major matrix (the memory is the same),
// a 1-D array a vector.  Only little-endian float64, uint32 and int32 arrays
// in C order are read and written.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <zeb/plexa.hpp>

namespace {

using namespace zeb::plexa;
using zeb::dense1D;
using zeb::dense2D;

std::string folder;

template <class T>
const char* descr();
template <>
const char* descr<double>() { return "<f8"; }
template <>
const char* descr<unsigned>() { return "<u4"; }
template <>
const char* descr<int>() { return "<i4"; }

// The raw entries and shape of an .npy file.
template <class T>
std::vector<T> load(const std::string& name, std::vector<std::size_t>& shape) {
  std::ifstream in(folder + "/" + name + ".npy", std::ios::binary);
  if (!in) throw std::runtime_error("missing input " + name);
  char magic[8];
  in.read(magic, 8);
  if (std::memcmp(magic, "\x93NUMPY", 6) != 0) throw std::runtime_error(name + ": not an .npy file");
  std::size_t header_length = 0;
  if (magic[6] == 1) {
    unsigned char b[2];
    in.read(reinterpret_cast<char*>(b), 2);
    header_length = b[0] | (b[1] << 8);
  } else {
    unsigned char b[4];
    in.read(reinterpret_cast<char*>(b), 4);
    header_length = b[0] | (b[1] << 8) | (b[2] << 16) | (std::size_t(b[3]) << 24);
  }
  std::string header(header_length, '\0');
  in.read(header.data(), std::streamsize(header_length));
  if (header.find(std::string("'descr': '") + descr<T>() + "'") == std::string::npos ||
      header.find("'fortran_order': False") == std::string::npos)
    throw std::runtime_error(name + ": unexpected dtype or order: " + header);
  const std::size_t open = header.find('(', header.find("'shape'")), close = header.find(')', open);
  std::stringstream dims(header.substr(open + 1, close - open - 1));
  shape.clear();
  std::string item;
  while (std::getline(dims, item, ','))
    if (item.find_first_not_of(' ') != std::string::npos) shape.push_back(std::stoul(item));
  std::size_t count = 1;
  for (std::size_t d : shape) count *= d;
  std::vector<T> data(count);
  in.read(reinterpret_cast<char*>(data.data()), std::streamsize(count * sizeof(T)));
  if (!in) throw std::runtime_error(name + ": truncated");
  return data;
}

template <class T>
dense2D<T> matrix(const std::string& name) {
  std::vector<std::size_t> shape;
  const std::vector<T> data = load<T>(name, shape);
  if (shape.size() != 2) throw std::runtime_error(name + ": not 2-D");
  dense2D<T> m(static_cast<unsigned>(shape[1]), static_cast<unsigned>(shape[0]));
  if (!data.empty()) std::memcpy(m.data(), data.data(), data.size() * sizeof(T));
  return m;
}

template <class T>
dense1D<T, 8> vector(const std::string& name) {
  std::vector<std::size_t> shape;
  const std::vector<T> data = load<T>(name, shape);
  if (shape.size() != 1) throw std::runtime_error(name + ": not 1-D");
  dense1D<T, 8> v(unsigned(data.size()));
  for (unsigned k = 0; k < v.size(); ++k) v[k] = data[k];
  return v;
}

template <class T>
void save(const std::string& name, const T* data, std::vector<std::size_t> shape) {
  std::string dims;
  for (std::size_t d : shape) dims += std::to_string(d) + ",";
  if (shape.size() == 2) dims.pop_back();
  std::string header = std::string("{'descr': '") + descr<T>() + "', 'fortran_order': False, 'shape': (" + dims + "), }";
  while ((10 + header.size() + 1) % 64 != 0) header += ' ';
  header += '\n';
  std::ofstream out(folder + "/" + name + ".npy", std::ios::binary);
  out.write("\x93NUMPY\x01\x00", 8);
  const unsigned char length[2] = {static_cast<unsigned char>(header.size() & 0xFF),
                                   static_cast<unsigned char>(header.size() >> 8)};
  out.write(reinterpret_cast<const char*>(length), 2);
  out << header;
  std::size_t count = 1;
  for (std::size_t d : shape) count *= d;
  out.write(reinterpret_cast<const char*>(data), std::streamsize(count * sizeof(T)));
}

// A contiguous matrix as (cols, rows); a strided one is compacted first.
template <class T>
void save(const std::string& name, const dense2D<T>& m) {
  dense2D<T> c;
  c.copy(m);
  save(name, c.data(), {c.cols(), c.rows()});
}

template <class T>
void save(const std::string& name, const dense1D<T, 8>& v) {
  save(name, v.data(), {v.size()});
}

void save_code(const std::string& name, int code) { save(name, &code, {1}); }

// A histogram that keeps every value it is given.
struct recorder : zeb::misc::histogram {
  std::vector<double> values;
  void process(double v) override { values.push_back(v); }
};

element_type type_input(const std::string& name) { return element_type(vector<int>(name)[0]); }

const std::map<std::string, std::function<void()>> cases = {
    {"indices",
     [] {
       const auto ids = vector<unsigned>("ids");
       const auto connect = matrix<unsigned>("connect"), other = matrix<unsigned>("other");
       dense1D<unsigned, 8> u, order, offsets, pos1, pos2;
       unique_indices(u, connect, vector<unsigned>("excluded"));
       save("unique", u);
       save_code("count", count_unique_indices(connect));
       get_sorted_order(ids, order, offsets);
       save("order", order);
       save("offsets", offsets);
       get_IDs(connect, other, pos1, pos2, false);
       save("pos1", pos1);
       save("pos2", pos2);
       auto shifted = matrix<unsigned>("connect");
       shift_indices(shifted, 7, ELT_NONE);
       save("shifted", shifted);
       auto changed = matrix<unsigned>("connect");
       change_indices(changed, vector<unsigned>("map"));
       save("changed", changed);
     }},
    {"geometry",
     [] {
       const auto pos = matrix<double>("pos");
       const auto tets = matrix<unsigned>("tets");
       const auto c = vector<double>("C"), r = vector<double>("R");
       auto rotated = matrix<double>("pos");
       rotate(rotated, zeb::vector_fixed<double, 3>(c[0], c[1], c[2]), zeb::vector_fixed<double, 3>(r[0], r[1], r[2]),
              tets.sub_matrix(0, 0, 4, tets.cols() / 2));
       save("rotated", rotated);
       dense2D<double> g;
       centroids(pos, tets, g, ELT_TETRA4);
       save("centroids", g);
       zeb::vector_fixed<double, 3> lo(INFINITY, INFINITY, INFINITY), hi(-INFINITY, -INFINITY, -INFINITY);
       inc_bounding_box(pos, tets.sub_matrix(0, 0, 4, 10), lo, hi);
       save("box", lo.v, {3});
       save("box_max", hi.v, {3});
       auto copied = matrix<double>("pos");
       dense2D<unsigned> copy_connect;
       copy_sym_mesh(copied, copy_connect, zeb::vector_fixed<double, 3>(0.5, 0, 0), zeb::vector_fixed<double, 3>(1, 1, 0),
                     tets);
       save("sym_pos", copied);
       save("sym_connect", copy_connect);
       auto copies = matrix<double>("pos");
       dense2D<unsigned> copies_connect;
       copy_mesh(copies, copies_connect, zeb::vector_fixed<double, 3>(4, 0, 0), zeb::vector_fixed<double, 3>(c[0], c[1], c[2]),
                 zeb::vector_fixed<double, 3>(r[0], r[1], r[2]), 2, tets);
       save("copies_pos", copies);
       save("copies_connect", copies_connect);
       dense2D<unsigned> kept;
       clip(pos, tets, zeb::vector_fixed<double, 3>(c[0], c[1], c[2]), zeb::vector_fixed<double, 3>(r[0], r[1], r[2]), kept);
       save("kept", kept);
       auto moved = matrix<double>("pos");
       translate(moved, zeb::vector_fixed<double, 3>(r[0], r[1], r[2]), tets.sub_matrix(0, 0, 4, 5));
       zoom(moved, zeb::vector_fixed<double, 3>(c[0], c[1], c[2]), 1.5);
       save("moved", moved);
     }},
    {"search",
     [] {
       auto pos = matrix<double>("pos");
       const auto tolerance = vector<double>("tolerance")[0];
       const auto points = matrix<double>("points");
       const dense2D<double> original = pos;
       node_detector tree(original);
       dense1D<unsigned, 8> closest(points.cols());
       for (unsigned j = 0; j < points.cols(); ++j)
         closest[j] = tree.find_closest(zeb::vector_fixed<double, 3>(points(0, j), points(1, j), points(2, j)));
       save("closest", closest);
       dense1D<unsigned, 8> in_box;
       tree.find_in_box(zeb::vector_fixed<double, 3>(0.2, 0.2, 0.2), zeb::vector_fixed<double, 3>(0.6, 0.7, 0.8), in_box);
       save("in_box", in_box);
       dense1D<unsigned, 8> map;
       save_code("merged", merge(pos, map, tolerance));
       save("merged_pos", pos);
       save("new_IDs", map);
       auto connect = matrix<unsigned>("connect");
       dense1D<unsigned, 8> connect_map, removed;
       merge(original, connect, connect_map, tolerance, 0);
       save("merged_connect", connect);
       remove_degenerated(connect, removed, false);
       save("cleaned_connect", connect);
       save("removed_map", removed);
     }},
    {"topology",
     [] {
       const auto tets = matrix<unsigned>("tets");
       dense2D<unsigned> nbr, bnd;
       get_neighbors(tets, ELT_TETRA4, false, nbr);
       save("neighbors", nbr);
       get_mesh_boundaries(tets, nbr, ELT_TETRA4, bnd);
       save("boundaries", bnd);
       dense1D<unsigned, 8> offsets, nodes, elements, sub_offsets;
       get_node_graph(tets, offsets, nodes, ELT_TETRA4);
       save("graph_offsets", offsets);
       save("graph_nodes", nodes);
       get_subdomains(nbr, elements, sub_offsets);
       save("sub_elements", elements);
       save("sub_offsets", sub_offsets);
       dense2D<unsigned> faces, interfaces;
       get_element_boundaries(tets, ELT_TETRA4, faces);
       save("element_boundaries", faces);
       dense1D<unsigned, 8> keys, on_keys, ancestors, connected_offsets, connected;
       unsigned nb = 0;
       get_mesh_bounding_elements(tets, nbr, ELT_TETRA4, keys, nb);
       save("bounding_keys", keys);
       get_colors_boundaries(tets, nbr, vector<unsigned>("colors"), ELT_TETRA4, true, interfaces);
       save("interfaces", interfaces);
       get_ancestors(tets, ancestors);
       save("ancestors", ancestors);
       get_elements_on_boundaries(bnd, tets, nbr, ancestors, ELT_TETRA4, 0, on_keys, nb);
       save("on_keys", on_keys);
       get_connected_elements(tets, connected_offsets, connected);
       save("connected_offsets", connected_offsets);
       save("connected", connected);
       auto mixed = matrix<unsigned>("mixed");
       dense1D<unsigned, 8> counts, ends, index;
       sort_elfes(mixed, counts, ends, index);
       save("sorted", mixed);
       save("group_ends", ends);
       save("new_index", index);
     }},
    {"edges",
     [] {
       const auto pos = matrix<double>("pos");
       const auto tets = matrix<unsigned>("tets");
       dense2D<unsigned> edges;
       copy_edges(tets, ELT_TETRA4, edges);
       save("edges", edges);
       recorder sizes, metrics;
       save_code("count", edge_qualities(pos, tets, ELT_TETRA4, vector<double>("sizes"), sizes, dense2D<unsigned>()));
       save("size_qualities", sizes.values.data(), {sizes.values.size()});
       edge_qualities(pos, tets, ELT_TETRA4, matrix<double>("metrics"), metrics, matrix<unsigned>("excluded"));
       save("metric_qualities", metrics.values.data(), {metrics.values.size()});
     }},
    {"metrics",
     [] {
       const auto metrics = matrix<double>("metrics");
       dense2D<double> values(3, metrics.cols());
       for (unsigned j = 0; j < metrics.cols(); ++j) {
         zeb::symmetric_fixed<double, 3> m;
         for (unsigned k = 0; k < 6; ++k) m[k] = metrics(k, j);
         zeb::vector_fixed<double, 3> l;
         eigen_values(m, l);
         for (unsigned k = 0; k < 3; ++k) values(k, j) = l[k];
       }
       save("eigen_values", values);
       auto bounded = matrix<double>("metrics");
       dense1D<unsigned, 8> modified;
       bound_metrics(bounded, 0.5, 2.0, modified);
       save("bounded", bounded);
       save("modified", modified);
       const auto sizes = vector<double>("sizes");
       dense2D<double> iso(6, sizes.size(), 0.0);
       metrics_iso_to_aniso3d(sizes, iso);
       save("iso", iso);
     }},
    {"quality",
     [] {
       const auto pos = matrix<double>("pos");
       const auto tets = matrix<unsigned>("tets");
       dense1D<double, 8> q, qm;
       shape_qualities(pos, tets, ELT_TETRA4, q);
       save("qualities", q);
       shape_qualities(pos, tets, ELT_TETRA4, matrix<double>("metrics"), qm);
       save("metric_qualities", qm);
       dense2D<double> dets;
       jacobians(pos, tets, ELT_TETRA4, dets);
       save("jacobians", dets);
     }},
    {"io",
     [] {
       const auto pos = matrix<double>("pos");
       const std::vector<dense2D<unsigned>> blocks = {matrix<unsigned>("tets"), matrix<unsigned>("tris")};
       const auto types = vector<int>("types");
       const auto* first = blocks.data();
       const auto* last = first + blocks.size();
       save_code("medit", medit_output((folder + "/cpp.mesh").c_str(), pos, first, last, types));
       save_code("vtk", vtk_output((folder + "/cpp.vtk").c_str(), pos, first, last, types));
       save_code("ensight", ensight_output((folder + "/cpp.geo").c_str(), pos, first, last, types));
       save_code("nastran", NASTRAN_output((folder + "/cpp.nas").c_str(), pos, blocks[0], blocks[1], ELT_TETRA4,
                                           ELT_TRIA3));
       save_code("scalar", medit_scalar((folder + "/cpp.sol").c_str(), 3, vector<double>("values")));
       save_code("vector", medit_vector((folder + "/cpp.bb").c_str(), 3, pos));
       save_code("tensor", medit_tensor((folder + "/cpp.tensor").c_str(), matrix<double>("tensors")));
     }},
    {"stl",
     [] {
       dense2D<double> pos;
       dense2D<unsigned> connect;
       STL_read_report report;
       save_code("code", STL_input((folder + "/soup.stl").c_str(), pos, connect, report));
       save("pos", pos);
       save("connect", connect);
       const double fields[4] = {double(report.binary), double(report.triangles), report.tolerance,
                                 double(report.removed)};
       save("report", fields, {4});
       save_code("ascii", STL_output((folder + "/cpp.stl").c_str(), matrix<double>("out_pos"),
                                     matrix<unsigned>("out_connect"), true));
     }},
    {"readers",
     [] {
       // What the Python side wrote, read here; the same meshes written back.
       const std::string f = folder + "/";
       dense2D<double> pos, obj_pos, values;
       dense2D<unsigned> connect, obj_connect;
       dense1D<unsigned, 8> ranges, refs, obj_ranges, groups;
       dense1D<int, 8> types, obj_types;
       std::vector<std::string> names;
       unsigned dim = 0;
       save_code("medit", medit_input((f + "py.mesh").c_str(), pos, connect, ranges, types, refs));
       save("mesh_pos", pos);
       save("mesh_connect", connect);
       save("mesh_ranges", ranges);
       save("mesh_types", types);
       save("mesh_refs", refs);
       save_code("obj", WavefrontOBJ_input((f + "py.obj").c_str(), obj_pos, obj_connect, obj_ranges, obj_types, groups,
                                           names));
       save("obj_pos", obj_pos);
       save("obj_connect", obj_connect);
       save("obj_ranges", obj_ranges);
       save("obj_types", obj_types);
       save("obj_groups", groups);
       std::ofstream listed(f + "obj_names.txt");
       for (const std::string& n : names) listed << n << '\n';
       save_code("sol", medit_solution_input((f + "py.sol").c_str(), dim, values));
       save_code("sol_dim", int(dim));
       save("sol_values", values);
       save_code("medit_out", medit_output((f + "cpp.mesh").c_str(), pos, connect, ranges, types, refs));
       save_code("obj_out",
                 WavefrontOBJ_output((f + "cpp.obj").c_str(), obj_pos, obj_connect, obj_ranges, obj_types, groups, names));
       save_code("sol_out", medit_solution_output((f + "cpp.sol").c_str(), dim, values));
     }},
    {"nastran_femap",
     [] {
       // The decks and neutral files the Python side wrote, read here with
       // their ids; the meshes read written back.
       const std::string f = folder + "/";
       for (const char* format : {"nas", "neu"}) {
         const std::string key = format;
         const bool nas = key == "nas";
         dense2D<double> pos;
         dense2D<unsigned> connect;
         dense1D<unsigned, 8> ranges, ids, node_ids, element_ids;
         dense1D<int, 8> types;
         const std::string in = f + "py." + key, out = f + "cpp." + key;
         save_code(key, nas ? NASTRAN_input(in.c_str(), pos, connect, ranges, types, ids, node_ids, element_ids)
                            : FEMAP_input(in.c_str(), pos, connect, ranges, types, ids, node_ids, element_ids));
         save(key + "_pos", pos);
         save(key + "_connect", connect);
         save(key + "_ranges", ranges);
         save(key + "_types", types);
         save(key + "_ids", ids);
         save(key + "_node_ids", node_ids);
         save(key + "_element_ids", element_ids);
         save_code(key + "_out", nas ? NASTRAN_output(out.c_str(), pos, connect, ranges, types, ids)
                                     : FEMAP_output(out.c_str(), pos, connect, ranges, types, ids));
         save_code(key + "_empty", nas ? NASTRAN_input((f + "empty.nas").c_str(), pos, connect, ranges, types, ids)
                                       : FEMAP_input((f + "empty.neu").c_str(), pos, connect, ranges, types, ids));
       }
     }},
    {"gradation",
     [] {
       const auto pos = matrix<double>("pos");
       const auto tets = matrix<unsigned>("tets");
       const auto frozen = vector<unsigned>("frozen");
       auto sizes = vector<double>("sizes");
       save_code("sizes_code", bound_metric_gradations(pos, tets, ELT_TETRA4, dense1D<unsigned, 8>(), true, -1, 0.2, sizes));
       save("graded_sizes", sizes);
       auto metrics = matrix<double>("metrics");
       bound_metric_gradations(pos, tets, ELT_TETRA4, frozen, true, -1, 0.3, metrics);
       save("graded_metrics", metrics);
       auto varied = vector<double>("sizes");
       bound_metric_variations(pos, tets, ELT_TETRA4, frozen, false, 0, 1.0, varied);
       save("varied_sizes", varied);
       dense1D<double, 8> generated;
       metrics_gen_iso(pos, tets, ELT_TETRA4, generated, 2.0);
       save("generated", generated);
       dense2D<unsigned> edges;
       copy_edges(tets, ELT_TETRA4, edges);
       dense1D<double, 8> shock;
       H_shock(pos, edges, sizes, shock);
       save("shock", shock);
     }},
    {"neighbors",
     [] {
       const auto tets = matrix<unsigned>("tets");
       dense2D<unsigned> nbr;
       save_code("code", get_neighbors(tets, type_input("type"), false, nbr));
       save("neighbors", nbr);
     }},
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 || !cases.count(argv[1])) {
    std::fprintf(stderr, "usage: plexa_py_oracle <case> <folder>; cases:");
    for (const auto& c : cases) std::fprintf(stderr, " %s", c.first.c_str());
    std::fprintf(stderr, "\n");
    return 2;
  }
  folder = argv[2];
  try {
    cases.at(argv[1])();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "plexa_py_oracle: %s\n", e.what());
    return 1;
  }
  return 0;
}
