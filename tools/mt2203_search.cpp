// Finds the members of the MT2203 family: Mersenne Twisters of 69 words of 32 bits, middle 34, split 5, with a
// recursion matrix a and tempering masks b and c of their own.
//
//   mt2203_search --search WORK [THREADS]   append members to the file WORK until there are enough; an
//                                           interrupted search goes on where it stopped
//   mt2203_search --table WORK              write the table (rng/mt2203_members.inc) to standard output
//   mt2203_search --verify TABLE            check every row of a table
//
// The method is dynamic creation (Matsumoto and Nishimura 2000): a member has an identity, the low half of a,
// which keeps the characteristic polynomials of different members apart. With s = t^69 + t^34 and the bits a_i
// of a, the characteristic polynomial is
//     (s^32 + sum over i of a_i t^min(i + 1, 5) s^(31 - i)) / t^5        (Matsumoto and Nishimura 1998, A.2),
// of degree 2203. As 2^2203 - 1 is prime, the period is 2^2203 - 1 if and only if it is irreducible.
#include <algorithm>
#include <array>
#include <atomic>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "gf2.h"

namespace {

namespace gf2 = arko::tools::gf2;
using word = std::uint32_t;

constexpr int exponent = 2203, state_words = 69, middle = 34;
constexpr word split_mask = 31;
constexpr std::size_t member_count = 6024;
constexpr int defect_limit = 713;

struct member {
  word a, b, c;
  int defect;
  word identity() const { return a & 0xFFFF; }
};

// The members that are given, with their places. The others are ordered by defect around them.
constexpr std::pair<std::size_t, member> given[] = {
    {0, {0xAF81055F, 0xDD7EEF80, 0xEFD78000, 699}},
    {1, {0x832604E1, 0x66AD7F80, 0xEBD58000, 700}},
    {2, {0x92F70739, 0x656D7780, 0xEFC50000, 700}},
    {6023, {0xE8761D4B, 0x72967680, 0xEFEB0000, 713}},
};

// ---- Period ----

using polynomial = gf2::row<36>;

polynomial characteristic_polynomial(word a) {
  static const auto powers_of_s = [] {
    std::array<polynomial, 33> s{polynomial{1}};
    for (int k = 0; k < 32; k++)
      for (int i = 0; i <= k * 69; i++)
        if (gf2::bit(s[k].data(), i)) gf2::flip(s[k + 1].data(), i + 69), gf2::flip(s[k + 1].data(), i + 34);
    return s;
  }();
  polynomial sum{};
  const auto add = [&sum](const polynomial& p, int shift) {  // p t^(shift - 5)
    for (int i = 0; i <= 32 * 69; i++)
      if (gf2::bit(p.data(), i)) gf2::flip(sum.data(), i + shift - 5);
  };
  add(powers_of_s[32], 0);
  for (int i = 0; i < 32; i++)
    if (a >> i & 1) add(powers_of_s[31 - i], std::min(i + 1, 5));
  return sum;
}

bool full_period(word a, bool search = false) {
  return gf2::modulus(characteristic_polynomial(a)).irreducible(search);
}

// The candidates of an identity are a with bit 31 set and any 15 bits between it and the identity. The
// polynomial is affine in these bits, so those for which a given f divides it are the solutions of a linear
// system. The sieve strikes them for all irreducible f of degree 2 to 17; t and t + 1 never divide.
class sieve {
 public:
  sieve() {
    constexpr word end = word{1} << (largest_degree + 1);
    std::vector<bool> composite(end);
    for (word f = 2; f < end; f++) {
      if (composite[f]) continue;
      if (f > 3) systems.push_back(system_of(f));
      for (word g = f; std::bit_width(f) + std::bit_width(g) <= largest_degree + 2; g++)
        composite[static_cast<word>(gf2::clmul(f, g)[0])] = true;
    }
  }

  // Candidates that no f divides, as the 15 free bits, in an order that depends on the identity alone.
  std::vector<word> candidates(word identity) const {
    std::vector<bool> struck(free_count);
    for (const system& s : systems) strike(s, identity, struck);
    std::mt19937 random(identity);
    const word start = random(), stride = random() | 1;
    std::vector<word> left;
    for (word k = 0; k < free_count; k++)
      if (const word x = (start + k * stride) % free_count; !struck[x]) left.push_back(x);
    return left;
  }

 private:
  static constexpr int largest_degree = 17, free_bits = 15;
  static constexpr word free_count = word{1} << free_bits;

