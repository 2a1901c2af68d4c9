// What a call of Basic asks for: the method, the estimates, and the fields that they need.
#pragma once
#include <initializer_list>

#include "stats/task.h"

namespace [[gnu::visibility("hidden")]] kov {

enum class method { fast, one_pass, given_mean, from_sums };

// Estimates in the order in which missing fields are looked for.
enum slot : std::uint32_t {
  mean,
  raw2,
  raw3,
  raw4,
  central2,
  central3,
  central4,
  cov,
  cor,
  kurtosis,
  skewness,
  variation,
  sum1,
  sum2,
  sum3,
  sum4,
  csum2,
  csum3,
  csum4,
  cp,
  slot_count
};

class slots {
  std::uint32_t bits_ = 0;

 public:
  constexpr slots() = default;
  constexpr slots(std::initializer_list<slot> list) {
    for (const slot s : list) bits_ |= 1u << s;
  }
  constexpr bool has(slot s) const { return bits_ >> s & 1; }
  // Whether it has one of them.
  constexpr bool any(slots s) const { return (bits_ & s.bits_) != 0; }
  constexpr slots common(slots s) const {
    s.bits_ &= bits_;
    return s;
  }
  constexpr slots& operator|=(slots s) {
    bits_ |= s.bits_;
    return *this;
  }
};

struct request {
  kov::method method;
  slots asked;
  slots needed;  // with the fields that the asked ones are made from
};

// The request, or the status of what is wrong with it.
status make_request(const SSTask& task, std::uint64_t estimates, std::uint64_t method, request& r);

}  // namespace kov
