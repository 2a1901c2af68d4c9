// The registry of generators: a table by families, a table by old codes, and codes taken apart.
#include <arko/stream.h>

#include <iterator>

#include "rng/stream.h"

using std::int32_t;

// The families in the order of their codes:
//
//   name, StateSize, SeedCount, IncludesZero, WordBytes, BitCount
#define FAMILIES(WRITTEN, PLANNED)         \
  WRITTEN(MCG31M1, 24, 1, 0, 4, 31)        \
  WRITTEN(R250, 1024, 252, 1, 4, 32)       \
  WRITTEN(MRG32K3A, 40, 6, 1, 4, 32)       \
  WRITTEN(MCG59, 32, 1, 0, 8, 59)          \
  WRITTEN(WH, 48, 4, 1, 16, 24)            \
  PLANNED(Sobol, 11712, 2604, 0, 4, 32)    \
  PLANNED(Niederr, 84288, 10498, 0, 4, 32) \
  WRITTEN(MT19937, 2520, 625, 1, 4, 32)    \
  WRITTEN(MT2203, 312, 70, 1, 4, 32)       \
  PLANNED(iAbstract, 40, 0, 1, 4, 32)      \
  PLANNED(dAbstract, 56, 0, 1, 4, 32)      \
  PLANNED(sAbstract, 48, 0, 1, 4, 32)      \
  WRITTEN(SFMT19937, 2536, 625, 1, 4, 32)  \
  WRITTEN(TRNG, 24, 1, 0, 4, 32)           \
  WRITTEN(ARS5, 72, 8, 1, 4, 32)           \
  WRITTEN(PHILOX4X32X10, 64, 8, 1, 4, 32)

namespace kov {

#define DECLARED(name, ...) bool name##_sound(const void* stream);
#define NONE(...)
FAMILIES(DECLARED, NONE)

namespace {

// Generators that have their row but not yet their code: none can be created. By its InitStream a family is known, so each
// has one of its own.
template <int32_t size> status planned_init(int32_t, void*, int32_t, const void*) {
  return KOV_STATUS_BAD_BRNG;
}
template <class T> status planned_fill(void*, int32_t, T*, T, T) { return KOV_STATUS_BAD_BRNG; }
status planned_words(void*, int32_t, std::uint32_t*) { return KOV_STATUS_BAD_BRNG; }

struct family {
  BrngProperties row;
  bool (*sound)(const void* stream);
};

#define WRITTEN(name, ...)                                                                              \
  constexpr family name##_family = {                                                                    \
      {__VA_ARGS__, __kovBRng##name##InitStream, __kovsBRng##name, __kovdBRng##name, __koviBRng##name}, \
      name##_sound};
#define PLANNED(name, size, ...)                                                                         \
  constexpr family name##_family = {                                                                     \
      {size, __VA_ARGS__, planned_init<size>, planned_fill<float>, planned_fill<double>, planned_words}, \
      [](const void*) { return false; }};
FAMILIES(WRITTEN, PLANNED)

#define LISTED(name, ...) &name##_family,
constexpr const family* families[] = {FAMILIES(LISTED, LISTED)};

constexpr int table_rows = std::size(__RegBrngsNew);
int32_t rows_in_use = std::size(families);

struct member_counts {
  int32_t of_row[table_rows];
};
constinit member_counts members = [] {
  member_counts m;
  for (int32_t& count : m.of_row) count = 1;
  m.of_row[(KOV_BRNG_WH >> family_shift) - 1] = 273;
  m.of_row[(KOV_BRNG_MT2203 >> family_shift) - 1] = 6024;
  return m;
}();

// The family whose state the row's InitStream writes, or null.
const family* family_of(const BrngProperties& row) {
  for (const family* f : families)
    if (f->row.InitStream == row.InitStream) return f;
  return nullptr;
}

// Old codes: those of WH's members are consecutive.
constexpr int32_t first_wh_code = 4, last_wh_code = 276;

}  // namespace

const BrngProperties* row_of_code(int32_t code) {
  int32_t row, member;
  const BrngProperties* table = __kovGetBrngBaseOffset(code, &row, &member);
  return __kovIsBrngValid(table, row, member) == KOV_STATUS_OK ? table + row : nullptr;
}

bool sound(const BrngProperties& row, const void* stream) {
  const family* f = family_of(row);
  return !f || f->sound(stream);
}

}  // namespace kov

