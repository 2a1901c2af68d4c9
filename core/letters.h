// The letters by which routines are told their variant.
#pragma once

namespace arko::core {

// Whether the argument is this capital letter, in either case.
inline bool is_letter(const char* argument, char capital) {
  return *argument == capital || *argument == capital + ('a' - 'A');
}

}  // namespace arko::core
