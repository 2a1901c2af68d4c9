// Saved streams: images in files and in memory.
//
// An image is a header, the stream's record from behind its head on, and for each chunk a header and its data; the bytes
// of a number in ascending order, nothing in between. It stands by itself: data that chunks share are in it in full.
//
// A file may hold anything. Nothing of it is believed before it is checked, memory is asked for only as far as the file
// has filled what there was, and the generator looks at its loaded state before anybody draws from it. An image in memory
// carries no length: it is believed in how long it is, and in nothing else.
#include <arko/core.h>

#include <bit>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <limits>

#include "rng/chunks.h"
#include "rng/stream.h"

using std::int32_t, std::int64_t, std::uint8_t, std::uint16_t, std::uint32_t;

namespace kov { namespace {

static_assert(std::endian::native == std::endian::little);

constexpr int version = 2;
constexpr char magic[3] = {'R', 'N', 'G'};

struct image_header {
  uint8_t Version, unread1[3];
  char Magic[3], unread2;
  uint16_t HeaderSize, unread3;
  uint32_t StateBytes;
  uint16_t ChunkCount, unread4;
  int32_t BrngCode;
};
static_assert(sizeof(image_header) == 24);

// Of images whose first byte is not 2: those of earlier versions.
struct old_header {
  char unread1[10];
  uint16_t StateBytes, ChunkCount, unread2;
  int32_t BrngCode;
};
static_assert(sizeof(old_header) == 20);

struct chunk_header {
  int32_t ChunkId;
  char ChunkGlobalId[16];  // not in version 0
  int32_t ChunkSize;
};
static_assert(sizeof(chunk_header) == 24);

// ---- Where images are

struct file {
  static constexpr status not_a_stream = KOV_STATUS_BAD_FILE;
  static constexpr std::size_t believed = 1 << 16;  // bytes for which memory is asked before any have come

  std::FILE* f;

