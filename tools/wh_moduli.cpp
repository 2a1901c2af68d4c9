// Chooses the moduli and multipliers of the 273 members of WH and writes rng/wh_moduli.inc. By hand: it takes some
// seconds, and the file is checked in.
//
//   wh_moduli FILE
//
// A member follows from its m1: walking down from there, a prime p is taken if p - 1 has only the factor 2 in common
// with the p - 1 already taken and if p has a primitive root from 112 to 127 that the member does not use yet, the
// largest of which becomes its multiplier. Four primes make a window. Members 0, 1, 2 and 272 are given. The others
// are windows that overlap neither each other nor those, within the range of all moduli, with a window at each end of
// it; as many as are needed, of the largest least merit.
//
// Merit of a member: its output is that of one congruential generator with modulus M = m1 m2 m3 m4 and the
// multiplier A that is a_i mod m_i (P. L'Ecuyer and S. Tezuka, "Structural properties for two classes of combined
// random number generators", 1991). For dimensions t = 2 to 6 the spectral test gives the length of the shortest
// non-zero vector in the dual of the lattice of its t-tuples; divided by the greatest length that a lattice of
// determinant M can have, it is between 0 and 1, and the merit is the least of the five.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <numeric>
#include <vector>

namespace {

using int128 = __int128;
using real = __float128;

constexpr int lowest = 16718909, highest = 16776971;
constexpr int members = 273;
constexpr int given[] = {16770647, 16770311, 16769807, 16766363};  // m1 of members 0, 1, 2 and 272
constexpr int first_root = 112, last_root = 127;

// ---- Members

int power(std::int64_t a, int n, int m) {
  std::int64_t r = 1;
  for (; n > 0; n >>= 1, a = a * a % m)
    if (n & 1) r = r * a % m;
  return static_cast<int>(r);
}
std::vector<int> prime_factors(int n) {
  std::vector<int> all;
  for (int p = 2; p * p <= n; p++)
    if (n % p == 0) {
      all.push_back(p);
      while (n % p == 0) n /= p;
    }
  if (n > 1) all.push_back(n);
  return all;
}
bool is_prime(int n) { return prime_factors(n) == std::vector<int>{n}; }

// The roots from the largest down.
std::vector<int> primitive_roots(int p) {
  const std::vector<int> factors = prime_factors(p - 1);
  std::vector<int> roots;
  for (int a = last_root; a >= first_root; a--)
    if (std::all_of(factors.begin(), factors.end(), [&](int q) { return power(a, (p - 1) / q, p) != 1; }))
      roots.push_back(a);
  return roots;
}

struct window {
  int a[4], m[4];
  double merit;
};

// The window from m1 down. Where m1 cannot be its first modulus another one is, and at the foot some are 0.
window window_from(int m1, const std::vector<int>& descending_primes) {
  window w = {};
  int taken = 0;
  for (auto p = std::find(descending_primes.begin(), descending_primes.end(), m1);
       p != descending_primes.end() && taken < 4; ++p) {
    if (std::any_of(w.m, w.m + taken, [&](int m) { return std::gcd(m - 1, *p - 1) != 2; })) continue;
    for (const int root : primitive_roots(*p))
      if (std::find(w.a, w.a + taken, root) == w.a + taken) {
        w.a[taken] = root;
        w.m[taken++] = *p;
        break;
      }
  }
  return w;
}

// ---- Merit

// A basis of a lattice in t dimensions, and its Gram-Schmidt form.
struct lattice {
  int t;
  int128 b[6][6];
  real mu[6][6], square[6];  // square: of the lengths of the orthogonal vectors

  void orthogonalise() {
    real o[6][6];
    for (int i = 0; i < t; i++) {
      for (int k = 0; k < t; k++) o[i][k] = static_cast<real>(b[i][k]);
      for (int j = 0; j < i; j++) {
        real dot = 0;
        for (int k = 0; k < t; k++) dot += static_cast<real>(b[i][k]) * o[j][k];
        mu[i][j] = dot / square[j];
        for (int k = 0; k < t; k++) o[i][k] -= mu[i][j] * o[j][k];
      }
      square[i] = 0;
      for (int k = 0; k < t; k++) square[i] += o[i][k] * o[i][k];
    }
  }
  static int128 nearest(real x) { return static_cast<int128>(x < 0 ? x - 0.5Q : x + 0.5Q); }

