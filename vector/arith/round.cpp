// Rounding to whole numbers, and whole and fractional parts.
//
// Adding and subtracting the magnitude from which all numbers are whole rounds a smaller number as the
// rounding in force says. Lanes of that magnitude and more are whole already.
#include "vector/arith/arith.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T> ZUR_INLINE vec<T> one_if_negative(vec<T> x) {
  return as<vec<T>>(if_negative<T>(x) & as<pattern<T>>(all(T(1))));
}

// x by the rounding in force, for x below the magnitude.
template <class T> ZUR_INLINE vec<T> rounded(vec<T> x) { return (x + all_whole<T>)-all_whole<T>; }

// The whole part of a number that is not negative, under rounding to nearest.
template <class T> ZUR_INLINE vec<T> floor_to_nearest(vec<T> x) {
  const vec<T> t = rounded<T>(x);
  return t - one_if_negative<T>(x - t);
}

template <class T, template <class> class root> struct rounding : arith<T, root, 64 / sizeof(T)> {
  static constexpr bool screened = true;
  static flags<T> whole(vec<T> x) { return above_abs<T>(x, sizeof(T) == 4 ? 0x4B000000 : 0x432FFFFF); }
  static int routine(const T& x, T& r) { return r = x != x ? x + x : x, ZUR_STATUS_OK; }
};

// ---- Unit stride: the rounding is the environment's. Downward the difference of two equal numbers is -0, and the zero
// of a positive number needs its sign cleared. Otherwise the difference is +0 or has the sign of x already.

template <class T, template <class> class root, class surroundings, bool downward = true>
struct rounded_both_ways : rounding<T, root> {
  using environment = surroundings;
  static results<T> fast(vec<T> x) {
    const vec<T> m = with_sign<T>(all(all_whole<T>), x), r = (x + m) - m;
    return {{with_sign<T>(downward ? magnitude<T>(r) : r, x)}, rounding<T, root>::whole(x)};
  }
};
template <class T> using ceil_unit = rounded_both_ways<T, fn::Ceil, usual_environment<fp::up>, false>;
template <class T> using floor_unit = rounded_both_ways<T, fn::Floor, usual_environment<fp::down>>;
template <class T> using rint_unit = rounded_both_ways<T, fn::Rint, mask_only_environment<>>;
template <class T> using nearby_unit = rounded_both_ways<T, fn::NearbyInt, mask_only_environment<>>;

template <class T> struct trunc_unit : rounding<T, fn::Trunc> {
  using environment = usual_environment<fp::toward_zero>;
  static results<T> fast(vec<T> x) {
    return {{with_sign<T>(rounded<T>(magnitude<T>(x)), x)}, rounding<T, fn::Trunc>::whole(x)};
  }
};

// Halves go away from zero. The difference from the nearest whole number is exact.
template <class T> struct round_unit : rounding<T, fn::Round> {
  static results<T> fast(vec<T> x) {
    const vec<T> ax = magnitude<T>(x), t = rounded<T>(ax);
    return {{with_sign<T>(t + (ax - t == T(0.5) ? all(T(1)) : vec<T>{}), x)},
            rounding<T, fn::Round>::whole(x)};
  }
};

// ---- Strided: the rounding is to nearest, and a step to the wrong side is taken back.

template <class T> struct ceil_twin : rounding<T, fn::Ceil> {
  static results<T> fast(vec<T> x) {
    const vec<T> t = with_sign<T>(rounded<T>(magnitude<T>(x)), x);
    return {{with_sign<T>(t + one_if_negative<T>(t - x), x)}, rounding<T, fn::Ceil>::whole(x)};
  }
};
template <class T> struct floor_twin : rounding<T, fn::Floor> {
  static results<T> fast(vec<T> x) {
    const vec<T> t = with_sign<T>(rounded<T>(magnitude<T>(x)), x);
    return {{t - one_if_negative<T>(x - t)}, rounding<T, fn::Floor>::whole(x)};
  }
};
template <class T> struct trunc_twin : rounding<T, fn::Trunc> {
  static results<T> fast(vec<T> x) {
    return {{with_sign<T>(floor_to_nearest<T>(magnitude<T>(x)), x)}, rounding<T, fn::Trunc>::whole(x)};
  }
};
template <class T, template <class> class root>
using rounded_to_nearest = rounded_both_ways<T, root, usual_environment<>, false>;
template <class T> using rint_twin = rounded_to_nearest<T, fn::Rint>;
template <class T> using nearby_twin = rounded_to_nearest<T, fn::NearbyInt>;

// ---- Parts

// Both parts have the sign of x.
template <class T> struct modf_base : rounding<T, fn::Modf> {
  static constexpr int outputs = 2;
  static results<T, 2> parts(vec<T> x, vec<T> ax, vec<T> t) {
    return {{with_sign<T>(t, x), with_sign<T>(ax - t, x)}, rounding<T, fn::Modf>::whole(x)};
  }
  static int routine(const T& x, T& whole, T& fraction) {
    whole = x != x ? x + x : x;
    fraction = x != x ? whole : __builtin_copysign(T(0), x);
    return ZUR_STATUS_OK;
  }
};
template <class T> struct modf_unit : modf_base<T> {
  using environment = usual_environment<fp::toward_zero>;
  static results<T, 2> fast(vec<T> x) {
    const vec<T> ax = magnitude<T>(x);
    return modf_base<T>::parts(x, ax, rounded<T>(ax));
  }
};
template <class T> struct modf_twin : modf_base<T> {
  static results<T, 2> fast(vec<T> x) {
    const vec<T> ax = magnitude<T>(x);
    return modf_base<T>::parts(x, ax, floor_to_nearest<T>(ax));
  }
};

// Beyond the magnitude nothing is left.
template <class T> struct frac : arith<T, fn::Frac, 32 / sizeof(T)> {
  static results<T> fast(vec<T> x) {
    const vec<T> ax = magnitude<T>(x), part = ax - floor_to_nearest<T>(ax);
    const auto kept = as<pattern<T>>(part) & ~if_negative<T>(all_whole<T> - ax);
    return {{with_sign<T>(as<vec<T>>(kept), x)}, not_finite<T>(x)};
  }
  static int routine(const T& x, T& r) {
    r = x != x ? x + x : __builtin_copysign(T(0), x);
    return ZUR_STATUS_OK;
  }
};

}  // namespace

TABLES_OF_ONE_KERNEL(Ceil, ceil_unit, ceil_twin)
TABLES_OF_ONE_KERNEL(Floor, floor_unit, floor_twin)
TABLES_OF_ONE_KERNEL(Round, round_unit, round_unit)
TABLES_OF_ONE_KERNEL(Rint, rint_unit, rint_twin)
TABLES_OF_ONE_KERNEL(NearbyInt, nearby_unit, nearby_twin)
TABLES_OF_ONE_KERNEL(Trunc, trunc_unit, trunc_twin)
TABLES_OF_ONE_KERNEL(Modf, modf_unit, modf_twin)
TABLES_OF_ONE_KERNEL(Frac, frac, frac)

}  // namespace zur::inline ZUR_WIDTH
