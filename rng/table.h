// Generators that deliver from a table of words and renew the table when they are through it.
#pragma once
#include <algorithm>
#include <cstdint>
#include <cstring>

namespace [[gnu::visibility("hidden")]] kov {

// Moves a generator on by n words, n at least 1, showing them in runs: deliver(from, count) for words
// from..from + count - 1 of the table as it is, renew(count) for the next words, which it puts in place of the first
// `count`. A generator G has the table w of G::size words, the count `index` of those that were delivered, and a
// renew(count) that only renews. After more words than a table has, it holds the last ones and index is G::size.
template <class G, class Deliver, class Renew>
void advance(G& g, std::int64_t n, Deliver deliver, Renew renew) {
  constexpr int size = G::size;
  const int ready = static_cast<int>(std::min<std::int64_t>(n, size - g.index));
  if (ready > 0) deliver(g.index, ready);
  if (ready == n) {
    g.index += ready;
  } else if (n <= size) {
    g.renew(size);
    g.index = static_cast<std::int32_t>(n) - ready;
    deliver(0, g.index);
  } else {
    g.index = size;
    for (n -= ready; n >= size; n -= size) renew(size);
    const int count = static_cast<int>(n);
    if (count == 0) return;
    renew(count);
    std::uint32_t newest[size];
    std::memcpy(newest, g.w, sizeof(std::uint32_t) * count);
    std::memmove(g.w, g.w + count, sizeof(std::uint32_t) * (size - count));
    std::memcpy(g.w + size - count, newest, sizeof(std::uint32_t) * count);
  }
}

}  // namespace kov
