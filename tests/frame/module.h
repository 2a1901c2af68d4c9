// The module as a library that a program loads: ARKO_ZUR_MODULE is its file.
#pragma once
#include <arko/vector.h>
#include <dlfcn.h>

#include <stdexcept>

namespace arko::test {

class module {
  void* handle_;

 public:
  module() :handle_(dlopen(ARKO_ZUR_MODULE, RTLD_NOW)) {
    if (!handle_) throw std::runtime_error(dlerror());
  }
  ~module() { dlclose(handle_); }
  module(const module&) = delete;

  template <class F> F* entry(const char* name) const { return reinterpret_cast<F*>(dlsym(handle_, name)); }
  std::uint32_t mode() const { return entry<decltype(_zurGetMode)>("_zurGetMode")(); }

  static bool loaded() {
    void* handle = dlopen(ARKO_ZUR_MODULE, RTLD_NOW | RTLD_NOLOAD);
    if (handle) dlclose(handle);
    return handle;
  }
};

}  // namespace arko::test
