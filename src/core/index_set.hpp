// Hash set of unsigned indices on the containers' storage, with the
// library's sizing policy: 23 buckets to start with, bucket counts from the
// prime table, pre-sizing before bulk insertion, and a growth test before
// each single insertion (a failed growth skips the value).
#pragma once

#include <cstdint>

#include <zeb/dense.hpp>

#include "core/element_model.hpp"
#include "core/hashing.hpp"

namespace zeb {
namespace plexa {
namespace detail {

class index_set {
 public:
  enum insert_result { already_there = 0, inserted = 1, skipped = -1 };

  // Starts with 23 empty buckets; false when memory cannot be had.
  bool init() noexcept { return rehash(23); }

  // Before inserting `total` values: grows to the table prime for the total
  // when it exceeds the bucket count.
  bool presize(std::uint64_t total) noexcept {
    if (total <= buckets_.size()) return true;
    return rehash(bucket_prime(total));
  }

  insert_result insert(unsigned v) noexcept {
    const unsigned nb = buckets_.size();
    unsigned* head = &buckets_[bucket(v)];
    for (unsigned e = *head; e != NO_INDEX; e = entries_[e].next)
      if (entries_[e].value == v) return already_there;
    if (std::uint64_t(count_) + 1 > 2 * std::uint64_t(nb)) {
      if (!rehash(bucket_prime(std::uint64_t(count_) + 1))) return skipped;
      head = &buckets_[bucket(v)];
    }
    if (!entries_.push_back(entry{v, *head})) return skipped;
    *head = count_++;
    return inserted;
  }

  bool contains(unsigned v) const noexcept {
    if (buckets_.empty()) return false;
    for (unsigned e = buckets_[bucket(v)]; e != NO_INDEX; e = entries_[e].next)
      if (entries_[e].value == v) return true;
    return false;
  }

  unsigned size() const noexcept { return count_; }

  // Asks the cache for the bucket of v ahead of its look-up (a hint only).
  void prefetch(unsigned v) const noexcept { __builtin_prefetch(buckets_.data() + bucket(v)); }

 private:
  struct entry {
    unsigned value;
    unsigned next;
  };

  unsigned bucket(unsigned v) const noexcept { return mod_(v); }

  bool rehash(unsigned nb) noexcept {
    dense1D<unsigned, 8> fresh;
    if (!fresh.resize(nb, NO_INDEX)) return false;
    if (!entries_.reserve(count_ + 1)) return false;
    const fast_modulo m(nb);
    entry* e = entries_.data();
    for (unsigned k = 0; k < count_; ++k) {
      unsigned& h = fresh[m(e[k].value)];
      e[k].next = h;
      h = k;
    }
    buckets_ = static_cast<dense1D<unsigned, 8>&&>(fresh);
    mod_ = m;
    return true;
  }

  dense1D<unsigned, 8> buckets_;
  dense1D<entry, 8> entries_;
  fast_modulo mod_;
  unsigned count_ = 0;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
