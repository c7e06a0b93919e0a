// The allocation-failure sweep over the table of public calls
// (support/public_calls.hpp): every row is called with the k-th allocation
// failing, for k = 0, 1, 2, ... until the call succeeds.  Each failure must
// give -199 or the row's documented out-of-memory code,
// leave every output empty, every kept argument and every input as it was,
// and leak nothing (LeakSanitizer checks the last at exit in the sanitizer
// build).  The successful call must give what a call without the switch
// gives.
//
// The allocations counted are those of the containers and, through the
// replacement of operator new below, those of the standard library (the
// OBJ reader's group names), so that a failure can land on either.
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "support/public_calls.hpp"
#include "support/support.hpp"

namespace {

// Whether operator new consults the failure switch: only inside a swept
// call, so that the rest of the test program allocates as usual.
bool sweeping = false;

void* allocate(std::size_t n) {
  if (sweeping && !zeb::testing::allocation_permitted()) throw std::bad_alloc();
  if (void* p = std::malloc(n ? n : 1)) return p;
  throw std::bad_alloc();
}

}  // namespace

// Every unaligned form, so that what one allocates another frees.
void* operator new(std::size_t n) { return allocate(n); }
void* operator new[](std::size_t n) { return allocate(n); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
  try {
    return allocate(n);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void* operator new[](std::size_t n, const std::nothrow_t& t) noexcept { return operator new(n, t); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }

namespace {

using namespace plexa_test;

struct arguments {
  slots args;
  std::vector<slot*> at;
  std::vector<std::vector<double>> before;
};

arguments fresh(const public_call& c, unsigned seed) {
  G g = rng(seed);
  arguments a{c.make(g), {}, {}};
  for (slot& x : a.args) {
    a.at.push_back(&x);
    a.before.push_back(contents(x));
  }
  return a;
}

TEST(AllocationSweep, EveryFailureGivesItsCodeAndLosesNothing) {
  unsigned points = 0, allocating = 0;
  for (const public_call& c : public_calls())
    for (unsigned seed = 0; seed < 2; ++seed) {
      SCOPED_TRACE(std::string(c.name) + ", seed " + std::to_string(seed));
      arguments reference = fresh(c, seed);
      const int expected = c.call(reference.at.data(), seed);
      ASSERT_NE(expected, c.out_of_memory) << "fails without the switch";

      arguments a = fresh(c, seed);
      unsigned k = 0;
      int last = 0;
      const unsigned failures = for_each_allocation_failure(
          [&] {
            sweeping = true;
            const int r = last = c.call(a.at.data(), seed);
            sweeping = false;
            return r == c.out_of_memory ? -199 : r;
          },
          [&] {
            for (unsigned i = 0; c.roles[i]; ++i) {
              if (c.roles[i] == 'o') {
                EXPECT_TRUE(is_empty(*a.at[i])) << "argument " << i + 1 << " at allocation " << k;
              } else if (c.roles[i] != 'x') {
                EXPECT_EQ(contents(*a.at[i]), a.before[i]) << "argument " << i + 1 << " at allocation " << k;
              }
            }
            a = fresh(c, seed);
            ++k;
          });
      // The call that got its memory, against the reference.
      EXPECT_EQ(last, expected);
      for (unsigned i = 0; c.roles[i]; ++i) EXPECT_EQ(contents(*a.at[i]), contents(*reference.at[i])) << i + 1;
      points += failures;
      allocating += seed == 0 && failures > 0;
    }
  std::printf("allocation sweep: %u failure points over %u calls (%u of them allocating)\n", points,
              unsigned(public_calls().size()), allocating);
}

}  // namespace
