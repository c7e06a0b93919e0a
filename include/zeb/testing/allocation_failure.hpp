// Test-only switch of the containers' allocator: makes storage requests fail
// so that the out-of-memory paths of callers can be exercised.  Not part of
// <zeb/plexa.hpp>.
#pragma once

#include <zeb/export.hpp>

namespace zeb {
namespace testing {

// After `successes` more successful allocations, every allocation of the
// containers fails (returns nullptr) until stop_failing_allocations().
ZEBMATH1_API void fail_allocations_after(unsigned long long successes) noexcept;
// Allocations succeed again (as far as memory allows).
ZEBMATH1_API void stop_failing_allocations() noexcept;
// Number of allocation requests seen so far, failed ones included.
ZEBMATH1_API unsigned long long allocation_requests() noexcept;
// Counts one request of another allocator (a test's replacement of operator
// new) and says whether the switch lets it succeed, so that the k-th
// allocation to fail may be one of the standard library's as well.
ZEBMATH1_API bool allocation_permitted() noexcept;

// Scoped form: failing after `successes` allocations while it lives.
class allocation_failure_scope {
 public:
  explicit allocation_failure_scope(unsigned long long successes) noexcept { fail_allocations_after(successes); }
  ~allocation_failure_scope() { stop_failing_allocations(); }
  allocation_failure_scope(const allocation_failure_scope&) = delete;
  allocation_failure_scope& operator=(const allocation_failure_scope&) = delete;
};

}  // namespace testing
}  // namespace zeb
