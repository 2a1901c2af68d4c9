// Radix sort, adaptive in what it looks at.
//
// What decides the order of n numbers is mostly in the log2(n) bits below the highest bit in which any two of them
// differ. A range is therefore put in order by its leading bits only: those of key - smallest key, from the highest one
// that occurs. A range that does not fit into the cache takes one counting pass over a few bits, so that the
// places written to stay few; one that does takes two, from the lower digit to the upper (LSD), over enough bits that
// hardly two numbers agree in them. Numbers that do are then neighbours, and are sorted in the same way by the bits that
// are left, or by insertion where they are few. Every level uses up bits, so that no input takes more than seven.
#include "stats/sort.h"

#include <algorithm>
#include <utility>

namespace kov {
namespace {

constexpr std::size_t leaf = 24;                        // numbers sorted by insertion
constexpr std::size_t in_cache = std::size_t{1} << 15;  // numbers of a range that is read and written fast
constexpr int outer_digit = 9, inner_digit = 11;        // bits of a pass: large ranges, small ranges
constexpr int spare_bits = 8;                           // bits looked at beyond log2(n)

template <class T> struct radix {
  using word [[gnu::may_alias]] = key<T>;

  struct as_bits {
    static word key_of(word w) { return key_of_bits<T>(w); }
  };
  struct as_keys {
    static word key_of(word w) { return w; }
  };

  // Stable: `from` to `to` as keys, in the order of `width` bits of key - low above `shift`.
  template <class Form>
  [[gnu::noinline]] static void distribute(const word* from, word* to, std::size_t n, word low, int shift,
                                           int width) {
    std::size_t places[std::size_t{1} << inner_digit];
    const word mask = (word{1} << width) - 1;
    std::fill_n(places, mask + 1, 0);
    for (std::size_t i = 0; i < n; i++) places[(Form::key_of(from[i]) - low) >> shift & mask]++;
    std::size_t next = 0;
    for (std::size_t digit = 0; digit <= mask; digit++) next += std::exchange(places[digit], next);
    for (std::size_t i = 0; i < n; i++) {
      const word k = Form::key_of(from[i]);
      to[places[(k - low) >> shift & mask]++] = k;
    }
  }

  template <class Form> static void insertion(word* at, std::size_t n, word* out) {
    for (std::size_t i = 0; i < n; i++) {
      const word k = Form::key_of(at[i]);
      std::size_t j = i;
      for (; j > 0 && at[j - 1] > k; j--) at[j] = at[j - 1];
      at[j] = k;
    }
    for (std::size_t i = 0; i < n; i++) out[i] = bits_of_key<T>(at[i]);
  }

  // Sorts the words at `at`, which are bits or keys by Form. The bits go to `out`, which is `at` or `other`.
  template <class Form> static void sort(word* at, word* other, std::size_t n, word* out) {
    if (n <= leaf) return insertion<Form>(at, n, out);

    word low = Form::key_of(at[0]), high = low, previous = low;
    bool ordered = true;
    for (std::size_t i = 1; i < n; i++) {
      const word k = Form::key_of(at[i]);
      low = std::min(low, k), high = std::max(high, k);
      ordered &= previous <= k;
      previous = k;
    }
    if (ordered) {
      for (std::size_t i = 0; i < n; i++) out[i] = bits_of_key<T>(Form::key_of(at[i]));
      return;
    }

    const int bits = bits_in(high - low);
    int shift;
    if (n > in_cache) {
      const int width = std::min(bits, outer_digit);
      shift = bits - width;
      distribute<Form>(at, other, n, low, shift, width);
      std::swap(at, other);
    } else {
      const int width = std::min({bits, 2 * inner_digit, bits_in(n) + spare_bits});
      const int lower = width - width / 2;
      shift = bits - width;
      distribute<Form>(at, other, n, low, shift, lower);
      distribute<as_keys>(other, at, n, low, shift + lower, width / 2);
    }

    for (std::size_t i = 0, end; i < n; i = end) {
      const word leading = (at[i] - low) >> shift;
      for (end = i + 1; end < n && (at[end] - low) >> shift == leading;) end++;
      if (end - i == 1)
        out[i] = bits_of_key<T>(at[i]);
      else
        sort<as_keys>(at + i, other + i, end - i, out + i);
    }
  }
};

}  // namespace

template <class T> void radix_sort(T* x, T* work, std::size_t n) {
  using word = typename radix<T>::word;
  auto* at = reinterpret_cast<word*>(x);
  radix<T>::template sort<typename radix<T>::as_bits>(at, reinterpret_cast<word*>(work), n, at);
}
template void radix_sort(double*, double*, std::size_t);
template void radix_sort(float*, float*, std::size_t);

}  // namespace kov
