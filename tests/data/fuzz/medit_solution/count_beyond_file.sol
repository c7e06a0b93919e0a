MeshVersionFormatted 2
Dimension 3
SolAtVertices
4294967295
3 4 4 4
1 2 3