  struct system {
    word constant;                        // t^5 times the polynomial modulo f without identity and free bits
    std::array<word, 16> identity_terms;  // what each bit of the identity adds
    struct equation {
      word value, combination;  // the combination of free bits adds the value
    };
    std::array<equation, free_bits> equations;  // with different leading bits first, then those of value 0
    int rank;
  };

  static system system_of(word f) {
    const int top = std::bit_width(f) - 1;
    const auto times_t = [f, top](word p) { return p << 1 ^ (p >> (top - 1) & 1 ? f : 0); };
    const auto product = [times_t](word p, word q) {
      word r = 0;
      for (; q; q >>= 1, p = times_t(p))
        if (q & 1) r ^= p;
      return r;
    };
    const auto power_of_t = [times_t](int n) {
      word p = 1;
      while (n--) p = times_t(p);
      return p;
    };
    const word s = power_of_t(69) ^ power_of_t(34);
    std::array<word, 33> s_to{1};
    for (int k = 0; k < 32; k++) s_to[k + 1] = product(s_to[k], s);
    const auto term = [&](int i) { return product(s_to[31 - i], power_of_t(std::min(i + 1, 5))); };

    system r{s_to[32] ^ term(31), {}, {}, 0};
    for (int i = 0; i < 16; i++) r.identity_terms[i] = term(i);
    int kernel = free_bits;
    for (int i = 0; i < free_bits; i++) {
      system::equation e{term(16 + i), word{1} << i};
      for (int k = 0; k < r.rank; k++) eliminate(r.equations[k], e);
      r.equations[e.value ? r.rank++ : --kernel] = e;
    }
    return r;
  }

  static void eliminate(const system::equation& by, system::equation& e) {
    if (e.value & std::bit_floor(by.value)) e.value ^= by.value, e.combination ^= by.combination;
  }

  static void strike(const system& s, word identity, std::vector<bool>& struck) {
    system::equation e{s.constant, 0};
    for (int i = 0; i < 16; i++)
      if (identity >> i & 1) e.value ^= s.identity_terms[i];
    for (int k = 0; k < s.rank; k++) eliminate(s.equations[k], e);
    if (e.value) return;
    word x = e.combination;
    struck[x] = true;
    for (word count = 1; count < word{1} << (free_bits - s.rank); count++) {  // the kernel, in Gray code
      x ^= s.equations[s.rank + std::countr_zero(count)].combination;
      struck[x] = true;
    }
  }

  std::vector<system> systems;
};

// ---- Equidistribution ----

// k(v), the largest k such that all k-tuples of the v leading bits are equally likely over the period, is the
// least of -norm over a reduced basis of the lattice that the output series G(state) and the unit vectors
// span, in Laurent series over two elements (Couture, L'Ecuyer, Tezuka 1993). A vector of the lattice is held
// as a state (Harase, Matsumoto, Saito 2011): t^count times it is `output`, its leading coefficients, plus the
// series of the state's successors. Adding vectors adds states; a multiplication by t is a step.
class lattice {
 public:
  lattice() : pool(std::make_unique<std::array<vector, 33>>()) {}

  // k(v) by a basis from the start.
  int dimension(const member& m, int v) {
    start(m, v);
    return least_count(v);
  }

  // The sum over v of the upper limit [2203 / v] less k(v). A basis for v + 1 bits without the last bit spans
  // the lattice for v and is almost reduced.
  int total_defect(const member& m) {
    start(m, 32);
    int defect = exponent / 32 - least_count(32);
    for (int v = 31; v > 0; v--) {
      mask = leading(v);
      for (int i = 0; i <= v; i++) basis[i]->output &= mask;
      odd = basis[v];
      sum -= odd->count;
      reduce();
      defect += exponent / v - least_count(v);
    }
    return defect;
  }

 private:
  static constexpr int padded = 72;  // words to a sum: whole registers
  struct vector {
    int count;
    word output;
    std::array<word, exponent + state_words + padded> words;  // the state is at words[count]
    void clear(int at, word leading) {
      count = at, output = leading;
      std::fill_n(words.begin(), at + padded, 0);
    }
  };

  static word leading(int v) { return ~word{0} << (32 - v); }

  word output_of(word y) const {
    y ^= y >> 12;
    y ^= y << 7 & b;
    y ^= y << 15 & c;
    y ^= y >> 18;
    return y & mask;
  }

  void start(const member& m, int v) {
    a = m.a, b = m.b, c = m.c, mask = leading(v), sum = 0;
    for (int i = 0; i < v; i++) basis[i] = &(*pool)[i], basis[i]->clear(0, word{1} << (31 - i));
    odd = &(*pool)[32];
    odd->clear(1, 0);
    word& last = odd->words[1 + state_words - 1];
    last = word{1} << 31;
    odd->output = output_of(last);
    reduce();
  }

