// The containers of zebmath1 (include/zeb/dense.hpp, src/companions/math1/).
#include <cstdint>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/dense.hpp>
#include <zeb/testing/allocation_failure.hpp>

namespace {
struct record {
  unsigned id;
  double weight;
};
}  // namespace

// Every member exists for every element type, not only for the ones the
// library happens to call.
template class zeb::dense1D<double, 8>;
template class zeb::dense1D<unsigned, 8>;
template class zeb::dense1D<int, 8>;
template class zeb::dense1D<record, 8>;
template class zeb::dense2D<double>;
template class zeb::dense2D<unsigned>;
template class zeb::dense2D<int>;
template class zeb::dense2D<record>;
template struct zeb::vector_fixed<record, 3>;
template struct zeb::matrix_fixed<record, 2, 3>;
template struct zeb::symmetric_fixed<record, 3>;

using zeb::dense1D;
using zeb::dense2D;
using zeb::testing::allocation_failure_scope;

namespace {
unsigned count_of(const dense1D<unsigned>& v) { return v.storage() ? v.storage()->ref_count() : 0; }
unsigned count_of(const dense2D<unsigned>& m) { return m.storage() ? m.storage()->ref_count() : 0; }

// Entry (i, j) holds 1000 i + j.
dense2D<unsigned> numbered(unsigned rows, unsigned cols) {
  dense2D<unsigned> m(rows, cols);
  for (unsigned j = 0; j < cols; ++j)
    for (unsigned i = 0; i < rows; ++i) m(i, j) = 1000 * i + j;
  return m;
}
}  // namespace

TEST(Containers, ViewsShareStorageAndCopyDoesNot) {
  dense1D<unsigned> v(6, 7u);
  dense1D<unsigned> by_ctor(v), by_assign, shallow1, deep, middle = v.sub_vector(2, 3);
  by_assign = v;
  shallow1.shallow_copy(v);
  ASSERT_TRUE(deep.copy(v));
  EXPECT_TRUE(count_of(v) == 5 && count_of(deep) == 1);
  by_ctor[0] = 1, by_assign[1] = 2, middle[0] = 3, shallow1[3] = 4, deep[5] = 9;  // middle[0] is entry 2 of v
  EXPECT_EQ(std::vector<unsigned>(v.begin(), v.end()), (std::vector<unsigned>{1, 2, 3, 4, 7, 7}));
  EXPECT_EQ(std::vector<unsigned>(deep.begin(), deep.end()), (std::vector<unsigned>{7, 7, 7, 7, 7, 9}));
  EXPECT_EQ((v = 4u), 4u);
  EXPECT_EQ(middle[2], 4u);

  dense2D<unsigned> m = numbered(4, 5), want = numbered(4, 5);
  dense2D<unsigned> copied(m), assigned, shallow, deep2, block = m.sub_matrix(1, 2, 2, 3);
  dense1D<unsigned> flat = m.as_vector();
  assigned = m;
  shallow.shallow_copy(m);
  ASSERT_TRUE(deep2.copy(m));
  EXPECT_EQ(count_of(m), 6u);
  copied(0, 0) = want(0, 0) = 11, assigned(3, 4) = want(3, 4) = 12, shallow(2, 1) = want(2, 1) = 13;
  block(1, 2) = want(2, 4) = 14, flat[4] = want(0, 1) = 15;  // entries (2, 4) and (0, 1) of m
  deep2(1, 1) = 99;
  EXPECT_TRUE(m.as_vector() == want.as_vector());
  EXPECT_TRUE(deep2(1, 1) == 99 && deep2(0, 0) == 0 && deep2(2, 4) == 2004);  // and m(1, 1) unchanged above
  copied.clear_hard();
  assigned = dense2D<unsigned>();
  EXPECT_EQ(count_of(m), 4u);
}

