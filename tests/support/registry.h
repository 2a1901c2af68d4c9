// Every exported function that has kernels, from the one list, in a form that a test can walk over and call
// without knowing what the function is.
#pragma once
#include <arko/vector.h>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace arko::test {

// The arguments of any call. Increments are for twins only; scalars that come by value follow from `scalars`.
struct arguments {
  std::int32_t n;
  const void* in[2] = {};
  void* out[2] = {};
  std::int32_t inc_in[2] = {1, 1}, inc_out[2] = {1, 1};
};
inline constexpr double scalars[] = {1.5, 0.25, -2.0, 3.0};

using entry = void (*)();  // any function; `form` knows how to call it

// How a form is called: counts of arrays, bytes of an element, and a call of a unit-stride function or a
// twin.
struct form {
  int inputs, outputs;
  std::size_t real_size, in_size, out_size;
  void (*unit)(entry, const arguments&);
  void (*twin)(entry, const arguments&);
};

// A unit-stride function or a strided twin.
struct function {
  std::string name;         // as in _zur<name>, such as "sExpI"
  std::string report_name;  // such as "vsExpI"
  char type;
  bool strided;
  const form* how;
  entry names[4];  // the exported entries: LA, bare, HA, EP
  entry table[3];  // the slots of the kernel table
  const float* costs;

  void operator()(int level, const arguments& c) const { (strided ? how->twin : how->unit)(table[level], c); }
  bool is_double() const { return how->real_size == 8; }
};

const std::vector<function>& functions();

// One kernel of a function, by level.
struct kernel {
  const function* f;
  int level;  // 0 LA, 1 HA, 2 EP
  void operator()(const arguments& c) const { (*f)(level, c); }
  std::string name() const { return f->name + (level == 0 ? "_LA" : level == 1 ? "_HA" : "_EP"); }
  friend std::ostream& operator<<(std::ostream& out, const kernel& k) { return out << k.name(); }
};

// The kernels that can be called element by element; those of a function such as "sExp" and its twin.
std::vector<kernel> kernels();
std::vector<kernel> kernels_of(const std::string& function);
template <class T> std::vector<kernel> kernels_of(const std::string& root) {
  return kernels_of((sizeof(T) == 4 ? "s" : "d") + root);
}

}  // namespace arko::test
