// The per-thread record: one thread-local slot, one private heap, both made on first need.
#include "frame/state.h"

#include <arko/core.h>
#include <pthread.h>
#include <sched.h>

#include "frame/heap.h"

namespace zur {
namespace {

constexpr std::int32_t no_slot = -1;

std::int32_t slot = no_slot;  // a pthread key; keys are small and not negative
private_heap* heap = nullptr;
std::int32_t slot_lock = 0, heap_lock = 0;  // held together only around fork
std::int32_t ending_threads = 0;            // inside thread_end

std::int32_t current_slot() { return __atomic_load_n(&slot, __ATOMIC_ACQUIRE); }
private_heap* current_heap() { return __atomic_load_n(&heap, __ATOMIC_ACQUIRE); }

void complain() { arko_serv_print(1, 773, 0); }

// Runs when a thread ends that has a record. Either detach sees the thread here and waits for it, or the thread sees
// no heap any more: both sides write before they look.
void thread_end(void* record) {
  __atomic_fetch_add(&ending_threads, 1, __ATOMIC_SEQ_CST);
  if (private_heap* h = __atomic_load_n(&heap, __ATOMIC_SEQ_CST)) h->release(record);
  __atomic_fetch_sub(&ending_threads, 1, __ATOMIC_RELEASE);
}

// False where the slot cannot be had. `made` tells whether this call made it.
bool ensure_slot(bool& made) {
  arko_serv_lock(&slot_lock);
  made = current_slot() == no_slot;
  bool have = true;
  if (made) {
    pthread_key_t key;
    have = pthread_key_create(&key, thread_end) == 0;
    if (have) __atomic_store_n(&slot, static_cast<std::int32_t>(key), __ATOMIC_RELEASE);
  }
  arko_serv_unlock(&slot_lock);
  return have;
}

private_heap* ensure_heap() {
  if (private_heap* h = current_heap()) return h;
  arko_serv_lock(&heap_lock);
  private_heap* h = current_heap();
  if (!h) __atomic_store_n(&heap, h = private_heap::create(), __ATOMIC_RELEASE);
  arko_serv_unlock(&heap_lock);
  return h;
}

// A zeroed record in the calling thread's slot, or null with nothing left behind.
thread_state* make_record() {
  private_heap* h = ensure_heap();
  if (!h) return nullptr;
  auto* record = static_cast<thread_state*>(h->allocate(sizeof(thread_state)));
  if (!record) return nullptr;
  *record = {};
  const std::int32_t key = current_slot();
  if (key == no_slot || pthread_setspecific(static_cast<pthread_key_t>(key), record) != 0) {
    h->release(record);
    return nullptr;
  }
  return record;
}

thread_state* record_in_slot() {
  const std::int32_t key = current_slot();
  if (key == no_slot) return nullptr;
  return static_cast<thread_state*>(pthread_getspecific(static_cast<pthread_key_t>(key)));
}

// Where the module came with the program, a process whose main thread alone has a record may release it at
// the end after all; any other thread's first use comes through here and prevents that.
[[gnu::noinline]] thread_state& first_use() {
  arko_serv_ending();
  if (current_slot() == no_slot) attach();
  if (thread_state* record = record_in_slot()) return *record;
  thread_state* record = make_record();
  if (!record) {
    complain();
    arko_serv_exit(3);
  }
  return *record;
}

void before_fork() {
  arko_serv_lock(&slot_lock);
  arko_serv_lock(&heap_lock);
  arko_serv_lock(&environment_lock);
  if (private_heap* h = current_heap()) h->lock();
}

void after_fork() {
  if (private_heap* h = current_heap()) h->unlock();
  arko_serv_unlock(&environment_lock);
  arko_serv_unlock(&heap_lock);
  arko_serv_unlock(&slot_lock);
}

void in_child() {
  ending_threads = 0;
  after_fork();
}

}  // namespace

void watch_forks() { pthread_atfork(before_fork, after_fork, in_child); }

thread_state& state() {
  if (thread_state* record = record_in_slot()) [[likely]]
    return *record;
  return first_use();
}

bool attach() {
  bool made;
  bool done = ensure_slot(made);
  if (done && made) done = make_record() != nullptr;
  if (!done) complain();
  return done;
}

void detach() {
  const std::int32_t key = current_slot();
  if (key != no_slot) {
    if (thread_state* record = record_in_slot()) {
      pthread_setspecific(static_cast<pthread_key_t>(key), nullptr);
      if (private_heap* h = current_heap()) h->release(record);
    }
    pthread_key_delete(static_cast<pthread_key_t>(key));
    __atomic_store_n(&slot, no_slot, __ATOMIC_RELEASE);
  }
  arko_serv_lock(&heap_lock);
  private_heap* h = __atomic_exchange_n(&heap, nullptr, __ATOMIC_SEQ_CST);
  arko_serv_unlock(&heap_lock);
  while (__atomic_load_n(&ending_threads, __ATOMIC_SEQ_CST)) sched_yield();
  if (h) h->destroy();
}

}  // namespace zur