  // A. K. Lenstra, H. W. Lenstra, L. Lovasz, "Factoring polynomials with rational coefficients", 1982.
  void reduce() {
    orthogonalise();
    for (int i = 1; i < t;) {
      for (int j = i - 1; j >= 0; j--)
        if (const int128 q = nearest(mu[i][j]); q != 0) {
          for (int k = 0; k < t; k++) b[i][k] -= q * b[j][k];
          orthogonalise();
        }
      if (square[i] >= (0.99Q - mu[i][i - 1] * mu[i][i - 1]) * square[i - 1]) {
        i++;
      } else {
        std::swap(b[i], b[i - 1]);
        orthogonalise();
        i = std::max(1, i - 1);
      }
    }
  }

  // The squared length of the shortest non-zero vector, by trying all combinations that could be shorter than the
  // best so far. `part` is what the coefficients after i contribute.
  real best;
  void search(int i, real part, real* c) {
    if (i < 0) {
      if (part > 0) best = std::min(best, part);
      return;
    }
    real centre = 0;
    for (int j = i + 1; j < t; j++) centre -= c[j] * mu[j][i];
    const int128 middle = nearest(centre);
    for (const int direction : {1, -1})
      for (int128 x = middle + (direction < 0 ? -1 : 0);; x += direction) {
        const real off = static_cast<real>(x) - centre, sum = part + off * off * square[i];
        if (sum >= best) break;
        c[i] = static_cast<real>(x);
        search(i - 1, sum, c);
      }
  }
  real shortest() {
    reduce();
    best = square[0] * (1 + 1e-12Q);
    real c[6] = {};
    search(t - 1, 0, c);
    return best;
  }
};

using uint128 = unsigned __int128;
uint128 times_mod(uint128 a, uint128 b, uint128 m) {
  uint128 r = 0;
  for (; b > 0; b >>= 1, a = 2 * a % m)
    if (b & 1) r = (r + a) % m;
  return r;
}

double merit_of(const window& w) {
  uint128 M = 1, A = 0;
  for (const int m : w.m) M *= static_cast<uint128>(m);
  for (int i = 0; i < 4; i++) {
    const uint128 others = M / static_cast<uint128>(w.m[i]);
    const int inverse =
        power(static_cast<std::int64_t>(others % static_cast<uint128>(w.m[i])), w.m[i] - 2, w.m[i]);
    A = (A +
         times_mod(others, static_cast<uint128>(static_cast<std::int64_t>(inverse) * w.a[i] % w.m[i]), M)) %
        M;
  }
  // Hermite's constants: squares of the greatest lengths at determinant 1.
  const double hermite[] = {0,
                            0,
                            std::sqrt(4.0 / 3),
                            std::cbrt(2.0),
                            std::sqrt(2.0),
                            std::pow(2, 0.6),
                            std::pow(64.0 / 3, 1.0 / 6)};
  double merit = 1;
  for (int t = 2; t <= 6; t++) {
    lattice dual = {};
    dual.t = t;
    dual.b[0][0] = static_cast<int128>(M);
    uint128 power = 1;
    for (int i = 1; i < t; i++) {
      power = times_mod(power, A, M);
      dual.b[i][0] = -static_cast<int128>(power);
      dual.b[i][i] = 1;
    }
    const double length = std::sqrt(static_cast<double>(dual.shortest()));
    merit = std::min(merit, length / (std::sqrt(hermite[t]) * std::pow(static_cast<double>(M), 1.0 / t)));
  }
  return merit;
}

// ---- Choice

bool overlap(const window& a, const window& b) { return a.m[3] <= b.m[0] && b.m[3] <= a.m[0]; }

// As many windows of at least this merit as do not overlap each other: always the one that begins last, from above.
std::vector<window> most(const std::vector<window>& by_falling_m1, double least) {
  std::vector<window> chosen;
  for (const window& w : by_falling_m1) {
    if (w.merit < least) continue;
    if (chosen.empty() || w.m[0] < chosen.back().m[3])
      chosen.push_back(w);
    else if (w.m[3] > chosen.back().m[3])
      chosen.back() = w;  // lies inside
  }
  return chosen;
}

// The count windows of the largest least merit.
std::vector<window> best(const std::vector<window>& by_falling_m1, std::size_t count) {
  std::vector<double> merits;
  for (const window& w : by_falling_m1) merits.push_back(w.merit);
  std::sort(merits.begin(), merits.end(), std::greater<>());
  std::vector<window> chosen;
  for (std::size_t i = count - 1; i < merits.size() && chosen.size() < count; i++)
    chosen = most(by_falling_m1, merits[i]);
  return chosen;
}

void write(std::FILE* out, const std::vector<window>& rows, double least) {
  std::fprintf(
      out,
      R"(// The members of WH by their numbers: multipliers a1 to a4 in the bytes of a word, a1 lowest, and moduli m1 to m4.
// Written by tools/wh_moduli.cpp.
//
// All 1092 moduli are distinct primes. Down from m1, a member's next modulus is the nearest prime p for which p - 1
// has only the factor 2 in common with those of the member's moduli before, and which has a primitive root from 112 to
// 127 that the member does not use yet; the largest becomes its multiplier. Members 3 to 271 are in the order of falling
// m1. Members 0, 1, 2 and 272 are given, 3 and 271 stand at the ends of the range, and the others are the windows of
// this kind that overlap neither these nor each other, with the largest least merit by the spectral test of the combined
// generator in dimensions 2 to 6: at least %.3f. Below that
// are only member)",
      least);
  const char* comma = "";
  for (std::size_t i = 0; i < rows.size(); i++)
    if (rows[i].merit < least) {
      std::fprintf(out, "%s %zu (%.3f)", comma, i, rows[i].merit);
      comma = ",";
    }
  std::fputs(".\n", out);
  for (const window& w : rows)
    std::fprintf(out, "{0x%02X%02X%02X%02X, {%d, %d, %d, %d}},\n", w.a[3], w.a[2], w.a[1], w.a[0], w.m[0],
                 w.m[1], w.m[2], w.m[3]);
}

}  // namespace