  bool read(void* to, std::size_t bytes) { return std::fread(to, 1, bytes, f) == bytes; }
  bool write(const void* from, std::size_t bytes) { return std::fwrite(from, 1, bytes, f) == bytes; }
  bool finish() { return std::fflush(f) == 0; }
};

template <class Byte> struct memory {
  static constexpr status not_a_stream = KOV_STATUS_BAD_IMAGE;
  static constexpr std::size_t believed = std::numeric_limits<std::size_t>::max();

  Byte* at;

  bool read(void* to, std::size_t bytes) {
    std::memcpy(to, at, bytes);
    at += bytes;
    return true;
  }
  bool write(const void* from, std::size_t bytes) {
    std::memcpy(at, from, bytes);
    at += bytes;
    return true;
  }
  bool finish() { return true; }
};

// Opens the file of a name, of `length` bytes or up to a NUL where that is negative; the first failure is the answer.
// With 'e' in the mode it is closed when another thread starts a program meanwhile.
template <class Use> status with_file(const char* name, int32_t length, const char* mode, const Use& use) {
  if (length >= 0) {
    const block<char> terminated(static_cast<std::size_t>(length) + 1);
    if (!terminated) return KOV_STATUS_NO_MEMORY;
    *std::copy_n(name, length, terminated.get()) = '\0';
    return with_file(terminated.get(), -1, mode, use);
  }
  const file opened = {std::fopen(name, mode)};
  if (!opened.f) return KOV_STATUS_OPEN_FAILED;
  const status s = use(opened);
  const bool closed = std::fclose(opened.f) == 0;
  return s == KOV_STATUS_OK && !closed ? KOV_STATUS_CLOSE_FAILED : s;
}

// ---- Saving

const BrngStream* head(const void* stream) { return static_cast<const BrngStream*>(stream); }

std::size_t data_bytes(const StreamChunk& chunk) {
  return chunk.ChunkData && chunk.ChunkSize > 0 ? static_cast<std::size_t>(chunk.ChunkSize) : 0;
}

constexpr int64_t most_in_memory = std::numeric_limits<int32_t>::max();

// The header of the stream's image, and the image's size.
status describe(const void* stream, image_header& h, int64_t& bytes) {
  const BrngProperties* row = row_of_code(head(stream)->Brng);
  if (!row) return KOV_STATUS_BAD_BRNG;
  h = {version, {}, {}, 0, sizeof h, 0, static_cast<uint32_t>(state_bytes(*row)), 0, 0, head(stream)->Brng};
  std::memcpy(h.Magic, magic, sizeof magic);
  bytes = static_cast<int64_t>(sizeof h + state_bytes(*row));
  for (const StreamChunk* chunk = head(stream)->ChunkList; chunk; chunk = chunk->ChunkNext) {
    if (h.ChunkCount == std::numeric_limits<uint16_t>::max()) return KOV_STATUS_WRITE_FAILED;
    h.ChunkCount++;
    bytes += static_cast<int64_t>(sizeof(chunk_header) + data_bytes(*chunk));
  }
  return KOV_STATUS_OK;
}

template <class Target> status save(const void* stream, const image_header& h, Target to) {
  bool written = to.write(&h, sizeof h) && to.write(head(stream) + 1, h.StateBytes);
  for (const StreamChunk* chunk = head(stream)->ChunkList; written && chunk; chunk = chunk->ChunkNext) {
    const std::size_t bytes = data_bytes(*chunk);
    chunk_header c = {chunk->ChunkId, {}, static_cast<int32_t>(bytes)};
    std::memcpy(c.ChunkGlobalId, chunk->ChunkGlobalId, sizeof c.ChunkGlobalId);
    written = to.write(&c, sizeof c) && (bytes == 0 || to.write(chunk->ChunkData, bytes));
  }
  return written && to.finish() ? KOV_STATUS_OK : KOV_STATUS_WRITE_FAILED;
}

// ---- Loading

// The header, an old one in the form of the new one but for its version.
template <class Source> status load_header(Source& from, image_header& h) {
  char bytes[sizeof h];
  constexpr std::size_t first = 8;
  if (!from.read(bytes, first)) return KOV_STATUS_READ_FAILED;
  const bool old = static_cast<uint8_t>(bytes[0]) != version;
  if (!from.read(bytes + first, (old ? sizeof(old_header) : sizeof h) - first)) return KOV_STATUS_READ_FAILED;
  const auto has_magic = [&](int at) { return std::memcmp(bytes + at, magic, sizeof magic) == 0; };
  if (!has_magic(offsetof(image_header, Magic)) && !has_magic(0)) return Source::not_a_stream;
  if (old) {
    old_header o;
    std::memcpy(&o, bytes, sizeof o);
    h = {static_cast<uint8_t>(bytes[0]), {}, {}, 0, sizeof h, 0, o.StateBytes, o.ChunkCount, 0, o.BrngCode};
  } else {
    std::memcpy(&h, bytes, sizeof h);
  }
  return h.HeaderSize == sizeof h ? KOV_STATUS_OK : Source::not_a_stream;
}

template <class Source> status load_chunk(void* stream, Source& from, int form) {
  chunk_header c = {};
  if (form > version || !from.read(&c.ChunkId, sizeof c.ChunkId) ||
      (form > 0 && !from.read(c.ChunkGlobalId, sizeof c.ChunkGlobalId)) ||
      !from.read(&c.ChunkSize, sizeof c.ChunkSize))
    return KOV_STATUS_READ_FAILED;
  if (c.ChunkSize < 0) return Source::not_a_stream;

  // Memory grows with what has been read.
  const auto bytes = static_cast<std::size_t>(c.ChunkSize);
  std::size_t room = std::min(bytes, Source::believed);
  block<char> data(room);
  if (!data) return KOV_STATUS_NO_MEMORY;
  if (!from.read(data.get(), room)) return KOV_STATUS_READ_FAILED;
  while (room < bytes) {
    const std::size_t more = std::min(room, bytes - room);
    block<char> larger(room + more);
    if (!larger) return KOV_STATUS_NO_MEMORY;
    std::memcpy(larger.get(), data.get(), room);
    if (!from.read(larger.get() + room, more)) return KOV_STATUS_READ_FAILED;
    data.swap(larger);
    room += more;
  }

  std::uint64_t global_id[2];
  std::memcpy(global_id, c.ChunkGlobalId, sizeof global_id);
  return add_chunk(stream, c.ChunkId, global_id, data, c.ChunkSize, size_by::copy);
}

// On a failure a part of the stream may be there, to be deleted.
template <class Source> status load(void** stream, Source from) {
  image_header h;
  if (const status s = load_header(from, h); s != KOV_STATUS_OK) return s;
  int32_t row, member;
  const BrngProperties* table = __kovGetBrngBaseOffset(h.BrngCode, &row, &member);
  if (__kovIsBrngValid(table, row, member) != KOV_STATUS_OK || h.StateBytes != state_bytes(table[row]))
    return Source::not_a_stream;
  if (const status s = __kovAllocateStream(stream, table, h.BrngCode, row, member); s != KOV_STATUS_OK)
    return s;
  if (!from.read(static_cast<BrngStream*>(*stream) + 1, h.StateBytes)) return KOV_STATUS_READ_FAILED;
  if (h.BrngCode == KOV_BRNG_TRNG && !__kovCPUisRDRAND()) return KOV_STATUS_NO_RDRAND;
  if (h.BrngCode == KOV_BRNG_ARS5 && !__kovCPUisAES()) return KOV_STATUS_NO_AES;
  for (int i = 0; i < h.ChunkCount; i++)
    if (const status s = load_chunk(*stream, from, h.Version); s != KOV_STATUS_OK) return s;
  return sound(table[row], *stream) ? KOV_STATUS_OK : Source::not_a_stream;
}

}  // namespace
}  // namespace kov

using namespace kov;

KOV_EXPORT int32_t __kovGetStreamSize(void* stream) {
  image_header h;
  int64_t bytes;
  if (const status s = describe(stream, h, bytes); s != KOV_STATUS_OK) return s;
  return bytes <= most_in_memory ? static_cast<int32_t>(bytes) : KOV_STATUS_WRITE_FAILED;
}

KOV_EXPORT int32_t __kovSaveStreamF(void* stream, const char* name, int32_t name_length) {
  image_header h;
  int64_t bytes;
  if (const status s = describe(stream, h, bytes); s != KOV_STATUS_OK) return s;
  return with_file(name, name_length, "wbe", [&](file to) { return save(stream, h, to); });
}

KOV_EXPORT int32_t __kovSaveStreamM(void* stream, char* image) {
  image_header h;
  int64_t bytes;
  if (const status s = describe(stream, h, bytes); s != KOV_STATUS_OK) return s;
  return bytes <= most_in_memory ? save(stream, h, memory<char>{image}) : KOV_STATUS_WRITE_FAILED;
}

KOV_EXPORT int32_t __kovLoadStreamF(void** stream, const char* name, int32_t name_length) {
  *stream = nullptr;
  const status s = with_file(name, name_length, "rbe", [&](file from) { return load(stream, from); });
  if (s != KOV_STATUS_OK) __kovDeleteStream(stream);
  return s;
}

KOV_EXPORT int32_t __kovLoadStreamM(void** stream, const char* image) {
  *stream = nullptr;
  const status s = load(stream, memory<const char>{image});
  if (s != KOV_STATUS_OK) __kovDeleteStream(stream);
  return s;
}
