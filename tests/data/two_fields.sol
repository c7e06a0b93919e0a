# A solution of two fields at the vertices (a scalar and a vector) in the
# keyword layout, as other tools write it.
meshversionformatted 2
Dimension 2

SolAtVertices
3
2 1 2
1.5 1 0
2.5
0 1
-1 1e-3 2

END
