// The process-wide table of read-only data, as chunks use it.
#pragma once
#include <arko/stream.h>

namespace [[gnu::visibility("hidden")]] kov {

inline bool is_shared(const StreamChunk& chunk) { return chunk.ChunkGlobalId[0] || chunk.ChunkGlobalId[1]; }

// Takes a reference to the data of the chunk's id for it: those of the table, which replace the chunk's, or the
// chunk's own, which become the table's. Where the table has no room the id becomes zero. All of it is one step to
// other threads.
void share(StreamChunk& chunk);

}  // namespace kov
