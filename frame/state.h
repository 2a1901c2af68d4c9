// The calling thread's record and what the rest of the module asks of it.
//
// The exported names of these operations are aliases beside them; inside the module calls go to these.
#pragma once
#include <arko/state.h>

#include <cstdint>

namespace [[gnu::visibility("hidden")]] zur {

struct thread_state {
  std::uint32_t mode;   // 0: not yet initialised
  std::int32_t status;  // of the last exceptional element
  ZurErrorCallBack callback;
  const void* interf_input_vector;
};

// The calling thread's record, made on first use. Ends the process when none can be had.
thread_state& state();

// Makes the slot, the heap and the calling thread's record; false, after message 773, where one cannot be
// had.
bool attach();

// Releases the calling thread's record, the slot and the heap, other threads' records with it.
void detach();

// From now on fork() waits until no thread is inside a lock of the frame, so that none is held in the child, where
// no other thread goes on. It ends with the module.
void watch_forks();
extern std::int32_t environment_lock;  // around reads of the environment

// The mode word. The first read on a thread takes it from the environment.
std::uint32_t mode();

// Stores a mode word exactly as it was, where set_mode cannot clear a field: for code that changes the mode
// for the length of a call.
void restore_mode(std::uint32_t word);

// Masks that an option text asks for, or `bad_options`. `text` is at most 255 characters.
inline constexpr std::uint64_t bad_options = ~std::uint64_t{0};
std::uint64_t parse_options(const char* text);

}  // namespace zur
