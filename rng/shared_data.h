// The process-wide table of read-only data, as chunks use it.
#pragma once
#include <arko/stream.h>

namespace [[gnu::visibility("hidden")]] kov {

inline bool is_shared(const StreamChunk& chunk) { return chunk.ChunkGlobalId[0] || chunk.ChunkGlobalId[1]; }

// Who says how large a chunk's data are: whoever has made them, or a copy or an image of them.
enum class size_by { maker, copy };

// Takes a reference to the data of the chunk's id for it: those of the table, which replace the chunk's with their size,
// or the chunk's own, which become the table's. Where the table has no room the id becomes zero. All of it is one step
// to other threads. Of data that were put into the table without a chunk the size is not known: it becomes that of
// the first maker's chunk that has one. Until then a chunk keeps its own size; one for which the table's data are too
// small cannot mean them, and keeps its own data, too, with an id of zero.
void share(StreamChunk& chunk, size_by by);

}  // namespace kov