TEST(Containers, ViewsWithLeadingDimensionAboveRows) {
  const dense2D<unsigned> m = numbered(5, 4), s = m.sub_matrix(1, 1, 3, 2);
  EXPECT_EQ(s.ld(), 5u);
  EXPECT_FALSE(s.contiguous());
  EXPECT_TRUE(s.as_vector().empty());
  for (unsigned j = 0; j < 2; ++j)
    for (unsigned i = 0; i < 3; ++i) EXPECT_EQ(s.data()[j * s.ld() + i], 1000 * (i + 1) + j + 1);
  // A deep copy, a resize or a reserve gathers the view into a contiguous block.
  dense2D<unsigned> c, r(s), reserved(s);
  ASSERT_TRUE(c.copy(s));
  ASSERT_TRUE(r.resize(3, 3, 7u));
  ASSERT_TRUE(reserved.reserve(3, 40, 1));
  EXPECT_GE(reserved.capacity(), 120u);
  for (dense2D<unsigned>* t : {&c, &r, &reserved}) {
    EXPECT_EQ(t->ld(), 3u);
    for (unsigned j = 0; j < 2; ++j)
      for (unsigned i = 0; i < 3; ++i) EXPECT_EQ(t->data()[3 * j + i], s(i, j));
  }
  EXPECT_EQ(r(2, 2), 7u);
}

TEST(Containers, ResizeKeepsEntriesInsideBothShapes) {
  std::mt19937 g(17);
  for (int round = 0; round < 300; ++round) {
    const unsigned r0 = g() % 6, c0 = g() % 6, r1 = g() % 7, c1 = g() % 7;
    dense2D<unsigned> m = round % 2 ? numbered(r0 + 2, c0 + 1).sub_matrix(1, 1, r0, c0) : numbered(r0, c0);
    ASSERT_TRUE(m.resize(r1, c1, 77u));
    ASSERT_TRUE(m.rows() == r1 && m.cols() == c1 && m.ld() == r1);
    for (unsigned j = 0; j < c1; ++j)
      for (unsigned i = 0; i < r1; ++i)  // numbered(r0 + 2, ...) moved by (1, 1) is numbered + 1001
        ASSERT_EQ(m(i, j), i < r0 && j < c0 ? 1000 * i + j + 1001 * (round % 2) : 77u)
            << r0 << 'x' << c0 << " -> " << r1 << 'x' << c1;
  }
  dense1D<double> v(3, 1.5);
  ASSERT_TRUE(v.resize(5, -2.0) && v.resize(4) && v.push_back_n(2, 8.0));
  EXPECT_EQ(std::vector<double>(v.begin(), v.end()), (std::vector<double>{1.5, 1.5, 1.5, -2.0, 8.0, 8.0}));
}

TEST(Containers, GrowthFollowsTheAppendingProtocol) {
  dense1D<unsigned> v;
  ASSERT_TRUE(v.reserve(4, 1));
  for (unsigned k = 0; k < 4; ++k) ASSERT_TRUE(v.push_back(k));
  // Appending by hand on the storage, as hot loops do.
  zeb::vector_num<unsigned, 8>* s = v.storage();
  const unsigned end = v.start() + v.size();
  ASSERT_GE(end, s->capacity());
  ASSERT_TRUE(s->__grow(end + 1, end, 2) && s->capacity() >= 8);
  s->data()[end] = 4;
  ASSERT_TRUE(v.resize(v.size() + 1));
  // Required above factor x capacity wins; a large enough block is kept.
  ASSERT_TRUE(s->__grow(100, 5, 2) && s->capacity() >= 100);
  const unsigned* data = s->data();
  ASSERT_TRUE(s->__grow(50, 5, 1) && s->data() == data);
  for (unsigned k = 0; k < 5; ++k) EXPECT_EQ(v[k], k);
  // A view's appends land after its own end in the shared block.
  dense1D<unsigned> head = v.sub_vector(0, 2);
  ASSERT_TRUE(head.push_back(42));
  EXPECT_EQ(v[2], 42u);
}

