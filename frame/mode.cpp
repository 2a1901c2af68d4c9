// The mode word's first value, and the exported operations on mode, status and callback.
#include <arko/core.h>

#include <initializer_list>

#include "frame/state.h"

namespace zur {

std::int32_t environment_lock = 0;

namespace {

constexpr int text_size = 256;  // the option text with its end

struct option {
  const char* keyword;  // behind "ZUR_"
  int length;
  std::uint64_t mask;
};

template <int N> constexpr option row(const char (&keyword)[N], std::uint32_t mask) {
  return {keyword, N - 1, mask};
}

// The first match wins.
constexpr option options[] = {
    row("LA", ZUR_LA),
    row("HA", ZUR_HA),
    row("EP", ZUR_EP),
    row("DEFAULT_PRECISION", ZUR_DEFAULT_PRECISION),
    row("FLOAT_CONSISTENT", ZUR_FLOAT_CONSISTENT),
    row("DOUBLE_CONSISTEN", ZUR_DOUBLE_CONSISTEN),
    row("RESTORE", ZUR_RESTORE),
    row("ERRMODE_IGNORE", ZUR_ERRMODE_IGNORE),
    row("ERRMODE_ERRNO", ZUR_ERRMODE_ERRNO),
    row("ERRMODE_STDERR", ZUR_ERRMODE_STDERR),
    row("ERRMODE_EXCEPT", ZUR_ERRMODE_EXCEPT),
    row("ERRMODE_CALLBACK", ZUR_ERRMODE_CALLBACK),
    row("ERRMODE_NOERR", ZUR_ERRMODE_NOERR),
    row("ERRMODE_DEFAULT", ZUR_ERRMODE_DEFAULT),
    row("TRAP_INVALID", ZUR_TRAP_INVALID),
    row("TRAP_DIVBYZERO", ZUR_TRAP_DIVBYZERO),
    row("TRAP_OVERFLOW", ZUR_TRAP_OVERFLOW),
    row("TRAP_UNDERFLOW", ZUR_TRAP_UNDERFLOW),
};

bool begins_with(const char* text, const char* start, int length) {
  for (int i = 0; i < length; i++)
    if (text[i] != start[i]) return false;  // also at the end of a shorter text
  return true;
}

std::uint32_t first_mode() {
  char text[text_size];
  arko_serv_lock(&environment_lock);
  const int found = arko_serv_getenv("ARKO_ZURMODE", text, text_size);
  arko_serv_unlock(&environment_lock);
  const std::uint64_t masks = found > 0 ? parse_options(text) : bad_options;
  if (masks == bad_options) return ZUR_HA | ZUR_ERRMODE_DEFAULT;
  auto word = static_cast<std::uint32_t>(masks);
  if (!(word & ZUR_ACCURACY_MASK)) word |= ZUR_HA;
  if (!(word & ZUR_ERRMODE_MASK)) word |= ZUR_ERRMODE_DEFAULT;
  return word;
}

}  // namespace

std::uint64_t parse_options(const char* text) {
  std::uint64_t masks = 0;
  for (int pos = 0;;) {
    if (!begins_with(text + pos, "ZUR_", 4)) return bad_options;
    const option* match = nullptr;
    for (const option& o : options)
      if (pos + 4 + o.length < text_size && begins_with(text + pos + 4, o.keyword, o.length)) {
        match = &o;
        break;
      }
    if (!match) return bad_options;
    pos += 4 + match->length;
    if (text[pos] != ',' && text[pos] != '\0') return bad_options;
    masks |= match->mask;
    if (text[pos] == '\0') return masks;
    pos++;
  }
}

std::uint32_t mode() {
  thread_state& s = state();
  if (s.mode == 0) [[unlikely]]
    s.mode = first_mode();
  return s.mode;
}

void restore_mode(std::uint32_t word) { state().mode = word; }

}  // namespace zur

// Both exported names of an operation are one entry.
#define EXPORT extern "C" [[gnu::visibility("default")]]
#define ALIAS(result, name, parameters) \
  EXPORT result _zur##name parameters __attribute__((alias("arko_zur_kernel_" #name)))

EXPORT std::int32_t dll_cpu_version() { return 5; }

EXPORT std::int32_t arko_zur_kernel_GetTTableIndex() {
  return static_cast<std::int32_t>(zur::mode() & ZUR_ACCURACY_MASK) - 1;
}

EXPORT std::int32_t arko_zur_kernel_GetTTableIndexM(std::uint32_t, std::uint32_t mode) {
  return static_cast<std::int32_t>(mode & ZUR_ACCURACY_MASK) - 1;
}

EXPORT std::uint32_t arko_zur_kernel_GetMode() { return zur::mode(); }
ALIAS(std::uint32_t, GetMode, ());

EXPORT std::uint32_t arko_zur_kernel_SetMode(std::uint32_t newmode) {
  const std::uint32_t old = zur::mode();
  std::uint32_t word = old;
  for (const std::uint32_t field : {ZUR_ACCURACY_MASK, ZUR_ERRMODE_MASK, ZUR_DENORMALS_MASK, ZUR_TRAP_MASK})
    if (newmode & field) word = (word & ~field) | (newmode & field);
  zur::restore_mode(word);
  return old;
}
ALIAS(std::uint32_t, SetMode, (std::uint32_t));

EXPORT std::int32_t arko_zur_kernel_GetErrStatus() { return zur::state().status; }
ALIAS(std::int32_t, GetErrStatus, ());

EXPORT std::int32_t arko_zur_kernel_SetErrStatus(std::int32_t status) {
  zur::thread_state& s = zur::state();
  const std::int32_t old = s.status;
  s.status = status;
  return old;
}
ALIAS(std::int32_t, SetErrStatus, (std::int32_t));

EXPORT std::int32_t arko_zur_kernel_ClearErrStatus() { return arko_zur_kernel_SetErrStatus(ZUR_STATUS_OK); }
ALIAS(std::int32_t, ClearErrStatus, ());

EXPORT ZurErrorCallBack arko_zur_kernel_GetErrorCallBack() { return zur::state().callback; }
ALIAS(ZurErrorCallBack, GetErrorCallBack, ());

EXPORT ZurErrorCallBack arko_zur_kernel_SetErrorCallBack(ZurErrorCallBack cb) {
  zur::thread_state& s = zur::state();
  const ZurErrorCallBack old = s.callback;
  const std::uint32_t word = zur::mode();
  s.callback = cb;
  arko_zur_kernel_SetMode(cb ? word | ZUR_ERRMODE_CALLBACK : word & ~ZUR_ERRMODE_CALLBACK);
  return old;
}
ALIAS(ZurErrorCallBack, SetErrorCallBack, (ZurErrorCallBack));

EXPORT ZurErrorCallBack arko_zur_kernel_ClearErrorCallBack() {
  return arko_zur_kernel_SetErrorCallBack(nullptr);
}
ALIAS(ZurErrorCallBack, ClearErrorCallBack, ());

EXPORT void* arko_zur_kernel_SetInterfInputVectorPointer(void* p) {
  zur::state().interf_input_vector = p;
  return p;
}
ALIAS(void*, SetInterfInputVectorPointer, (void*));
