// Selection by digits: the numbers at given sorted positions, in the order of the radix sort.
#pragma once
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "stats/components.h"
#include "stats/sort.h"

namespace [[gnu::visibility("hidden")]] kov {

// The numbers at a sorted position and the next; at the last position, that number twice.
template <class T> struct neighbours { T at, next; };

// How many of n numbers have which leading bits of key - smallest key. A sorted position then leads to a few
// candidates, of which the same is asked again. Every level uses up bits, so that each position costs time
// proportional to n whatever the numbers are, and mostly one pass over them.
template <class T> class leading_bits {
 public:
  leading_bits() = default;
  explicit leading_bits(values<const T> x) { count(x); }

  // `buffer` has room for n; it may be where the numbers are, which are lost then.
  neighbours<T> at(std::size_t position, T* buffer) const {
    leading_bits deeper;
    const leading_bits* level = this;
    key<T> above = 0;  // the smallest key beyond the candidates, where it has been needed
    while (level->x_.n > few && level->low_ != level->high_) {
      const candidates c = level->narrow(position, above);
      level->collect(c.digit, buffer);
      position -= c.before;
      deeper.count({buffer, 1, c.count});
      level = &deeper;
    }
    return level->last_step(position, above);
  }

 private:
  static constexpr int digit_bits = 11;
  static constexpr std::size_t few = 32;

  struct candidates {
    key<T> digit;
    std::size_t before, count;
  };

  key<T> digit(key<T> k) const { return (k - low_) >> shift_; }

  void count(values<const T> x) {
    x_ = x;
    if (x.n <= few) return;
    low_ = high_ = key_of(x[0]);
    for (std::size_t i = 1; i < x.n; i++) {
      const key<T> k = key_of(x[i]);
      low_ = std::min(low_, k), high_ = std::max(high_, k);
    }
    shift_ = std::max(bits_in(high_ - low_) - std::min(digit_bits, bits_in(x.n)), 0);
    std::fill_n(counts_, digit(high_) + 1, 0);
    for (std::size_t i = 0; i < x.n; i++) counts_[digit(key_of(x[i]))]++;
  }

  // The candidates for a position. Where it is their last one, `above` becomes the next key if there is any.
  candidates narrow(std::size_t position, key<T>& above) const {
    candidates c = {0, 0, counts_[0]};
    while (position >= c.before + c.count) c.before += c.count, c.count = counts_[++c.digit];
    if (position + 1 == c.before + c.count && position + 1 < x_.n) {
      above = high_;
      for (std::size_t i = 0; i < x_.n; i++)
        if (const key<T> k = key_of(x_[i]); digit(k) > c.digit) above = std::min(above, k);
    }
    return c;
  }

  // Without a branch: what is not wanted is written too, and written over.
  void collect(key<T> wanted, T* buffer) const {
    std::size_t found = 0;
    for (std::size_t i = 0; i < x_.n; i++) {
      const T v = x_[i];
      buffer[found] = v;
      found += digit(key_of(v)) == wanted;
    }
  }

  // Few candidates, or many that are the same.
  neighbours<T> last_step(std::size_t position, key<T> above) const {
    const std::size_t n = x_.n;
    if (n > few) return {real_of<T>(low_), real_of<T>(position + 1 < n ? low_ : std::max(above, low_))};
    key<T> sorted[few + 1] = {};
    for (std::size_t i = 0; i < n; i++) {
      const key<T> k = key_of(x_[i]);
      std::size_t j = i;
      for (; j > 0 && sorted[j - 1] > k; j--) sorted[j] = sorted[j - 1];
      sorted[j] = k;
    }
    sorted[n] = std::max(above, sorted[n - 1]);
    return {real_of<T>(sorted[position]), real_of<T>(sorted[position + 1])};
  }

  values<const T> x_;
  key<T> low_, high_;
  int shift_;
  std::size_t counts_[std::size_t{1} << digit_bits];
};

// Where the quantile of an order lies among n sorted numbers: at a position, or the given part of the way to the next.
struct place {
  std::size_t position;
  double part;

  place(double order, std::size_t n) {
    const double t = order * static_cast<double>(n - 1);
    position = std::min(static_cast<std::size_t>(t), n - 1);
    part = std::max(t - static_cast<double>(position), 0.0);
  }
  // An infinite neighbour does not matter where the place is right at a number.
  template <class T> T between(neighbours<T> x) const {
    return part == 0 ? x.at : static_cast<T>(x.at * (1 - part) + x.next * part);
  }
};

// The quantile of sorted numbers.
template <class T> T sorted_quantile(const T* x, std::size_t n, double order) {
  const place p(order, n);
  return p.between(neighbours<T>{x[p.position], x[std::min(p.position + 1, n - 1)]});
}

template <class T> T median(values<const T> x, T* buffer) {
  const place p(0.5, x.n);
  return p.between(leading_bits<T>(x).at(p.position, buffer));
}

}  // namespace kov
