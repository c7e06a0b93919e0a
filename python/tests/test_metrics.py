"""Metric primitives over stacks of tensors and the field functions, checked
against NumPy's linear algebra on the same tensors."""

import numpy as np
import pytest

import plexa
from conftest import spd_metrics


def unpack(m):
    """Packed (..., 6) metrics as symmetric (..., 3, 3) matrices."""
    m = np.asarray(m)
    i, j = np.triu_indices(3)
    order = np.argsort(j * 3 + i)  # the packing runs column by column
    full = np.zeros(m.shape[:-1] + (3, 3))
    full[..., i[order], j[order]] = m
    full[..., j[order], i[order]] = m
    return full


def rotations(count, seed):
    q, _ = np.linalg.qr(np.random.default_rng(seed).normal(size=(count, 3, 3)))
    return q * np.sign(np.linalg.det(q))[:, None, None]


class TestPrimitives:
    def test_eigen_pairs_rebuild_the_metric_and_match_numpy(self):
        m = spd_metrics(50, seed=21).reshape(5, 10, 6)
        L, V, ok = plexa.eigen_pairs(m)
        assert L.shape == (5, 10, 3) and V.shape == (5, 10, 3, 3) and ok.all()
        np.testing.assert_allclose(L, np.linalg.eigvalsh(unpack(m)), rtol=1e-12)
        # Rows are the eigenvectors: M = V^T diag(L) V, and a right-handed basis.
        rebuilt = np.einsum("...ki,...k,...kj->...ij", V, L, V)
        np.testing.assert_allclose(rebuilt, unpack(m), rtol=1e-10, atol=1e-12)
        np.testing.assert_allclose(np.linalg.det(V), 1.0, rtol=1e-12)
        np.testing.assert_allclose(plexa.eigen_values(m), L, rtol=1e-13)

    def test_generalized_pairs_solve_m2_v_equals_l_m1_v(self):
        m1, m2 = spd_metrics(20, seed=22), spd_metrics(20, seed=23)
        L, V, ok = plexa.eigen_pairs(m1, m2)
        assert ok.all()
        a, b = unpack(m1), unpack(m2)
        for k in range(3):
            v = V[:, k, :]
            np.testing.assert_allclose(np.einsum("nij,nj->ni", b, v), L[:, k, None] * np.einsum("nij,nj->ni", a, v),
                                       rtol=1e-9, atol=1e-9)

    def test_sizes_along_axes(self):
        H = np.array([[0.5, 1.0, 2.0], [3.0, 0.25, 1.0]])
        R = rotations(2, seed=24)
        m = plexa.metric_aniso(H, R=R)
        expected = np.einsum("nki,nk,nkj->nij", R, 1.0 / H**2, R)
        np.testing.assert_allclose(unpack(m), expected, rtol=1e-12, atol=1e-15)
        np.testing.assert_allclose(plexa.eigen_values(m), np.sort(1.0 / H**2, axis=1), rtol=1e-12)
        np.testing.assert_array_equal(plexa.metric_aniso(H)[:, [0, 2, 5]], 1.0 / H**2)
        iso = plexa.metric_aniso(np.array([2.0, -1.0]), dim=2)
        np.testing.assert_array_equal(iso, [[0.25, 0, 0.25], [0, 0, 0]])
        assert plexa.metric_aniso(2.0, dim=3).shape == (6,)

    def test_tangent_planes_broadcast_one_size_over_many_bases(self):
        T = np.random.default_rng(25).normal(size=(7, 2, 3))
        m2 = plexa.metric_aniso2d(2.0, T)
        gram = np.einsum("nik,njk->nij", T, T) / 4.0
        np.testing.assert_allclose(m2, gram[:, [0, 0, 1], [0, 1, 1]], rtol=1e-14)
        m3 = spd_metrics(7, seed=25)
        restricted = np.einsum("nik,nkl,njl->nij", T, unpack(m3), T)
        np.testing.assert_allclose(plexa.metric_aniso3d_to_aniso2d(m3, T), restricted[:, [0, 0, 1], [0, 1, 1]],
                                   rtol=1e-12)
        # The field form gives the same restriction.
        np.testing.assert_array_equal(plexa.metrics_aniso3d_to_aniso2d(m3, T.reshape(7, 6)),
                                      plexa.metric_aniso3d_to_aniso2d(m3, T))

    def test_bounds_and_extremes(self):
        m = spd_metrics(40, seed=26)
        clamped, ok = plexa.bound_metric(m, 0.5, 2.0)
        sizes = 1 / np.sqrt(plexa.eigen_values(clamped[ok]))
        assert (sizes >= 0.5 - 1e-12).all() and (sizes <= 2.0 + 1e-12).all()
        np.testing.assert_array_equal(clamped[~ok], m[~ok])
        m2 = spd_metrics(40, seed=27)
        small, ok_small = plexa.minimum_metric(m, m2)
        large, ok_large = plexa.maximum_metric(m, m2)
        assert ok_small.all() and ok_large.all()
        for a in (m, m2):  # the intersection's unit ball lies in both, the other holds both
            assert np.linalg.eigvalsh(unpack(small) - unpack(a)).min() > -1e-9
            assert np.linalg.eigvalsh(unpack(a) - unpack(large)).min() > -1e-9
        single = plexa.is_valid_metric(m[0])
        assert single is True
        np.testing.assert_array_equal(plexa.is_valid_metric([[1, 0, 1], [1, 2, 1]]), [True, False])
        hmin = 1 / np.sqrt(np.linalg.eigvalsh(unpack(m)).max(axis=1))
        np.testing.assert_allclose(plexa.metric_aniso_to_iso(m, 0.0), hmin, rtol=1e-12)

    def test_stacks_must_hold_packed_metrics(self):
        with pytest.raises(ValueError, match="M: metrics are packed in 3"):
            plexa.eigen_values(np.ones((4, 5)))
        with pytest.raises(ValueError, match="T: a tangent basis"):
            plexa.metric_aniso2d(1.0, np.ones((3, 2)))
        with pytest.raises(ValueError):
            plexa.eigen_pairs(np.ones((4, 6)), np.ones((3, 6)))  # batches that do not broadcast


