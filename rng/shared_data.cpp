// The process-wide table of read-only data: an array without gaps under a spin lock.
//
// The lock is held for one pass over at most 128 entries; nothing is allocated or released under it.
#include "rng/shared_data.h"

#include <arko/core.h>
#include <immintrin.h>
#include <malloc.h>
#include <pthread.h>

#include "rng/stream.h"

namespace kov {
namespace {

constexpr int capacity = 128;
constexpr int shared_by_chunks = capacity - 1;  // the last place is left to explicit creation

GlobRODataTableEntry table[capacity];
std::int32_t sizes[capacity];  // of the entries' data
int used = 0;

constexpr std::int32_t unknown = -1;
std::int32_t lock_word = 0;

void take_lock() {
  for (std::int32_t free = 0;
       !__atomic_compare_exchange_n(&lock_word, &free, 1, true, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED); free = 0)
    _mm_pause();
}
void release_lock() { __atomic_store_n(&lock_word, 0, __ATOMIC_RELEASE); }

struct locked {
  locked() { take_lock(); }
  ~locked() { release_lock(); }
  locked(const locked&) = delete;
};

// The child of a fork has no other thread that could give the lock back. The C library forgets this when the module is
// unloaded.
[[gnu::constructor]] void hold_during_forks() { pthread_atfork(take_lock, release_lock, release_lock); }

// The two below are for the holder of the lock.
GlobRODataTableEntry* find(const std::uint64_t* id) {
  for (int i = 0; i < used; i++)
    if (table[i].GlobalId[0] == id[0] && table[i].GlobalId[1] == id[1]) return table + i;
  return nullptr;
}
GlobRODataTableEntry* append(const std::uint64_t* id, void* data, std::int32_t size) {
  table[used] = {{id[0], id[1]}, 1, data};
  sizes[used] = size;
  return table + used++;
}

// Bytes that data can have: core's blocks are those of the C library, which knows.
std::int64_t room(void* data) { return static_cast<std::int64_t>(malloc_usable_size(data)); }

}  // namespace

void share(StreamChunk& chunk, size_by by) {
  const locked hold;
  GlobRODataTableEntry* entry = find(chunk.ChunkGlobalId);
  if (entry) {
    std::int32_t& size = sizes[entry - table];
    if (size == unknown && by == size_by::maker && chunk.ChunkSize > 0) size = chunk.ChunkSize;
    if (size != unknown) chunk.ChunkSize = size;
    if (size != unknown || chunk.ChunkSize <= room(entry->EntryData)) {
      entry->RefCount++;
      chunk.ChunkData = entry->EntryData;
      return;
    }
  } else if (used < shared_by_chunks) {
    append(chunk.ChunkGlobalId, chunk.ChunkData, chunk.ChunkSize);
    return;
  }
  chunk.ChunkGlobalId[0] = chunk.ChunkGlobalId[1] = 0;
}

}  // namespace kov

using namespace kov;
using std::int32_t;

KOV_EXPORT int32_t __kovFindGlobRODataTableEntry(GlobRODataTableEntry** entry, const std::uint64_t* id) {
  if (!id || (id[0] == 0 && id[1] == 0)) return KOV_STATUS_RO_NOT_FOUND;
  const locked hold;
  GlobRODataTableEntry* found = find(id);
  if (!found) return KOV_STATUS_RO_NOT_FOUND;
  *entry = found;
  return KOV_STATUS_OK;
}

KOV_EXPORT int32_t __kovCreateGlobRODataTableEntry(GlobRODataTableEntry** entry, const std::uint64_t* id,
                                                   void* data) {
  if (!id) return KOV_STATUS_RO_NOT_FOUND;
  const locked hold;
  if (used == capacity) return KOV_STATUS_RO_TABLE_FULL;
  *entry = append(id, data, unknown);
  return KOV_STATUS_OK;
}

KOV_EXPORT int32_t __kovRegisterGlobRODataReference(StreamChunk* chunk, const std::uint64_t* id) {
  if (!id) return KOV_STATUS_RO_NOT_FOUND;
  const locked hold;
  GlobRODataTableEntry* entry = find(id);
  if (!entry) return KOV_STATUS_RO_NOT_FOUND;
  entry->RefCount++;
  chunk->ChunkData = entry->EntryData;
  return KOV_STATUS_OK;
}

KOV_EXPORT int32_t __kovUnregisterGlobRODataReference(const std::uint64_t* id) {
  if (!id) return KOV_STATUS_RO_NOT_FOUND;
  // Explicit creation can make several entries of one id; all are meant.
  void* ended[capacity];
  int count = 0;
  bool found = false;
  {
    const locked hold;
    for (int i = used - 1; i >= 0; i--) {  // downwards: what moves into a gap has had its turn
      if (table[i].GlobalId[0] != id[0] || table[i].GlobalId[1] != id[1]) continue;
      found = true;
      if (--table[i].RefCount > 0) continue;
      ended[count++] = table[i].EntryData;
      table[i] = table[--used];
      sizes[i] = sizes[used];
    }
  }
  while (count > 0) arko_serv_deallocate(ended[--count]);
  return found ? KOV_STATUS_OK : KOV_STATUS_RO_NOT_FOUND;
}

KOV_EXPORT int32_t __kovGenerateNewGlobalRODataTableEntryId(std::uint64_t* id, std::int64_t value) {
  GlobRODataTableEntry* entry;
  id[1] = static_cast<std::uint64_t>(value);
  do id[0] = __rdtsc();
  while (__kovFindGlobRODataTableEntry(&entry, id) == KOV_STATUS_OK);
  return KOV_STATUS_OK;
}