TEST(Containers, FailedAllocationsLeaveContainersValidAndUnchanged) {
  dense1D<unsigned> v, other(3, 5u), empty_vec;
  for (unsigned k = 0; k < 4; ++k) ASSERT_TRUE(v.push_back(k));
  ASSERT_EQ(v.capacity(), v.size());
  const std::vector<unsigned> v_before(v.begin(), v.end());
  dense2D<double> m(2, 3, 1.0);
  {
    allocation_failure_scope fail(0);
    for (bool grown : {v.push_back(9), empty_vec.push_back(9), v.push_back_n(3, 9), v.resize(10), v.reserve(10),
                       other.copy(v), m.resize(3, 3), m.resize(2, 30), m.reserve(2, 30),
                       !dense1D<int>(5, 1).empty(), !dense2D<double>(3, 3).empty()})
      EXPECT_FALSE(grown);
    EXPECT_TRUE(v.resize(2) && v.resize(4));  // within capacity: no allocation
  }
  EXPECT_EQ(std::vector<unsigned>(v.begin(), v.end()), v_before);
  EXPECT_TRUE(other == dense1D<unsigned>(3, 5u));
  EXPECT_EQ(empty_vec.storage(), nullptr);
  EXPECT_EQ(m.rows() * 10 + m.cols(), 23u);
  EXPECT_EQ(m(1, 2), 1.0);
  {
    allocation_failure_scope fail(1);  // the block object, not its entries
    EXPECT_FALSE(empty_vec.push_back(9));
  }
  EXPECT_TRUE(empty_vec.push_back(9) && v.push_back(4));
}

TEST(Containers, OversizedRequestsFailWithoutAllocating) {
  struct huge {
    char bytes[std::size_t(1) << 33];
  };
  const auto before = zeb::testing::allocation_requests();
  dense2D<unsigned> m(65536, 65537);
  EXPECT_TRUE(m.empty());
  EXPECT_FALSE(m.resize(65537, 65536, 0u));
  EXPECT_FALSE(m.reserve(65536, 65537, 1));
  dense1D<huge> h;
  EXPECT_FALSE(h.resize((1u << 31) + 1));  // 2^64 bytes and more
  EXPECT_EQ(zeb::testing::allocation_requests(), before);

  dense1D<unsigned> v(8, 0u), tail = v.sub_vector(6, 2);
  EXPECT_FALSE(tail.resize(UINT32_MAX - 3));  // start + size past 32 bits
  EXPECT_FALSE(v.push_back_n(UINT32_MAX - 7, 1u));
  EXPECT_TRUE(tail.size() == 2 && v.size() == 8);
}

TEST(Containers, ReferenceCountsStayExactAcrossThreads) {
  const dense2D<unsigned> m = numbered(4, 64);
  dense1D<unsigned> v(32, 1u);
  std::vector<std::vector<dense2D<unsigned>>> kept(4);
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 4; ++t)
    threads.emplace_back([&, t] {
      for (unsigned k = 0; k < 20000; ++k) {
        dense2D<unsigned> a(m), b;
        b = a.sub_matrix(1, k % 60, 2, 3);
        dense1D<unsigned> c = m.as_vector(), d = v.sub_vector(k % 30, 2), e(d);
        b.shallow_copy(a);
        if (k % 1000 == 0) kept[t].push_back(b);
      }
    });
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(count_of(m), 81u);
  EXPECT_EQ(count_of(v), 1u);
  kept.clear();
  EXPECT_EQ(count_of(m), 1u);
}