int main(int argc, char** argv) {
  std::FILE* out = argc == 2 ? std::fopen(argv[1], "w") : nullptr;
  if (!out) return std::fputs("usage: wh_moduli FILE\n", stderr), 1;
  std::vector<int> primes;
  for (int p = highest; p >= lowest; p--)
    if (is_prime(p)) primes.push_back(p);
  std::vector<window> all;
  for (const int p : primes)
    if (window w = window_from(p, primes); w.m[0] == p && w.m[3] != 0) {
      w.merit = merit_of(w);
      all.push_back(w);
    }

  // What is settled beforehand: the given members, and the best window at each end.
  std::vector<window> settled;
  for (const int m1 : given)
    settled.push_back(*std::find_if(all.begin(), all.end(), [=](const window& w) { return w.m[0] == m1; }));
  const auto best_where = [&](auto&& holds) {
    window b = {};
    for (const window& w : all)
      if (holds(w) && w.merit > b.merit) b = w;
    return b;
  };
  const window top = best_where([](const window& w) { return w.m[0] == highest; });
  const window bottom = best_where([](const window& w) { return w.m[3] == lowest; });
  settled.push_back(top);
  settled.push_back(bottom);
  std::erase_if(all, [&](const window& w) {
    return std::any_of(settled.begin(), settled.end(), [&](const window& s) { return overlap(s, w); });
  });

  std::vector<window> rest = best(all, members - settled.size());
  if (rest.size() < members - settled.size()) return std::fputs("too few windows\n", stderr), 1;
  std::sort(rest.begin(), rest.end(), [](const window& a, const window& b) { return a.merit > b.merit; });
  rest.resize(members - settled.size());
  const double least = rest.back().merit;
  rest.push_back(top);
  rest.push_back(bottom);
  std::sort(rest.begin(), rest.end(), [](const window& a, const window& b) { return a.m[0] > b.m[0]; });

  std::vector<window> rows(settled.begin(), settled.begin() + 3);
  rows.insert(rows.end(), rest.begin(), rest.end());
  rows.push_back(settled[3]);
  write(out, rows, least);
  return std::fclose(out);
}