using namespace kov;

// Used by their exported names here too, through the global offset table: a program that names these arrays may have
// them moved into its own data when it is loaded.
#define FOUR(x) x, x, x, x
#define SIXTEEN(x) FOUR(x), FOUR(x), FOUR(x), FOUR(x)
#define SIXTY_FOUR(x) SIXTEEN(x), SIXTEEN(x), SIXTEEN(x), SIXTEEN(x)
#define ROW(name, ...) name##_family.row,

extern "C" {
[[gnu::visibility("default")]] constinit BrngProperties __RegBrngs[table_rows] = {
    MCG31M1_family.row,        R250_family.row,
    MRG32K3A_family.row,       MCG59_family.row,
    SIXTY_FOUR(WH_family.row), SIXTY_FOUR(WH_family.row),
    SIXTY_FOUR(WH_family.row), SIXTY_FOUR(WH_family.row),
    SIXTEEN(WH_family.row),    WH_family.row,
    Sobol_family.row,          Niederr_family.row};
[[gnu::visibility("default")]] constinit BrngProperties __RegBrngsNew[table_rows] = {FAMILIES(ROW, ROW)};
}

KOV_EXPORT BrngProperties* __kovGetBrngBaseOffset(int32_t code, int32_t* row, int32_t* member) {
  if (code >= 1 << family_shift) {
    *row = (code >> family_shift) - 1;
    *member = code & ((1 << family_shift) - 1);
    return __RegBrngsNew;
  }
  const bool wh = code >= first_wh_code && code <= last_wh_code;
  *row = wh ? first_wh_code : code;
  *member = wh ? code - first_wh_code : 0;
  return __RegBrngs;
}

KOV_EXPORT int32_t __kovIsBrngValid(const BrngProperties* table, int32_t row, int32_t member) {
  if (row < 0 || row >= table_rows) return KOV_STATUS_BAD_BRNG;
  const bool valid = table == __RegBrngs ? table[row].InitStream != nullptr
                                         : row < rows_in_use && member >= 0 && member < members.of_row[row];
  return valid ? KOV_STATUS_OK : KOV_STATUS_BAD_BRNG;
}

KOV_EXPORT int32_t __kovGetBrngProperties(int32_t code, BrngProperties* properties) {
  int32_t row, member;
  const BrngProperties* table = __kovGetBrngBaseOffset(code, &row, &member);
  const status s = __kovIsBrngValid(table, row, member);
  if (s == KOV_STATUS_OK) *properties = table[row];
  return s;
}

KOV_EXPORT int32_t __kovGetNumRegBrngs() { return rows_in_use; }

KOV_EXPORT int32_t __kovRegisterBrng(const BrngProperties* p) {
  const family* borrowed = family_of(*p);
  if (p->StateSize < (borrowed ? borrowed->row.StateSize : 0)) return KOV_STATUS_BAD_STATE_SIZE;
  if (p->WordBytes != 4 && p->WordBytes != 8 && p->WordBytes != 16) return KOV_STATUS_BAD_WORD_SIZE;
  if (p->SeedCount < 1) return KOV_STATUS_BAD_SEED_COUNT;
  if (p->BitCount < 1) return KOV_STATUS_BAD_BIT_COUNT;
  if (!p->FillDouble || !p->FillSingle || !p->FillInteger || !p->InitStream) return KOV_STATUS_NULL_ENTRY;
  if (rows_in_use == table_rows) return KOV_STATUS_BAD_BRNG;
  __RegBrngsNew[rows_in_use] = *p;
  members.of_row[rows_in_use] = 1;
  return ++rows_in_use << family_shift;
}
