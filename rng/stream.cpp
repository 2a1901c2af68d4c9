// Life of a stream: create, copy, delete, and what its generator's InitStream does on the way.
#include "rng/stream.h"

#include <arko/core.h>

#include <cstring>

using std::int32_t;

namespace kov { namespace {

static_assert(sizeof(BrngStream) == 16);

BrngStream* head(void* stream) { return static_cast<BrngStream*>(stream); }
const BrngStream* head(const void* stream) { return static_cast<const BrngStream*>(stream); }

status ask(void* stream, int32_t method, int32_t count, const void* params) {
  int32_t row, member;
  const BrngProperties* table = __kovGetBrngBaseOffset(head(stream)->Brng, &row, &member);
  return table[row].InitStream(method, stream, count, params);
}

}  // namespace
}  // namespace kov

using namespace kov;

KOV_EXPORT int32_t __kovAllocateStream(void** stream, const BrngProperties* table, int32_t code, int32_t row,
                                       int32_t member) {
  *stream = nullptr;
  if (const status s = __kovIsBrngValid(table, row, member); s != KOV_STATUS_OK) return s;
  const std::size_t bytes = record_bytes(table[row]);
  *stream = arko_serv_allocate(bytes, 128);
  if (!*stream) return KOV_STATUS_NO_MEMORY;
  std::memset(*stream, 0, bytes);  // padding too: saved records are then the same each time
  head(*stream)->Brng = code;
  head(*stream)->HeadTag = 1;
  return KOV_STATUS_OK;
}

KOV_EXPORT int32_t __kovNewStreamEx(void** stream, int32_t code, int32_t nseed, const std::uint32_t* seed) {
  *stream = nullptr;
  // Abstract streams have entries of their own.
  if (code == KOV_BRNG_IABSTRACT || code == KOV_BRNG_DABSTRACT || code == KOV_BRNG_SABSTRACT)
    return KOV_STATUS_BAD_BRNG;
  int32_t row, member;
  const BrngProperties* table = __kovGetBrngBaseOffset(code, &row, &member);
  if (const status s = __kovAllocateStream(stream, table, code, row, member); s != KOV_STATUS_OK) return s;
  return table[row].InitStream(KOV_INIT_NEW, *stream, nseed, seed);
}

KOV_EXPORT int32_t __kovCopyStream(void** newstream, const void* source) {
  *newstream = nullptr;
  const BrngProperties* row = row_of_code(head(source)->Brng);
  if (!row) return KOV_STATUS_BAD_BRNG;
  *newstream = arko_serv_allocate(record_bytes(*row), 128);
  if (!*newstream) return KOV_STATUS_NO_MEMORY;
  std::memcpy(*newstream, source, record_bytes(*row));
  head(*newstream)->ChunkList = nullptr;
  return __kovCopyChunks(*newstream, source);
}

KOV_EXPORT int32_t __kovCopyStreamState(void* destination, const void* source) {
  if (destination == source) return KOV_STATUS_OK;
  const BrngProperties* row = row_of_code(head(source)->Brng);
  if (!row) return KOV_STATUS_BAD_BRNG;
  const std::size_t moved =
      static_cast<std::size_t>(row->WordBytes) * static_cast<std::size_t>(row->SeedCount);
  std::memcpy(head(destination) + 1, head(source) + 1, std::min(moved, state_bytes(*row)));
  __kovDeleteChunks(destination);
  return __kovCopyChunks(destination, source);
}

KOV_EXPORT int32_t __kovDeleteStream(void** stream) {
  if (*stream) __kovDeleteChunks(*stream);
  arko_serv_deallocate(*stream);
  *stream = nullptr;
  return KOV_STATUS_OK;
}

KOV_EXPORT int32_t __kovGetStreamStateBrng(const void* stream) { return head(stream)->Brng; }

KOV_EXPORT int32_t __kovLeapfrogStream(void* stream, int32_t k, int32_t nstreams) {
  if (nstreams < 0) return KOV_STATUS_BAD_STREAM_COUNT;
  return ask(stream, KOV_INIT_LEAPFROG, nstreams, &k);
}

KOV_EXPORT int32_t __kovSkipAheadStream(void* stream, std::int64_t nskip) {
  return ask(stream, KOV_INIT_SKIPAHEAD, 2, &nskip);
}

KOV_EXPORT int32_t __kovSkipAheadStreamEx(void* stream, int32_t nwords, const std::uint64_t* words) {
  return ask(stream, KOV_INIT_SKIPAHEADEX, nwords, words);
}
