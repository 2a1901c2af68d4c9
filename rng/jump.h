// Skips by the generator's characteristic polynomial p: T^n s = r(T) s with r = x^n mod p, T the step of a state.
//
// H. Haramoto, M. Matsumoto, T. Nishimura, F. Panneton, P. L'Ecuyer, "Efficient jump ahead for F2-linear random
// number generators", INFORMS Journal on Computing 20 (2008): Horner's schedule and the one with a sliding window.
#pragma once
#include <algorithm>
#include <cstdint>

#include "rng/quad.h"
#include "rng/stream.h"

namespace [[gnu::visibility("hidden")]] kov {

// Operations on states whose table w of G::size words is a ring that starts at index, G::size standing for 0.
template <class G> struct ring {
  static constexpr int size = G::size;

  static void zero(void* state) {
    G& s = *static_cast<G*>(state);
    std::fill_n(s.w, size, 0);
    s.index = 0;
  }
  static void add(void* target, const void* source) {
    G& t = *static_cast<G*>(target);
    const G& s = *static_cast<const G*>(source);
    int to = t.index % size, from = s.index % size;
    for (int left = size; left > 0;) {
      const int run = std::min({left, size - to, size - from});
      add_words(run, t.w + to, t.w + to, s.w + from);
      to = (to + run) % size, from = (from + run) % size, left -= run;
    }
  }
  static void copy(void* target, const void* source) {
    const G& s = *static_cast<const G*>(source);
    std::copy_n(s.w, size, static_cast<G*>(target)->w);
    static_cast<G*>(target)->index = s.index;
  }
  // Into the stream from the ring's start on, as a table that is through.
  static void put_in_order(G& stream, const G& state) {
    const std::uint32_t* start = state.w + state.index % size;
    std::copy_n(state.w, start - state.w, std::copy(start, state.w + size, stream.w));
    stream.index = size;
  }
};

// Skips `count` outputs. R has the operations of a ring and step, finish and prepare.
template <class R, class G, int terms>
status jump(decltype(__kov_SkipAheadHorner)& schedule, G* stream, std::int64_t count,
            const std::int32_t (&polynomial)[terms]) {
  return schedule(stream, R::zero, R::add, R::copy, R::step, R::finish, R::prepare, count, G::size,
                  polynomial[terms - 1], sizeof(G), terms, polynomial);
}

}  // namespace kov