TEST(Containers, FixedSizeLayouts) {
  // Diagonal constructors, and the packed upper triangle by columns: m11 m12 m22 m13 m23 m33.
  const zeb::symmetric_fixed<double, 3> d(1.0, 2.0, 3.0);
  const zeb::symmetric_fixed<double, 2> d2(4.0, 5.0);
  const double diag3[6] = {1, 0, 2, 0, 0, 3};
  for (unsigned k = 0; k < 6; ++k) EXPECT_EQ(d[k], diag3[k]);
  EXPECT_TRUE(d2[0] == 4 && d2[1] == 0 && d2[2] == 5 && (zeb::symmetric_fixed<double, 1>(6.0)[0]) == 6);
  zeb::symmetric_fixed<double, 3> p;
  p = zeb::symmetric_fixed<double, 3>(11, 12, 22, 13, 23, 33);
  for (unsigned i = 0; i < 3; ++i)
    for (unsigned j = 0; j < 3; ++j) EXPECT_EQ(p(i, j), 10.0 * (std::min(i, j) + 1) + std::max(i, j) + 1);

  const zeb::matrix_fixed<double, 3, 2> a(1, 2, 3, 4, 5, 6);  // column by column
  EXPECT_EQ(&a(0, 1) - &a(0, 0), 3);
  EXPECT_EQ(a(2, 0) * 10 + a(0, 1), 34.0);
  const zeb::matrix_fixed<double, 2, 2> z;
  const zeb::vector_fixed<double, 3> zero, x(1, 2.5, 3.0f);
  EXPECT_EQ(z(1, 0) + z(0, 1) + zero[2], 0.0);
  EXPECT_EQ(x[1], 2.5);
}

namespace {
// Counts the calls of the release callback of an adopted buffer.
void count_release(void* calls) noexcept { ++*static_cast<int*>(calls); }
}  // namespace

TEST(Containers, AdoptedMemoryIsViewedInPlaceAndReleasedOnce) {
  static_assert(sizeof(zeb::vector_num<double, 8>) == 32 && sizeof(zeb::vector_num<unsigned, 8>) == 32,
                "the external flag lives in the tail padding");
  double buffer[12];
  for (unsigned k = 0; k < 12; ++k) buffer[k] = k;
  int calls = 0;
  {
    zeb::Ptr<zeb::vector_num<double, 8>> block;
    block = zeb::vector_num<double, 8>::adopt(buffer, 12, count_release, &calls);
    ASSERT_TRUE(block && block->external() && block->capacity() == 12);
    // Four columns of two rows with a leading dimension of three: a strided view.
    dense2D<double> m(block, 0, 2, 4, 3);
    const dense2D<double> col = m.sub_matrix(0, 2, 2, 1);
    EXPECT_EQ(m.data(), buffer);
    EXPECT_EQ(col(1, 0), 7.0);
    m(0, 3) = -1;
    EXPECT_EQ(buffer[9], -1.0);
    block = nullptr;
    EXPECT_EQ(calls, 0);  // the views still hold counts
    dense2D<double> deep;
    ASSERT_TRUE(deep.copy(m));
    EXPECT_FALSE(deep.storage()->external());
  }
  EXPECT_EQ(calls, 1);

  // Growing moves the entries to memory of the block's own; the adopted
  // buffer is neither freed nor written, and is released with the block.
  unsigned ids[4] = {5, 6, 7, 8};
  calls = 0;
  {
    zeb::Ptr<zeb::vector_num<unsigned, 8>> block;
    block = zeb::vector_num<unsigned, 8>::adopt(ids, 4, count_release, &calls);
    dense1D<unsigned> v(block, 0, 4);
    block = nullptr;
    ASSERT_TRUE(v.push_back(9));
    EXPECT_FALSE(v.storage()->external());
    EXPECT_NE(v.data(), ids);
    EXPECT_EQ(std::vector<unsigned>(v.begin(), v.end()), (std::vector<unsigned>{5, 6, 7, 8, 9}));
    v[0] = 0;
    EXPECT_EQ(ids[0], 5u);
    EXPECT_EQ(calls, 0);
  }
  EXPECT_EQ(calls, 1);

  // Refusals leave the memory with the caller: no release call.
  calls = 0;
  EXPECT_EQ((zeb::vector_num<unsigned, 8>::adopt(ids, std::uint64_t(UINT32_MAX) + 1, count_release, &calls)), nullptr);
  EXPECT_EQ((zeb::vector_num<unsigned, 8>::adopt(ids, 4, nullptr, &calls)), nullptr);
  {
    allocation_failure_scope fail(0);
    EXPECT_EQ((zeb::vector_num<unsigned, 8>::adopt(ids, 4, count_release, &calls)), nullptr);
  }
  EXPECT_EQ(calls, 0);
}
