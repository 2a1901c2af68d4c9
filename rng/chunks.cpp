// Chunks: data attached to a stream, its own or shared through the table of read-only data.
#include "rng/chunks.h"

#include <arko/core.h>

#include <cstring>

#include "rng/stream.h"

using std::int32_t;

namespace kov {
namespace {

StreamChunk*& list(void* stream) { return static_cast<BrngStream*>(stream)->ChunkList; }
const StreamChunk* list(const void* stream) { return static_cast<const BrngStream*>(stream)->ChunkList; }

void delete_chunk(StreamChunk* chunk) {
  if (!is_shared(*chunk) || __kovUnregisterGlobRODataReference(chunk->ChunkGlobalId) != KOV_STATUS_OK)
    arko_serv_deallocate(chunk->ChunkData);
  arko_serv_deallocate(chunk);
}

// Unlinks and deletes the chunks that are meant; the others keep their order.
template <class Meant> void delete_chunks(void* stream, Meant&& meant) {
  for (StreamChunk** link = &list(stream); *link;) {
    StreamChunk* chunk = *link;
    if (meant(*chunk)) {
      *link = chunk->ChunkNext;
      delete_chunk(chunk);
    } else {
      link = &chunk->ChunkNext;
    }
  }
}

// The data become the stream's, or the table's; they stay the caller's where the table has others of this id.
status add(void* stream, int32_t id, const std::uint64_t* global_id, void* data, int32_t size, size_by by) {
  block<StreamChunk> chunk;
  if (!chunk) return KOV_STATUS_NO_MEMORY;
  *chunk.get() = {id, size, data, list(stream), {}};
  if (global_id) std::memcpy(chunk->ChunkGlobalId, global_id, sizeof chunk->ChunkGlobalId);
  if (is_shared(*chunk.get())) share(*chunk.get(), by);
  list(stream) = chunk.release();
  return KOV_STATUS_OK;
}

// The data of a chunk that the table holds need no copy: the chunk's own reference keeps them there.
status copy_chunk(void* destination, const StreamChunk& chunk) {
  GlobRODataTableEntry* entry;
  const auto bytes = static_cast<std::size_t>(chunk.ChunkSize);
  if (__kovFindGlobRODataTableEntry(&entry, chunk.ChunkGlobalId) == KOV_STATUS_OK || !chunk.ChunkData)
    return add(destination, chunk.ChunkId, chunk.ChunkGlobalId, chunk.ChunkData, chunk.ChunkSize,
               size_by::copy);
  block<char> data(bytes);
  if (!data) return KOV_STATUS_NO_MEMORY;
  std::memcpy(data.get(), chunk.ChunkData, bytes);
  return add_chunk(destination, chunk.ChunkId, chunk.ChunkGlobalId, data, chunk.ChunkSize, size_by::copy);
}

}  // namespace

status add_chunk(void* stream, int32_t id, const std::uint64_t* global_id, block<char>& data, int32_t size,
                 size_by by) {
  const status s = add(stream, id, global_id, data.get(), size, by);
  if (s == KOV_STATUS_OK && list(stream)->ChunkData == data.get()) data.release();
  return s;
}

}  // namespace kov

using namespace kov;

KOV_EXPORT int32_t __kovAddChunk(void* stream, int32_t id, const std::uint64_t* global_id, void* data,
                                 int32_t size) {
  return add(stream, id, global_id, data, size, size_by::maker);
}

KOV_EXPORT void* __kovSearchChunk(const void* stream, int32_t id) {
  const StreamChunk* chunk = list(stream);
  while (chunk && chunk->ChunkId != id) chunk = chunk->ChunkNext;
  return chunk ? chunk->ChunkData : nullptr;
}

KOV_EXPORT int32_t __kovGetNumChunks(const void* stream) {
  int32_t count = 0;
  for (const StreamChunk* chunk = list(stream); chunk; chunk = chunk->ChunkNext) count++;
  return count;
}

KOV_EXPORT int32_t __kovDeleteChunksById(void* stream, int32_t id) {
  delete_chunks(stream, [&](const StreamChunk& chunk) { return chunk.ChunkId == id; });
  return KOV_STATUS_OK;
}

KOV_EXPORT int32_t __kovDeleteChunks(void* stream) {
  delete_chunks(stream, [](const StreamChunk&) { return true; });
  return KOV_STATUS_OK;
}

KOV_EXPORT int32_t __kovCopyChunks(void* destination, const void* source) {
  for (const StreamChunk* chunk = list(source); chunk; chunk = chunk->ChunkNext)
    if (const status s = copy_chunk(destination, *chunk); s != KOV_STATUS_OK) {
      __kovDeleteChunks(destination);
      return s;
    }
  return KOV_STATUS_OK;
}
