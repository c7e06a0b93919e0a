// The containers' raw allocator, with the test-only failure switch.
#include <atomic>
#include <climits>
#include <cstdlib>

#include <zeb/dense.hpp>
#include <zeb/testing/allocation_failure.hpp>

namespace {
// Successful allocations left before failing; negative when the switch is off.
std::atomic<long long> successes_left{-1};
std::atomic<unsigned long long> requests{0};

bool may_allocate() noexcept {
  long long left = successes_left.load(std::memory_order_relaxed);
  while (left >= 0) {
    if (left == 0) return false;
    if (successes_left.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) return true;
  }
  return true;
}
}  // namespace

namespace zeb {
namespace math1 {

void* __vector_num_alloc(std::size_t bytes) noexcept {
  requests.fetch_add(1, std::memory_order_relaxed);
  if (!may_allocate()) return nullptr;
  return std::malloc(bytes == 0 ? 1 : bytes);
}

void __vector_num_free(void* p) noexcept { std::free(p); }

}  // namespace math1

namespace testing {

void fail_allocations_after(unsigned long long successes) noexcept {
  const unsigned long long cap = static_cast<unsigned long long>(LLONG_MAX);
  successes_left.store(static_cast<long long>(successes < cap ? successes : cap), std::memory_order_relaxed);
}

void stop_failing_allocations() noexcept { successes_left.store(-1, std::memory_order_relaxed); }

unsigned long long allocation_requests() noexcept { return requests.load(std::memory_order_relaxed); }

bool allocation_permitted() noexcept {
  requests.fetch_add(1, std::memory_order_relaxed);
  return may_allocate();
}

}  // namespace testing
}  // namespace zeb