class TestFields:
    def test_validity_scans(self):
        h = np.array([1.0, 2.0, 0.0, 1.0, np.nan])
        assert plexa.first_invalid_metric(h) == 2
        assert plexa.first_invalid_metric(h, nodes=[0, 3, 4]) == 2
        assert plexa.are_valid_metrics(h, nodes=[0, 1, 3]) and not plexa.are_valid_metrics(h)
        m = spd_metrics(6, seed=28)
        m[[1, 4]] = [1, 2, 1, 0, 0, 1]  # indefinite
        assert plexa.first_invalid_metric(m) == 1
        np.testing.assert_array_equal(plexa.valid_metrics(m), [0, 2, 3, 5])

    def test_clamping_and_repair(self):
        h = np.array([0.1, 1.0, 5.0, -1.0, np.nan])
        clamped, modified = plexa.bound_metrics(h, 0.5, 2.0)
        np.testing.assert_array_equal(clamped[:4], [0.5, 1.0, 2.0, 0.5])
        np.testing.assert_array_equal(modified, [0, 2, 3])
        assert h[0] == 0.1  # a copy unless in place
        same, _ = plexa.bound_metrics(h, 0.5, 2.0, inplace=True)
        assert same is h and h[0] == 0.5

        sizes = np.array([1.0, -1.0, 0.0, 3.0])
        np.testing.assert_array_equal(plexa.overwrite_invalid_metrics(sizes, 7.0), [1, 7, 7, 3])
        np.testing.assert_array_equal(plexa.overwrite_invalid_metrics(sizes, [9, 8, -1, 9]), [1, 8, 0, 3])
        m = spd_metrics(4, seed=29)
        m[2] = 0
        fixed = plexa.overwrite_invalid_metrics(m, metric=[1, 0, 1, 0, 0, 1])
        np.testing.assert_array_equal(fixed[2], [1, 0, 1, 0, 0, 1])
        from_sizes = plexa.overwrite_invalid_metrics(m, np.full(4, 0.5))
        np.testing.assert_array_equal(from_sizes[2], [4, 0, 4, 0, 0, 4])
        np.testing.assert_array_equal(from_sizes[[0, 1, 3]], m[[0, 1, 3]])

    def test_conversions(self):
        h = np.array([2.0, -1.0, 0.5])
        np.testing.assert_array_equal(plexa.metrics_iso_to_aniso3d(h), plexa.metric_aniso(h, dim=3))
        previous = np.full((3, 3), 9.0)
        two = plexa.metrics_iso_to_aniso2d(h, M=previous)
        np.testing.assert_array_equal(two, [[0.25, 0, 0.25], [9, 9, 9], [4, 0, 4]])
        T = np.random.default_rng(30).normal(size=(3, 2, 3))
        np.testing.assert_array_equal(plexa.metrics_iso_to_aniso2d(h, T.reshape(3, 6))[[0, 2]],
                                      plexa.metric_aniso2d(h, T)[[0, 2]])