  // Brings `odd` into the basis. Basis vector i has its first leading bit at place i; the counts of a full
  // basis add up to the exponent.
  void reduce() {
    while (sum < exponent) {
      while (!odd->output) step(*odd);
      vector*& same = basis[std::countl_zero(odd->output)];
      if (same->count < odd->count) sum += odd->count - same->count, std::swap(same, odd);
      word* const to = &odd->words[odd->count];
      const word* const from = &same->words[same->count];
      for (int i = 0; i < padded; i++) to[i] ^= from[i];
      odd->output ^= same->output;
    }
  }

  void step(vector& v) const {
    if (v.count > exponent) std::fputs("a matrix without full period\n", stderr), std::abort();
    word* const w = &v.words[v.count++];
    const word y = (w[0] & ~split_mask) | (w[1] & split_mask);
    w[state_words] = w[middle] ^ y >> 1 ^ (y & 1 ? a : 0);
    v.output = output_of(w[state_words]);
  }

  int least_count(int v) const {
    int least = exponent;
    for (int i = 0; i < v; i++) least = std::min(least, basis[i]->count);
    return least;
  }

  std::unique_ptr<std::array<vector, 33>> pool;
  std::array<vector*, 32> basis;
  vector* odd;
  word a, b, c, mask;
  int sum;  // of the counts of the basis
};

// Chooses the masks from the leading output bit on, depth first. Output bit p = 32 - v depends on bit p of both
// masks and, where that of c is set, on bit p - 15 of b. Choices that are best for k(v) come first, and a
// branch ends when what it loses against the best that is known for each v exceeds what the limit leaves.
class mask_search {
 public:
  mask_search(member& m, lattice& l, std::mt19937& random) : m(m), l(l), random(random) {}

  bool run() {
    m.b = m.c = 0;
    int spare = defect_limit;
    for (const int d : least_defects) spare -= d;
    return settle(31, b_bits, spare);
  }

 private:
  static constexpr word b_bits = ~word{0} << 7, c_bits = ~word{0} << 15;
  static constexpr int least_defects[32] = {0,  0,  29, 0,  26, 22, 36, 0,  34, 13, 54, 44, 30, 19, 8, 0,
                                            58, 52, 46, 41, 35, 31, 26, 22, 19, 15, 12, 9,  6,  5,  3, 0};
  struct choice {
    word b, c, open;
    int loss;
  };

  // Bits p and below; open: bits of b that are not settled.
  bool settle(int p, word open, int spare) {
    if (p < 7) {
      m.defect = l.total_defect(m);
      return m.defect <= defect_limit;
    }
    if (--nodes < 0) return false;
    std::vector<choice> choices;
    const word bit = word{1} << p;
    for (const word c : {word{0}, bit & c_bits}) {
      if (p >= 29 && !c) continue;  // all good masks start so
      const word free = (bit | c >> 15) & open;
      word b = 0;
      do {
        const int v = 32 - p, k = l.dimension({m.a, m.b | b, m.c | c, 0}, v);
        choices.push_back({m.b | b, m.c | c, open & ~free, exponent / v - k - least_defects[v - 1]});
        b = (b - free) & free;
      } while (b);
      if (!(bit & c_bits)) break;
    }
    std::shuffle(choices.begin(), choices.end(), random);
    std::stable_sort(choices.begin(), choices.end(),
                     [](const choice& x, const choice& y) { return x.loss < y.loss; });
    for (const choice& x : choices) {
      if (x.loss > spare) return false;
      m.b = x.b, m.c = x.c;
      if (settle(p - 1, x.open, spare - x.loss)) return true;
    }
    return false;
  }

