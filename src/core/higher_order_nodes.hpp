// Where the higher-order nodes of the quadratic element types sit: node
// nbr_base_nodes(type) + k of an element is the centre of the vertices that
// entry k lists (two for an edge node, four for a quadrangular face node,
// eight for the centre of a hexahedron).  This is the local order that
// core.hpp documents; the edge nodes follow the order implied by the node
// tables of the NASTRAN and EnSight writers, the face and centre nodes the
// order of the boundary tables (topology/boundary_tables.hpp).
#pragma once

#include "core/element_model.hpp"

namespace zeb {
namespace plexa {
namespace detail {

struct node_parents {
  unsigned char count;      // 2, 4 or 8 vertices
  unsigned char vertex[8];  // local vertex numbers
};

struct higher_order_list {
  unsigned char count;  // nbr_nodes - nbr_base_nodes
  node_parents node[19];
};

inline constexpr higher_order_list edge3_nodes = {1, {{2, {0, 1}}}};
// Node 3 + j on edge j of the triangle (the edge opposite node j).
inline constexpr higher_order_list tria6_nodes = {3, {{2, {1, 2}}, {2, {2, 0}}, {2, {0, 1}}}};
// Node 4 + j on the edge from node j to node j + 1; node 8 at the centre.
inline constexpr higher_order_list quad8_nodes = {4, {{2, {0, 1}}, {2, {1, 2}}, {2, {2, 3}}, {2, {3, 0}}}};
inline constexpr higher_order_list quad9_nodes = {5, {
    {2, {0, 1}}, {2, {1, 2}}, {2, {2, 3}}, {2, {3, 0}}, {4, {0, 1, 2, 3}}}};
// Nodes 4, 5, 6 on the base edges opposite nodes 0, 1, 2; 7, 8, 9 on the
// edges from nodes 0, 1, 2 to node 3.
inline constexpr higher_order_list tetra10_nodes = {6, {
    {2, {1, 2}}, {2, {0, 2}}, {2, {0, 1}}, {2, {0, 3}}, {2, {1, 3}}, {2, {2, 3}}}};
// Nodes 5 to 8 on the base edges, 9 to 12 on the edges to the apex; node 13
// at the centre of the base.
inline constexpr higher_order_list pyra13_nodes = {8, {
    {2, {0, 1}}, {2, {1, 2}}, {2, {2, 3}}, {2, {3, 0}}, {2, {0, 4}}, {2, {1, 4}}, {2, {2, 4}}, {2, {3, 4}}}};
inline constexpr higher_order_list pyra14_nodes = {9, {
    {2, {0, 1}}, {2, {1, 2}}, {2, {2, 3}}, {2, {3, 0}}, {2, {0, 4}}, {2, {1, 4}}, {2, {2, 4}}, {2, {3, 4}},
    {4, {0, 1, 2, 3}}}};
// Node 6 + j on edge j of the wedge's edge list: the three vertical edges,
// then the bottom and the top edges opposite nodes 0, 1, 2 (3, 4, 5); nodes
// 15, 16, 17 at the centres of the quadrangular faces F2, F3, F4.
inline constexpr higher_order_list wedge15_nodes = {9, {
    {2, {0, 3}}, {2, {1, 4}}, {2, {2, 5}}, {2, {1, 2}}, {2, {2, 0}}, {2, {0, 1}}, {2, {4, 5}}, {2, {5, 3}},
    {2, {3, 4}}}};
inline constexpr higher_order_list wedge18_nodes = {12, {
    {2, {0, 3}}, {2, {1, 4}}, {2, {2, 5}}, {2, {1, 2}}, {2, {2, 0}}, {2, {0, 1}}, {2, {4, 5}}, {2, {5, 3}},
    {2, {3, 4}}, {4, {2, 1, 4, 5}}, {4, {0, 2, 5, 3}}, {4, {1, 0, 3, 4}}}};
// Node 8 + j on edge j of the hexahedron's edge list: bottom, top, then
// vertical edges; nodes 20 to 25 at the centres of faces F0 to F5, node 26
// at the centre.
inline constexpr higher_order_list hexa20_nodes = {12, {
    {2, {0, 1}}, {2, {1, 2}}, {2, {2, 3}}, {2, {3, 0}}, {2, {4, 5}}, {2, {5, 6}}, {2, {6, 7}}, {2, {7, 4}},
    {2, {0, 4}}, {2, {1, 5}}, {2, {2, 6}}, {2, {3, 7}}}};
inline constexpr higher_order_list hexa27_nodes = {19, {
    {2, {0, 1}}, {2, {1, 2}}, {2, {2, 3}}, {2, {3, 0}}, {2, {4, 5}}, {2, {5, 6}}, {2, {6, 7}}, {2, {7, 4}},
    {2, {0, 4}}, {2, {1, 5}}, {2, {2, 6}}, {2, {3, 7}}, {4, {0, 3, 7, 4}}, {4, {1, 5, 6, 2}}, {4, {0, 4, 5, 1}},
    {4, {3, 2, 6, 7}}, {4, {0, 1, 2, 3}}, {4, {4, 7, 6, 5}}, {8, {0, 1, 2, 3, 4, 5, 6, 7}}}};

// The higher-order nodes of a quadratic type; nullptr for the others.
constexpr const higher_order_list* higher_order_nodes(element_type type) noexcept {
  switch (type) {
    case ELT_EDGE3: return &edge3_nodes;
    case ELT_TRIA6: return &tria6_nodes;
    case ELT_QUAD8: return &quad8_nodes;
    case ELT_QUAD9: return &quad9_nodes;
    case ELT_TETRA10: return &tetra10_nodes;
    case ELT_PYRA13: return &pyra13_nodes;
    case ELT_PYRA14: return &pyra14_nodes;
    case ELT_WEDGE15: return &wedge15_nodes;
    case ELT_WEDGE18: return &wedge18_nodes;
    case ELT_HEXA20: return &hexa20_nodes;
    case ELT_HEXA27: return &hexa27_nodes;
    default: return nullptr;
  }
}

// The linear type whose vertices a quadratic type shares (ELT_TRIA6 ->
// ELT_TRIA3, ...); the type itself for the others.
constexpr element_type linear_type(element_type type) noexcept {
  switch (type) {
    case ELT_EDGE3: return ELT_EDGE2;
    case ELT_TRIA6: return ELT_TRIA3;
    case ELT_QUAD8:
    case ELT_QUAD9: return ELT_QUAD4;
    case ELT_TETRA10: return ELT_TETRA4;
    case ELT_PYRA13:
    case ELT_PYRA14: return ELT_PYRA5;
    case ELT_WEDGE15:
    case ELT_WEDGE18: return ELT_WEDGE6;
    case ELT_HEXA20:
    case ELT_HEXA27: return ELT_HEXA8;
    default: return type;
  }
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
