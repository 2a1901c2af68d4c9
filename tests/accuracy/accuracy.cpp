// accuracy: the largest and the mean errors of all kernels, as a Markdown table.
//
//   accuracy [--exhaustive | --check] [--only=ROOT]... [--sparse=K] [FILE]
//
// Without FILE the table goes to standard output; rows that FILE already has for functions not run stay.
// --exhaustive visits all 2^32 single arguments, --check visits few enough for a test of some seconds, and
// --sparse divides their number by K. Exit code 1: a kernel exceeds its limit of vector/limits.def; 2: a
// reference is wrong, or bad usage.
#include <arko/vector.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/references.h"
#include "tests/support/registry.h"
#include "tests/support/ulp.h"
#include "vector/elements.h"

namespace {

using arko::test::bits_of, arko::test::interval, arko::test::places, arko::test::places_of;
using arko::test::exact, arko::test::in_ulps, arko::test::meter, arko::test::worst;
using arko::test::pair_reference, arko::test::reference, arko::test::reference_of;
namespace references = arko::test::references;

enum level { LA, HA, EP };
constexpr const char* level_name[] = {"LA", "HA", "EP"};

// Of a function's type letter.
constexpr const char* type_name(char type) {
  return type == 's' ? "single" : type == 'd' ? "double" : type == 'c' ? "single complex" : "double complex";
}

// ---- Limits

struct allowed {
  double la, ha, ep;
};  // ulp, ulp, good bits
struct limits {
  allowed unit, twin;
};
constexpr allowed contract(std::size_t size) { return {4, 1, size == 4 ? 11.0 : 26.0}; }
constexpr bool within(allowed a, allowed b) { return a.la < b.la && a.ha < b.ha && a.ep >= b.ep; }

// Results below the normal numbers are held to the contract only.
template <class E, class A> bool met(level l, const allowed& a, const meter<E, A>& m) {
  const allowed c = contract(sizeof(E));
  if (l == EP) return m.relative.error <= std::exp2(-a.ep);
  return m.normal.error <= (l == LA ? a.la : a.ha) && m.tiny.error < (l == LA ? c.la : c.ha);
}

#define LIMITS(type, root, ...)                                                             \
  constexpr limits limits_of_##type##root{__VA_ARGS__};                                     \
  static_assert(within(limits_of_##type##root.unit, contract(sizeof(ZUR_REAL_##type))) &&   \
                    within(limits_of_##type##root.twin, contract(sizeof(ZUR_REAL_##type))), \
                "the limits of " #type #root " are outside the accuracy contract");
#include "vector/limits.def"

// ---- Kernels

// A function of `inputs` numbers: real arguments, or the parts of a complex one.
template <class E, std::size_t inputs> struct function {
  const char* root;
  const arko::test::function *unit, *twin;  // twin is null where there is none
  const reference_of<inputs>& meant;
  limits allowed;
  const places& where = places_of(root);

  char type() const { return unit->type; }
  std::size_t outputs() const { return std::size_t(unit->how->outputs) * parts_out(); }
  // Numbers of an element.
  std::size_t parts_in() const { return unit->how->in_size / sizeof(E); }
  std::size_t parts_out() const { return unit->how->out_size / sizeof(E); }
};

constexpr int block = 4096;

// Arguments and results of a block: for unit stride side by side, for twins at every other place.
template <class E> struct arrays { E in[2][4 * block], spread_in[2][4 * block], out[2][4 * block]; };

template <class E, std::size_t inputs> using arguments = std::array<E, inputs>;

template <class E, std::size_t inputs> struct kernel {
  const function<E, inputs>& of;
  bool twin;
  std::vector<level> levels;  // those that share it

  const allowed& limit() const { return twin ? of.allowed.twin : of.allowed.unit; }
  void run(int n, arrays<E>& a) const {
    auto& in = twin ? a.spread_in : a.in;
    (twin ? *of.twin : *of.unit)(levels[0], {n, {in[0], in[1]}, {a.out[0], a.out[1]}, {2, 2}, {2, 2}});
  }
  // Number o of the results of element i.
  E result(const arrays<E>& a, std::size_t o, std::size_t i) const {
    const std::size_t parts = of.parts_out();
    return a.out[o / parts][(twin ? 2 * i : i) * parts + o % parts];
  }
};

template <class E, std::size_t inputs>
void lay(const function<E, inputs>& of, const arguments<E, inputs>& x, std::size_t i, arrays<E>& a) {
  const std::size_t parts = of.parts_in();
  for (std::size_t s = 0; s < inputs; s++)
    a.in[s / parts][i * parts + s % parts] = a.spread_in[s / parts][2 * i * parts + s % parts] = x[s];
}

template <class E, std::size_t inputs>
void add_kernels(std::vector<kernel<E, inputs>>& list, const function<E, inputs>& f, bool twin) {
  const auto& entries = (twin ? f.twin : f.unit)->table;
  const auto first = list.size();
  for (level l : {LA, HA, EP}) {
    auto k = list.begin() + long(first);
    while (k != list.end() && entries[k->levels[0]] != entries[l]) ++k;
    if (k == list.end())
      list.push_back({f, twin, {l}});
    else
      k->levels.push_back(l);
  }
}

// ---- Arguments

// A pass over `count` arguments or pairs; argument(i) does not depend on the order in which they are visited.
template <class E, std::size_t inputs> struct pass {
  std::uint64_t count;
  bool in_mean;
  std::function<arguments<E, inputs>(std::uint64_t)> argument;
};

std::uint64_t random_bits(std::uint64_t i) {  // splitmix64
  i = (i + 1) * 0x9E3779B97F4A7C15;
  i = (i ^ (i >> 30)) * 0xBF58476D1CE4E5B9;
  i = (i ^ (i >> 27)) * 0x94D049BB133111EB;
  return i ^ (i >> 31);
}
double random_unit(std::uint64_t i) { return double(random_bits(i) >> 11) * 0x1p-53; }

// The number `steps` patterns away from x, farther from zero for positive steps.
template <class E> E neighbour(E x, int steps) {
  return std::bit_cast<E>(bits_of<E>(std::bit_cast<bits_of<E>>(x) + bits_of<E>(steps)));
}

struct options {
  bool exhaustive = false, check = false;
  std::uint64_t sparse = 1;
  std::vector<std::string> only;
};

// A number of samples, of about the size wanted.
std::uint64_t samples(const options& o, int log2_usual) {
  return (std::uint64_t{1} << (log2_usual - (o.check ? 4 : 0))) / o.sparse;
}

template <class E> E drawn(interval from, std::uint64_t i) {
  return E(from.low + (from.high - from.low) * random_unit(i));
}
template <class E> E random_pattern(std::uint64_t i) {
  return std::bit_cast<E>(bits_of<E>(random_bits(i) >> (64 - 8 * sizeof(E))));
}

template <class E>
std::vector<pass<E, 1>> passes_of(const reference&, const places& where, const options& o) {
  const auto range = sizeof(E) == 4 ? where.single : where.full;
  const auto& points = where.points;
  std::vector<pass<E, 1>> passes;

  if constexpr (sizeof(E) == 4) {
    const std::uint64_t stride = o.exhaustive ? 1 : o.sparse > 1 ? 16381 : o.check ? 1021 : 251;
    passes.push_back({(std::uint64_t{1} << 32) / stride, false, [=](std::uint64_t i) {
                        return arguments<E, 1>{std::bit_cast<E>(std::uint32_t(i * stride))};
                      }});
  } else {
    passes.push_back({samples(o, o.exhaustive ? 22 : 20), false,
                      [](std::uint64_t i) { return arguments<E, 1>{std::bit_cast<E>(random_bits(i))}; }});
  }
  passes.push_back({samples(o, o.exhaustive ? 22 : 20), true,
                    [=](std::uint64_t i) { return arguments<E, 1>{drawn<E>(range, ~i)}; }});
  passes.push_back({points.size() * 129, false, [&](std::uint64_t i) {
                      return arguments<E, 1>{neighbour(E(points[i / 129]), int(i % 129) - 64)};
                    }});
  passes.push_back({samples(o, 18), false, [&](std::uint64_t i) {
                      const double p = points[i % points.size()], u = random_unit(2 * i);
                      const double away = std::exp2(-64 * u) * std::max(std::fabs(p), 1.0);
                      return arguments<E, 1>{E(p + (random_bits(2 * i + 1) & 1 ? away : -away))};
                    }});
  if (where.grid != 0)
    passes.push_back({samples(o, 20), false, [=, grid = where.grid](std::uint64_t i) {
                        const double x = range.low + (range.high - range.low) * random_unit(2 * i);
                        return arguments<E, 1>{neighbour(E(std::nearbyint(x / grid) * grid),
                                                         int(random_bits(2 * i + 1) % 5) - 2)};
                      }});
  return passes;
}

// Pairs: any two, evenly from the intervals, of points with their neighbours, and two of like digits whose
// exponents lie up to 64 apart.
template <class E>
std::vector<pass<E, 2>> passes_of(const pair_reference&, const places& where, const options& o) {
  using pair = arguments<E, 2>;
  const interval range = sizeof(E) == 4 ? where.single : where.full;
  const auto& points = where.points;
  const std::uint64_t count = samples(o, o.exhaustive ? 24 : 20);
  return {{count, false,
           [](std::uint64_t i) {
             return pair{random_pattern<E>(2 * i), random_pattern<E>(2 * i + 1)};
           }},
          {count, true,
           [=](std::uint64_t i) {
             return pair{drawn<E>(range, ~(2 * i)), drawn<E>(range, ~(2 * i + 1))};
           }},
          {points.size() * points.size() * 25, false,
           [&](std::uint64_t i) {
             const std::uint64_t j = i / 25;
             return pair{neighbour(E(points[j / points.size()]), int(i % 5) - 2),
                         neighbour(E(points[j % points.size()]), int(i / 5 % 5) - 2)};
           }},
          {count, false, [](std::uint64_t i) {
             const E x = random_pattern<E>(2 * i);
             const std::uint64_t how = random_bits(2 * i + 1);
             const E y = neighbour(x, int(how >> 32) >> (how & 31));
             return pair{x, E(std::ldexp(y, int(how >> 5 & 127) - 64))};
           }}};
}

// ---- Measuring

template <class... A> std::string text(const char* format, A... a) {
  char buffer[200];
  std::snprintf(buffer, sizeof buffer, format, a...);
  return buffer;
}

struct number {  // of MPFR
  mpfr_t v;
  number() { mpfr_init2(v, 160); }
  ~number() { mpfr_clear(v); }
  number(const number&) = delete;
  number& operator=(const number&) = delete;
};

// Result o of the function.
template <class E>
exact<E> precise(const reference& meant, std::size_t o, const arguments<E, 1>& x, number (&scratch)[2]) {
  mpfr_set_d(scratch[0].v, x[0], MPFR_RNDN);
  (o ? meant.precise_second : meant.precise)(scratch[0].v, scratch[0].v, MPFR_RNDN);
  return exact<E>(scratch[0].v);
}
template <class E>
exact<E> precise(const pair_reference& meant, std::size_t, const arguments<E, 2>& x, number (&scratch)[2]) {
  for (int s : {0, 1}) mpfr_set_d(scratch[s].v, x[std::size_t(s)], MPFR_RNDN);
  meant.precise(scratch[0].v, scratch[0].v, scratch[1].v, MPFR_RNDN);
  return exact<E>(scratch[0].v);
}

double quick(const reference& meant, std::size_t o, const arguments<float, 1>& x) {
  return (o ? meant.quick_second : meant.quick)(x[0]);
}
double quick(const pair_reference& meant, std::size_t, const arguments<float, 2>& x) {
  return meant.quick(x[0], x[1]);
}

template <class E, std::size_t inputs> using meters = std::vector<meter<E, arguments<E, inputs>>>;

// The blocks `which`, `which` + `of`, ... of a pass.
template <class E, std::size_t inputs>
void measure_part(const pass<E, inputs>& p, const std::vector<kernel<E, inputs>>& kernels, unsigned which,
                  unsigned of, bool progress, meters<E, inputs>& found) {
  const auto& of_all = kernels[0].of;
  const auto& meant = of_all.meant;
  const std::size_t outputs = of_all.outputs();
  const auto memory = std::make_unique<arrays<E>>();
  arrays<E>& a = *memory;
  number scratch[2];
  std::vector<exact<E>> wanted;  // all results of an element side by side
  std::vector<arguments<E, inputs>> at;
  arko_zur_kernel_SetMode(ZUR_ERRMODE_IGNORE);
  for (std::uint64_t first = which * block; first < p.count; first += of * block) {
    if (progress && first % (1 << 28) == 0)
      std::fprintf(stderr, "%s %s: %2.0f %%\r", of_all.root, type_name(of_all.type()),
                   100 * double(first) / double(p.count));
    const int n = int(std::min<std::uint64_t>(block, p.count - first));
    wanted.clear(), at.clear();
    for (int i = 0; i < n; i++) {
      const auto& x = at.emplace_back(p.argument(first + std::uint64_t(i)));
      lay(of_all, x, std::size_t(i), a);
      for (std::size_t o = 0; o < outputs; o++)
        if constexpr (sizeof(E) == 4)
          wanted.emplace_back(quick(meant, o, x));
        else
          wanted.push_back(precise(meant, o, x, scratch));
    }
    for (std::size_t k = 0; k < kernels.size(); k++) {
      kernels[k].run(n, a);
      const bool ep = kernels[k].levels.back() == EP;
      for (std::size_t o = 0; o < outputs; o++)
        for (std::size_t i = 0; i < std::size_t(n); i++) {
          const E y = kernels[k].result(a, o, i);
          const exact<E>& x = wanted[i * outputs + o];
          found[k].add(at[i], y, x, p.in_mean);
          if (ep) found[k].add_relative(at[i], y, x, of_all.where.floor);
        }
    }
  }
}

template <class E, std::size_t inputs>
meters<E, inputs> measure(const std::vector<kernel<E, inputs>>& kernels, const options& o) {
  meters<E, inputs> total(kernels.size());
  const unsigned workers = std::max(1u, std::thread::hardware_concurrency());
  for (const auto& p : passes_of<E>(kernels[0].of.meant, kernels[0].of.where, o)) {
    std::vector<meters<E, inputs>> parts(workers, meters<E, inputs>(kernels.size()));
    std::vector<std::thread> threads;
    for (unsigned w = 0; w < workers; w++)
      threads.emplace_back([&, w] {
        measure_part(p, kernels, w, workers, o.exhaustive && w == 0, parts[w]);
        mpfr_free_cache();
      });
    for (auto& t : threads) t.join();
    for (const auto& part : parts)
      for (std::size_t k = 0; k < kernels.size(); k++) total[k].merge(part[k]);
  }
  return total;
}

template <class E, std::size_t inputs> std::string place(const std::array<E, inputs>& x) {
  std::string s = text("%a", double(x[0]));
  for (std::size_t i = 1; i < inputs; i++) s += text(", %a", double(x[i]));
  return s;
}

// Measures the worst arguments again against MPFR: false where that gives another error.
template <class E, std::size_t inputs>
bool confirmed(const kernel<E, inputs>& k, const meter<E, arguments<E, inputs>>& m) {
  const auto a = std::make_unique<arrays<E>>();
  number scratch[2];
  for (const auto& w : {m.normal, m.tiny}) {
    lay(k.of, w.where, 0, *a);
    k.run(1, *a);
    double again = 0;
    for (std::size_t o = 0; o < k.of.outputs(); o++)
      again = std::max(again, in_ulps(k.result(*a, o, 0), precise(k.of.meant, o, w.where, scratch)));
    if (w.error == 0 || again == w.error || std::fabs(again - w.error) <= 1e-6 * w.error) continue;
    std::fprintf(stderr, "%s %s at %s: error %.9g ulp by the reference, %.9g by MPFR\n", k.of.root,
                 type_name(k.of.type()), place(w.where).c_str(), w.error, again);
    return false;
  }
  return true;
}

// ---- The table

std::string power_of_two(double error) { return error == 0 ? "0" : text("2^%.2f", std::log2(error)); }

template <class E, std::size_t inputs> std::string row_start(const function<E, inputs>& f) {
  return text("| %s | %s |", f.root, type_name(f.type()));
}

template <class A> std::string cells(const worst<A>& w) {
  return w.error == 0 ? "0 | |" : text("%.5g | %s |", w.error, place(w.where).c_str());
}

template <class E, std::size_t inputs>
std::string row(const kernel<E, inputs>& k, const meter<E, arguments<E, inputs>>& m, const options& o) {
  const allowed& a = k.limit();
  std::string levels, limit;
  for (level l : k.levels) {
    levels += std::string(levels.empty() ? "" : ", ") + level_name[l];
    limit +=
        (limit.empty() ? "" : ", ") + (l == EP ? text("2^-%g", a.ep) : text("%g", l == LA ? a.la : a.ha));
  }
  return row_start(k.of) + (k.twin ? " twin | " : " unit | ") + levels + " | " + cells(m.normal) + " " +
         cells(m.tiny) + text(" %.4g | ", m.mean()) +
         (k.levels.back() == EP ? power_of_two(m.relative.error) : "") + " | " + limit + " | " +
         (o.exhaustive && sizeof(E) == 4 && inputs == 1 ? "all 2^32"
                                                        : text("%.1f million", double(m.samples) * 1e-6)) +
         " |\n";
}

// Runs one function: its rows of the table. Sets the exit code where a limit does not hold.
template <class E, std::size_t inputs>
std::string rows(const function<E, inputs>& f, const options& o, int& exit_code) {
  std::vector<kernel<E, inputs>> kernels;
  add_kernels(kernels, f, false);
  if (f.twin) add_kernels(kernels, f, true);
  const auto found = measure(kernels, o);
  std::string result;
  for (std::size_t k = 0; k < kernels.size(); k++) {
    const std::string line = row(kernels[k], found[k], o);
    result += line;
    if (!confirmed(kernels[k], found[k])) exit_code = 2;
    for (level l : kernels[k].levels)
      if (!met(l, kernels[k].limit(), found[k])) {
        std::fprintf(stderr, "beyond the limit at %s: %s", level_name[l], line.c_str());
        exit_code = std::max(exit_code, 1);
      }
  }
  return result;
}

constexpr char heading[] =
    R"(| function | type | kernel | level | largest ulp | at | below normal | at | mean ulp | relative | limit | visited |
| --- | --- | --- | --- | ---: | --- | ---: | --- | ---: | ---: | ---: | --- |
)";

// Rows of functions that are not run, from the file as it is.
std::map<std::string, std::string> kept_rows(const std::string& path) {
  std::map<std::string, std::string> kept;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);)
    if (const auto end = line.find('|', line.find('|', 1) + 1); line.starts_with("| ") && end != line.npos)
      kept[line.substr(0, end + 1)] += line + "\n";
  return kept;
}

// ---- From the one list

const arko::test::function* find(const std::string& name) {
  const auto& all = arko::test::functions();
  const auto f = std::ranges::find(all, name, &arko::test::function::name);
  return f == all.end() ? nullptr : &*f;
}

// Of real numbers, and of complex ones by their parts.
#define REFERENCE_s(root) references::root
#define REFERENCE_d(root) references::root
#define REFERENCE_c(root) references::complex::root
#define REFERENCE_z(root) references::complex::root
#define INPUTS_s 1
#define INPUTS_d 1
#define INPUTS_c 2
#define INPUTS_z 2
#define FUNCTION(type, root, inputs)                                                       \
  visit(function<ZUR_REAL_##type, inputs>{#root, find(#type #root), find(#type #root "I"), \
                                          REFERENCE_##type(root), limits_of_##type##root});
#define FUNCTION_unary(type, root) FUNCTION(type, root, INPUTS_##type)
#define FUNCTION_to_real FUNCTION_unary
#define FUNCTION_from_real(type, root) FUNCTION(type, root, 1)
#define FUNCTION_two_results FUNCTION_unary
#define FUNCTION_scalar FUNCTION_unary
#define FUNCTION_binary(type, root) FUNCTION(type, root, 2)
#define FUNCTION_linear(type, root)  // coarser in double than a level may be, and held by a test of its own
#define FUNCTION_pack_step(type, root)
#define FUNCTION_pack_at(type, root)
#define FUNCTION_unpack_step(type, root)
#define FUNCTION_unpack_at(type, root)

template <class Visit> void for_each_function(Visit visit) {
#define KERNELS(type, root, form, ...) FUNCTION_##form(type, root)
#include "vector/functions.def"
}

}  // namespace

int main(int argc, char** argv) {
  options o;
  std::string path;
  for (int i = 1; i < argc; i++) {
    const std::string a = argv[i];
    if (a == "--exhaustive")
      o.exhaustive = true;
    else if (a == "--check")
      o.check = true;
    else if (a.starts_with("--only="))
      o.only.push_back(a.substr(7));
    else if (a.starts_with("--sparse=") && std::atoi(a.c_str() + 9) > 0)
      o.sparse = std::uint64_t(std::atoi(a.c_str() + 9));
    else if (!a.starts_with("-") && path.empty())
      path = a;
    else
      return std::cerr << "usage: accuracy [--exhaustive | --check] [--only=ROOT]... [--sparse=K] [FILE]\n",
             2;
  }

  auto kept = kept_rows(path);
  std::ostringstream table;
  table << std::ifstream(ARKO_SOURCE "/tests/accuracy/preamble.md").rdbuf()
        << "Kernels, reference program: " << (sizeof(void*) == 8 ? "64" : "32") << " bits, "
#ifdef __clang__
        << "clang " __clang_version__
#else
        << "gcc " __VERSION__
#endif
        << ".\n\n"
        << heading;
  int exit_code = 0, run = 0;
  for_each_function([&]<class E, std::size_t inputs>(const function<E, inputs>& f) {
    if (!f.meant.precise) return;
    const bool wanted = o.only.empty() || std::ranges::find(o.only, f.root) != o.only.end();
    run += wanted;
    table << (wanted ? rows(f, o, exit_code) : kept[row_start(f)]);
  });
  if (!run) return std::cerr << "accuracy: no such function\n", 2;
  if (path.empty())
    std::cout << table.str();
  else if (!(std::ofstream(path) << table.str()).flush())
    return std::cerr << "accuracy: cannot write " << path << "\n", 2;
  return exit_code;
}
