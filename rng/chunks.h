// Chunks, as copies and images make them.
#pragma once
#include <cstdint>

#include "rng/block.h"
#include "rng/shared_data.h"

namespace [[gnu::visibility("hidden")]] kov {

// __kovAddChunk of data that leave `data` if the stream has them now, and stay there if it has those of the table.
std::int32_t add_chunk(void* stream, std::int32_t id, const std::uint64_t* global_id, block<char>& data,
                       std::int32_t size, size_by by);

}  // namespace kov