  member& m;
  lattice& l;
  std::mt19937& random;
  int nodes = 36;  // then it is better to start anew
};

// The first member of the identity that meets the limit.
member find_member(word identity, const sieve& candidates, lattice& l) {
  constexpr int attempts = 40;  // at masks, before the next matrix
  std::mt19937 random(identity);
  for (const word x : candidates.candidates(identity)) {
    member m{word{1} << 31 | x << 16 | identity, 0, 0, 0};
    if (!full_period(m.a, true)) continue;
    for (int i = 0; i < attempts; i++)
      if (mask_search(m, l, random).run()) return m;
  }
  return {};
}

// ---- Files ----

// Rows of both files are hexadecimal words in braces and, in the work file, the defect after them.
std::vector<member> read_members(const char* path) {
  std::vector<member> members;
  std::FILE* in = std::fopen(path, "r");
  if (!in) return members;
  char line[256];
  while (std::fgets(line, sizeof line, in)) {
    member m{};
    if (std::sscanf(line, " {%" SCNx32 ", %" SCNx32 ", %" SCNx32 "}, // %d", &m.a, &m.b, &m.c, &m.defect) >=
        3)
      members.push_back(m);
  }
  std::fclose(in);
  return members;
}

void print_member(std::FILE* out, const member& m) {
  std::fprintf(out, "{0x%08" PRIX32 ", 0x%08" PRIX32 ", 0x%08" PRIX32 "},  // %d\n", m.a, m.b, m.c, m.defect);
}

// Distinct matrices and mask pairs, the given members first.
std::vector<member> distinct_members(const char* work) {
  std::vector<member> members;
  std::set<word> matrices;
  std::set<std::pair<word, word>> masks;
  const auto add = [&](const member& m) {
    if (matrices.count(m.a) || masks.count({m.b, m.c})) return;
    matrices.insert(m.a), masks.insert({m.b, m.c}), members.push_back(m);
  };
  for (const auto& [place, m] : given) add(m);
  for (const member& m : read_members(work)) add(m);
  return members;
}

int search(const char* work, unsigned threads) {
  std::array<bool, 0x10000> done{};
  for (const auto& [place, m] : given) done[m.identity()] = true;
  for (const member& m : read_members(work)) done[m.identity()] = true;
  std::FILE* out = std::fopen(work, "a");
  if (!out) return std::perror(work), 1;
  const sieve candidates;
  std::mutex writing;
  std::atomic<word> next = 0;
  std::atomic<std::size_t> found = distinct_members(work).size();
  const auto run = [&] {
    lattice l;
    while (found < member_count) {
      const word identity = next++;
      if (identity > 0xFFFF) return;
      if (done[identity]) continue;
      const member m = find_member(identity, candidates, l);
      if (!m.a) continue;
      const std::lock_guard lock(writing);
      print_member(out, m);
      std::fflush(out);
      found = distinct_members(work).size();
    }
  };
  std::vector<std::thread> team;
  for (unsigned i = 0; i < threads; i++) team.emplace_back(run);
  for (std::thread& t : team) t.join();
  std::printf("%zu members\n", found.load());
  return std::fclose(out) != 0 || found < member_count;
}

int table(const char* work) {
  std::vector<member> members = distinct_members(work);
  if (members.size() < member_count)
    return std::fprintf(stderr, "%zu of %zu members\n", members.size(), member_count), 1;
  members.erase(members.begin(), members.begin() + std::size(given));
  std::stable_sort(members.begin(), members.end(),
                   [](const member& x, const member& y) { return x.defect < y.defect; });
  for (const auto& [place, m] : given)
    members.insert(members.begin() + static_cast<std::ptrdiff_t>(place), m);
  std::puts(
      "// Written by tools/mt2203_search.cpp: a, b, c of each member and its total defect of "
      "equidistribution.");
  for (std::size_t i = 0; i < member_count; i++) print_member(stdout, members[i]);
  return std::fflush(stdout) != 0;
}

int verify(const char* path) {
  const std::vector<member> members = read_members(path);
  std::set<word> matrices;
  std::set<std::pair<word, word>> masks;
  int wrong = members.size() != member_count;
  lattice l;
  for (std::size_t i = 0; i < members.size(); i++) {
    const member& m = members[i];
    matrices.insert(m.a), masks.insert({m.b, m.c});
    const bool period = full_period(m.a);
    const int defect = period ? l.total_defect(m) : -1;
    if (!period || defect != m.defect || defect > defect_limit)
      wrong++,
          std::printf("row %zu: %s, defect %d\n", i, period ? "full period" : "period too short", defect);
  }
  for (const auto& [place, m] : given)
    if (place >= members.size() || members[place].a != m.a || members[place].b != m.b ||
        members[place].c != m.c || members[place].defect != m.defect)
      wrong++, std::printf("row %zu is not the given one\n", place);
  if (matrices.size() != members.size() || masks.size() != members.size())
    wrong++, std::puts("a matrix or a mask pair occurs twice");
  std::printf("%zu members, %d faults\n", members.size(), wrong);
  return wrong != 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 2 ? argv[1] : "";
  if (mode == "--search") return search(argv[2], argc > 3 ? static_cast<unsigned>(std::atoi(argv[3])) : 1);
  if (mode == "--table") return table(argv[2]);
  if (mode == "--verify") return verify(argv[2]);
  return std::fputs("usage: mt2203_search --search WORK [THREADS] | --table WORK | --verify TABLE\n", stderr),
         2;
}
