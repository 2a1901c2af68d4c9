/*
 * arko/stream.h - random number streams and the basic generators behind them.
 *
 * A stream is one record: a head, then the state of a basic generator. A generator is known by its code and has a
 * row in a registry, with the entry that initialises its state and three that fill an array from it:
 *
 *   void* stream;
 *   const uint32_t seed[1] = {7777777};
 *   uint32_t words[1000];
 *   if (__kovNewStreamEx(&stream, KOV_BRNG_MRG32K3A, 1, seed) == KOV_STATUS_OK)
 *     __koviBRngMRG32K3A(stream, 1000, words);
 *   __kovDeleteStream(&stream);
 *
 * Entries of a family, as the third of these, take streams of that family only; numbers of any stream come from the
 * entries of arko/dist.h.
 *
 * All entries return a status unless their comment says otherwise: KOV_STATUS_OK, or a negative number of the
 * list below. A stream may be used by one thread at a time; different streams are independent of each other,
 * also where they share chunk data. A pointer must not be null unless the comment of its entry allows it: streams,
 * arrays, names and places for results are used without a look. Arrays of no elements may be null.
 *
 * Streams are deleted before the module is unloaded. Unloading it forgets which data they share and which generators were
 * registered: loaded again it would release the data once for every stream.
 */
#ifndef ARKO_STREAM_H
#define ARKO_STREAM_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Statuses ---------------------------------------------------------------------------- */

#define KOV_STATUS_OK 0
#define KOV_STATUS_BAD_METHOD (-2) /* method of an InitStream entry out of range */
#define KOV_STATUS_BAD_ARGUMENT \
  (-3) /* abstract stream (planned): a required argument is null, or the interval empty */
#define KOV_STATUS_NO_MEMORY (-4)
#define KOV_STATUS_NULL_ENTRY \
  (-5) /* a function of a registered row is null; an abstract stream (planned) without buffer */
#define KOV_STATUS_BAD_BRNG (-1000) /* the code selects no generator, or none that can be made in this way */
#define KOV_STATUS_NO_LEAPFROG (-1002)        /* the generator has none */
#define KOV_STATUS_NO_SKIPAHEAD (-1003)       /* the generator has none, or the count is out of its range */
#define KOV_STATUS_NO_SKIPAHEADEX (-1004)     /* the generator has no skip by a long count */
#define KOV_STATUS_BAD_STATE_SIZE (-1008)     /* registered StateSize negative or too small for InitStream */
#define KOV_STATUS_BAD_WORD_SIZE (-1009)      /* registered WordBytes not 4, 8 or 16 */
#define KOV_STATUS_BAD_SEED_COUNT (-1010)     /* registered SeedCount below 1 */
#define KOV_STATUS_BAD_BIT_COUNT (-1011)      /* registered BitCount below 1 */
#define KOV_STATUS_QRNG_EXHAUSTED (-1012)     /* quasi-random sequence (planned): would pass its last index */
#define KOV_STATUS_BAD_STREAM_COUNT (-1013)   /* leapfrog among a negative number of streams */
#define KOV_STATUS_BITS_NOT_SUPPORTED (-1014) /* the generator's words do not have all bits random */
#define KOV_STATUS_CLOSE_FAILED (-1100)       /* saved streams: the file could not be closed */
#define KOV_STATUS_OPEN_FAILED (-1101)        /* the file could not be opened */
#define KOV_STATUS_WRITE_FAILED (-1102)       /* the image could not be written, or is too large */
#define KOV_STATUS_READ_FAILED (-1103)        /* the file ends too early; chunks in an unknown form */
#define KOV_STATUS_BAD_FILE (-1110)           /* the file holds no stream that this module can take */
#define KOV_STATUS_NO_RDRAND (-1130)          /* the processor lacks the instruction */
#define KOV_STATUS_RDRAND_FAILED (-1131)      /* the instruction gave no number in all its retries */
#define KOV_STATUS_NO_AES (-1140)             /* the processor lacks the instructions */
#define KOV_STATUS_BAD_PROBABILITIES (-1150)  /* multinomial (planned): probabilities out of range */
#define KOV_STATUS_BAD_IMAGE (-1200)          /* the memory holds no stream that this module can take */
#define KOV_STATUS_RO_NOT_FOUND (-3000)       /* shared data: the id is null, zero or not in the table */
#define KOV_STATUS_RO_TABLE_FULL (-3001)      /* shared data: all 128 entries are in use */

/* ---- Generators -------------------------------------------------------------------------- */

/*
 * Codes of the families. A member of a family of more than one has the family's code plus its number: WH has
 * members 0 to 272, MT2203 0 to 6023. The old codes 0 to 3, 4 to 276 (WH), 277 and 278 name the first seven
 * families too. Families that are planned have their row in the registry and cannot be created yet.
 */
#define KOV_BRNG_MCG31M1 0x100000
#define KOV_BRNG_R250 0x200000
#define KOV_BRNG_MRG32K3A 0x300000
#define KOV_BRNG_MCG59 0x400000
#define KOV_BRNG_WH 0x500000
#define KOV_BRNG_SOBOL 0x600000   /* planned */
#define KOV_BRNG_NIEDERR 0x700000 /* planned */
#define KOV_BRNG_MT19937 0x800000
#define KOV_BRNG_MT2203 0x900000
#define KOV_BRNG_IABSTRACT 0xA00000 /* planned */
#define KOV_BRNG_DABSTRACT 0xB00000 /* planned */
#define KOV_BRNG_SABSTRACT 0xC00000 /* planned */
#define KOV_BRNG_SFMT19937 0xD00000
#define KOV_BRNG_TRNG 0xE00000
#define KOV_BRNG_ARS5 0xF00000
#define KOV_BRNG_PHILOX4X32X10 0x1000000

/* Data attached to a stream under a number. */
struct StreamChunk {
  int32_t ChunkId;   /* 1 to 7 for distributions, 9, 10 and 13 for quasi-random generators, both planned */
  int32_t ChunkSize; /* of the data, in bytes */
  void* ChunkData;
  struct StreamChunk* ChunkNext; /* null at the end */
  uint64_t ChunkGlobalId[2];     /* zero: the data are the stream's own; else their id in the shared table */
};

/* The head of every stream record; the generator's state follows. */
struct BrngStream {
  int32_t Brng; /* the code as it was given */
  uint8_t HeadTag, HeadFlags;
  uint16_t HeadReserved;
  struct StreamChunk* ChunkList;
};

/* A generator's row in the registry. */
struct BrngProperties {
  int32_t StateSize;    /* bytes of the stream record, head included; below 16 it is the head alone */
  int32_t SeedCount;    /* seed words; times WordBytes: bytes that __kovCopyStreamState moves */
  int32_t IncludesZero; /* 1 when an output can be zero, else 0; TRNG has 0 although its words can be zero */
  int32_t WordBytes;    /* of one output of FillInteger: 4, 8 or 16 */
  int32_t BitCount;     /* significant bits of an output, or of each 32-bit part where WordBytes is 16 */
  int32_t (*InitStream)(int32_t method, void* stream, int32_t count, const void* params);
  int32_t (*FillSingle)(void* stream, int32_t n, float* r, float a, float b);
  int32_t (*FillDouble)(void* stream, int32_t n, double* r, double a, double b);
  int32_t (*FillInteger)(void* stream, int32_t n, uint32_t* r);
};

/* Methods of InitStream, with what `count` and `params` are. */
#define KOV_INIT_NEW 0       /* number of seed words; the seed words, uint32_t */
#define KOV_INIT_LEAPFROG 1  /* number of streams; pointer to this stream's number k, int32_t */
#define KOV_INIT_SKIPAHEAD 2 /* 2; pointer to the count, 64 bits */
#define KOV_INIT_SKIPAHEADEX \
  3 /* number of words; the count in words of 64 bits, the least significant first */

/*
 * The registry. Row r of __RegBrngsNew answers to codes from (r + 1) << 20 on; rows up to 15 are the families
 * above, further ones are added by __kovRegisterBrng. __RegBrngs is indexed by old codes.
 */
extern struct BrngProperties __RegBrngs[512], __RegBrngsNew[512];

/*
 * The table that a code belongs to, with its row and its number within the family. Any code is taken apart,
 * whether or not it is valid.
 */
struct BrngProperties* __kovGetBrngBaseOffset(int32_t code, int32_t* row, int32_t* member);
/* 0 when the row of the table is in use and has such a member, else KOV_STATUS_BAD_BRNG. */
int32_t __kovIsBrngValid(const struct BrngProperties* table, int32_t row, int32_t member);
/* Copies a generator's row; KOV_STATUS_BAD_BRNG, with nothing written, on a bad code. */
int32_t __kovGetBrngProperties(int32_t code, struct BrngProperties* properties);
/* The code that the stream was made with. */
int32_t __kovGetStreamStateBrng(const void* stream);
/* The number of rows in use in __RegBrngsNew. */
int32_t __kovGetNumRegBrngs(void);
/*
 * Adds a generator and returns its code, or one of the statuses -1008 to -1011 and KOV_STATUS_NULL_ENTRY. With
 * all 512 rows in use the answer is KOV_STATUS_BAD_BRNG. A row with the InitStream of a family has at least the StateSize of
 * that family. Not safe beside other calls of this layer.
 */
int32_t __kovRegisterBrng(const struct BrngProperties* properties);

/* ---- Streams ----------------------------------------------------------------------------- */

/*
 * A new stream of a generator, seeded with `nseed` words; each generator's entry tells what it makes of them.
 * On a bad code and without memory *stream is null. Where the generator itself refuses, its status is the
 * result and the record is there, to be deleted.
 */
int32_t __kovNewStreamEx(void** stream, int32_t code, int32_t nseed, const uint32_t* seed);
/* A record with its head filled and its state zero, for code that fills the state in. */
int32_t __kovAllocateStream(void** stream, const struct BrngProperties* table, int32_t code, int32_t row,
                            int32_t member);
/*
 * A copy that goes on from where the source stands, with copies of its chunks. If a chunk cannot be copied, the
 * status is KOV_STATUS_NO_MEMORY and the new record is there, without chunks, to be deleted.
 */
int32_t __kovCopyStream(void** newstream, const void* source);
/*
 * Copies the first WordBytes * SeedCount bytes of the state and the chunks of a stream to another one of the
 * same generator, member included: of another one the numbers may be any, and of another family they may not fit. What lies
 * behind those bytes stays the destination's: the multiplier of MCG31M1 and MCG59; what is left of a block, which the
 * destination delivers first, of SFMT19937 (up to 3 words), ARS5 (as many as it had) and PHILOX4X32X10 (as many as the
 * source had, all but the block's first from the destination's block).
 */
int32_t __kovCopyStreamState(void* destination, const void* source);
/* Releases the stream with its chunks and stores null. A null stream is allowed. */
int32_t __kovDeleteStream(void** stream);

/*
 * Make the stream deliver every nstreams-th number of its sequence from the k-th (counted from 0) on; pass over
 * the next nskip numbers; pass over a count of nwords words, the least significant first. A generator without one
 * of them answers -1002, -1003 or -1004, and the stream is unchanged:
 *
 *                            leapfrog   skip    long count   a negative nskip
 *   MCG31M1, WH              yes        yes     -1004        is 2^64 + nskip
 *   MCG59                    yes        yes     -1004        goes back
 *   MRG32K3A, PHILOX4X32X10  -1002      yes     yes          is 2^64 + nskip
 *   ARS5                     -1002      yes     yes          is 2^64 + nskip; -1140 without AES instructions
 *   MT19937, SFMT19937       -1002      yes     -1004        skips nothing
 *   R250, MT2203, TRNG       -1002      -1003   -1004
 *
 * A count of 0 changes nothing. nstreams of 0 makes a generator with leapfrog repeat the k-th number for ever, a negative
 * one is refused with -1013; k may be nstreams or more, and a negative k is a skip by a negative count.
 */
int32_t __kovLeapfrogStream(void* stream, int32_t k, int32_t nstreams);
int32_t __kovSkipAheadStream(void* stream, int64_t nskip);
int32_t __kovSkipAheadStreamEx(void* stream, int32_t nwords, const uint64_t* words);

/* ---- Chunks and shared data -------------------------------------------------------------- */

/*
 * Chunks. Data given to __kovAddChunk must come from arko_serv_allocate; from then on they belong to the stream,
 * unless the shared table holds data under the same global id: those are attached in their place, with their size, and
 * the given block stays the caller's. An id that the table has no room for becomes zero. Newest chunks are found first.
 */
int32_t __kovAddChunk(void* stream, int32_t id, const uint64_t* global_id, void* data, int32_t size);
/* The data of the first chunk with this number, or null. */
void* __kovSearchChunk(const void* stream, int32_t id);
int32_t __kovGetNumChunks(const void* stream);
int32_t __kovDeleteChunksById(void* stream, int32_t id);
int32_t __kovDeleteChunks(void* stream);
/* Adds copies of the source's chunks, the last one first. Without memory the destination is left with none. */
int32_t __kovCopyChunks(void* destination, const void* source);

/* An entry of the process-wide table of read-only data, which lives as long as a chunk refers to it. */
struct GlobRODataTableEntry {
  uint64_t GlobalId[2];
  int32_t RefCount;
  void* EntryData;
};

/*
 * Operations on the table, safe from any thread and in the child of a fork. An id is a pair of words. Two zeros can be
 * created, registered and unregistered as any other pair, but are never found, and no chunk shares data by them. A null id
 * gives KOV_STATUS_RO_NOT_FOUND. Entries move when others are removed, so a pointer to one holds only while no other thread
 * may remove any.
 */
int32_t __kovFindGlobRODataTableEntry(struct GlobRODataTableEntry** entry, const uint64_t* global_id);
/*
 * Adds an entry with one reference, also where there is one of this id. `data` must come from arko_serv_allocate; their size
 * is what the first chunk with a size tells that __kovAddChunk attaches to them. A loaded stream that comes before shares
 * them with the size of its image; where that is more than they have room for, its chunk has the image's data and an id of
 * zero.
 */
int32_t __kovCreateGlobRODataTableEntry(struct GlobRODataTableEntry** entry, const uint64_t* global_id,
                                        void* data);
/* Adds a reference to the first entry of this id and stores its data into the chunk. */
int32_t __kovRegisterGlobRODataReference(struct StreamChunk* chunk, const uint64_t* global_id);
/* Takes a reference away from every entry of this id; with the last one an entry goes and its data are released. */
int32_t __kovUnregisterGlobRODataReference(const uint64_t* global_id);
/* An id that the table does not hold, from the processor's time-stamp counter and the value. Returns 0. */
int32_t __kovGenerateNewGlobalRODataTableEntryId(uint64_t* global_id, int64_t value);

/* ---- Saved streams ----------------------------------------------------------------------- */

/*
 * A stream as an image in a file or in memory, the same bytes in both, from which another one is loaded that goes on where
 * the saved one stood. An image is not bound to a process; numbers have their least significant byte first:
 *
 *   header   byte 0 the version, 2; bytes 4 to 6 "RNG"; 16 bits at 8 the size of the header, 24; 32 bits at 12 the bytes
 *            of the state; 16 bits at 16 the number of chunks; 32 bits at 20 the generator's code; the others are 0
 *            when they are written and not read
 *   state    the record from behind its head on, StateSize - 16 bytes, none where that is negative
 *   chunks   from the head of the list on: 32 bits ChunkId, 16 bytes ChunkGlobalId, 32 bits ChunkSize, the data
 *
 * Images of earlier versions are read too. Their header has 20 bytes, with the bytes of the state in 16 bits at 10, the
 * number of chunks in 16 bits at 12 and the code at 16; "RNG" may stand at 0. Chunks of version 0 have no ChunkGlobalId;
 * those of a version other than 0 and 1 cannot be read.
 *
 * Saving and loading change nothing in the stream that is saved, which must not be used meanwhile. A stream with more
 * than 65535 chunks cannot be saved (KOV_STATUS_WRITE_FAILED), nor one of a generator that is not registered
 * (KOV_STATUS_BAD_BRNG); a chunk without data is saved with ChunkSize 0. Files are closed in programs that the process
 * starts meanwhile.
 */

/* Bytes of the stream's image; a negative status, as saving would give it, where it has none or one above 2^31 - 1. */
int32_t __kovGetStreamSize(void* stream);
/*
 * Write an image: to a file, whose name has name_length bytes, or ends with a NUL where that is negative; to memory that has
 * room for __kovGetStreamSize bytes. On any failure but KOV_STATUS_NO_MEMORY, KOV_STATUS_BAD_BRNG and
 * KOV_STATUS_OPEN_FAILED a part of the file may have been written.
 */
int32_t __kovSaveStreamF(void* stream, const char* name, int32_t name_length);
int32_t __kovSaveStreamM(void* stream, char* memory);
/*
 * Make a stream of an image. Without success *stream is null. Chunks come in reverse order, as in a copy; those whose global
 * id is in the shared table share the data that are there.
 *
 * A file may hold anything: what is no image of a generator that this module has, a header of another size than 24, a chunk
 * of 2^31 bytes or more, or a state that the generator cannot be in, gives KOV_STATUS_BAD_FILE, and what ends too early
 * KOV_STATUS_READ_FAILED. An image in memory is checked in the same way (KOV_STATUS_BAD_IMAGE), but must be as long as its
 * header and chunks tell. There is no checksum: a state is any numbers that the generator can have. Of the images of an
 * MCG31M1 stream with one bit wrong half are loaded, as another stream, and of MT19937 99 in 100. Generators added by
 * __kovRegisterBrng check their states themselves; what chunks hold is checked by whoever uses it. TRNG and ARS5 need
 * their processor: KOV_STATUS_NO_RDRAND, KOV_STATUS_NO_AES.
 */
int32_t __kovLoadStreamF(void** stream, const char* name, int32_t name_length);
int32_t __kovLoadStreamM(void** stream, const char* memory);

/* ---- Helpers ----------------------------------------------------------------------------- */

/* Whether the processor has RDRAND; SSE2 with AES-NI; what arko_serv_cpuisicx tells. Not statuses. */
int32_t __kovCPUisRDRAND(void);
int32_t __kovCPUisAES(void);
int32_t __kovCPUisVAES(void);

/* Square root, correctly rounded; the largest integer not above x, -0 for -0. */
double _kovdSqrt(double x);
double _kovdFloor(double x);
/*
 * Natural logarithm by a table of 65 rows. Zero, negative numbers, infinity and NaN give -744.4400719213812, a
 * number, so that a generator which takes the logarithm of a zero goes on.
 */
double _kovdLn(double x);

/* ---- Basic generators -------------------------------------------------------------------- */

/*
 * The entries of a family: its InitStream, and the fills in double, single and integer form. The stream must be of this
 * family: on a record of another one they read and write where its state is not. A fill writes n numbers and moves the
 * stream on by n outputs, whatever its type: fills of 3 and 4 numbers deliver what a fill of 7 does. With n of 0 or less it
 * writes nothing, moves nothing and answers 0.
 *
 * Real numbers are uniform between a and b, computed in double: a + x ((b - a) 2^-bits) from the integer output x, in single
 * rounded at the end; WH and the last three families do it otherwise. None is below a, for a <= b. Between 0 and 1:
 *
 *   0 can come of all but MCG31M1 and MCG59, in TRNG too although its row says no;
 *   1 can come in double of MCG59 and TRNG, once in 2^54 numbers, and in single of all but MRG32K3A, once in 2^25.
 */
#define KOV_BRNG_ENTRIES(family)                                                                          \
  int32_t __kovBRng##family##InitStream(int32_t method, void* stream, int32_t count, const void* params); \
  int32_t __kovdBRng##family(void* stream, int32_t n, double* r, double a, double b);                     \
  int32_t __kovsBRng##family(void* stream, int32_t n, float* r, float a, float b);                        \
  int32_t __koviBRng##family(void* stream, int32_t n, uint32_t* r)

/*
 * MCG31M1. x' = 1132489760 x mod 2^31 - 1 (L'Ecuyer, "Tables of linear congruential generators of different sizes
 * and good lattice structure", 1999). Output: x before the step, 31 bits. Seed: x = seed[0] mod 2^31 - 1; 1 in
 * place of 0 and without a seed. Leapfrog and skip.
 */
KOV_BRNG_ENTRIES(MCG31M1);

/*
 * MCG59. x' = 13^13 x mod 2^59. Output: x before the step, 59 bits in words of 8 bytes, so `r` of the integer
 * fill has room for 2n numbers; it need not be aligned to more than 4 bytes. Seed: x = seed[0], or seed[0] +
 * 2^32 (seed[1] mod 2^27) with two words or more; 1 in place of 0 and without a seed. Leapfrog and skip.
 */
KOV_BRNG_ENTRIES(MCG59);

/*
 * MRG32K3A (L'Ecuyer, "Good parameters and implementations for combined multiple recursive random number
 * generators", 1999), with m1 = 2^32 - 209 and m2 = 2^32 - 22853:
 * x(n) = 1403580 x(n-2) - 810728 x(n-3) mod m1, y(n) = 527612 y(n-1) - 1370589 y(n-3) mod m2.
 * Output: x(n) - y(n) mod m1, after the step; for real numbers its scale is 2^-32, as if all words could come, so that
 * between 0 and 1 the largest is 1 - 210 2^-32 (the paper divides by m1 + 1 and has m1 in place of 0). Seed: the six values,
 * x first and oldest first; missing ones are 1, too large ones have the modulus subtracted, three zeros become (1, 0, 0).
 * Both forms of skip.
 */
KOV_BRNG_ENTRIES(MRG32K3A);

/*
 * WH, 273 members. Four components x' = a x mod m, with multipliers and moduli of the member's own. Output: the
 * four components before the step, 16 bytes, so `r` of the integer fill has room for 4n numbers; a real number is
 * a + t (b - a), t the fraction of the sum of x/m over the components. Seed: one word for each component, taken mod
 * m; 1 in place of 0 and where words are missing. Leapfrog and skip.
 */
KOV_BRNG_ENTRIES(WH);

/*
 * R250. x(n) = x(n-250) ^ x(n-147) on words of 32 bits (Kirkpatrick and Stoll, "A very fast shift-register sequence
 * random number generator", 1981). Seed: 250 words or more are the first 250 values, the oldest first. With fewer,
 * the values are s 69069^k mod 2^32, k from 1, s = seed[0], or 1 in place of 0 and without a seed, and 32 of them
 * are then made independent; with some such seeds the lowest bits of words near each other depend on each other, see
 * docs/streams.md. No skip.
 */
KOV_BRNG_ENTRIES(R250);

/*
 * MT19937, the Mersenne Twister (Matsumoto and Nishimura, 1998), period 2^19937 - 1. Seed: a key of any number of
 * words for its initialisation by an array (2002); {1} without a seed. Skip, by any count in under 10 ms.
 */
KOV_BRNG_ENTRIES(MT19937);

/*
 * MT2203, 6024 members: Mersenne Twisters of 69 words with parameters of their own (Matsumoto and Nishimura,
 * "Dynamic creation of pseudorandom number generators", 2000), period 2^2203 - 1. Seed as for MT19937. No skip:
 * members are streams that are independent of each other.
 */
KOV_BRNG_ENTRIES(MT2203);

/*
 * SFMT19937, the SIMD-oriented Fast Mersenne Twister (Saito and Matsumoto, 2008), period a multiple of 2^19937 - 1.
 * Seed as for MT19937, by its own initialisation by an array. Skip.
 */
KOV_BRNG_ENTRIES(SFMT19937);

/*
 * PHILOX4X32X10 (Salmon, Moraes, Dror, Shaw, "Parallel random numbers: as easy as 1, 2, 3", 2011; there Philox4x32 with
 * ten rounds). Blocks of four words from a 128-bit counter, which goes up by one. Output: the words of the blocks in
 * order; a real number is (a + b) / 2 + x ((b - a) 2^-32) with x the word as a signed number, in the precision of the
 * result, or a where rounding gives less. Seed: two words of key, four of the counter, the least significant first; missing
 * ones are 0. Both forms of skip, in constant time; of a long count the first three words are read.
 */
KOV_BRNG_ENTRIES(PHILOX4X32X10);

/*
 * ARS5 (the same paper; there ARS-5). Blocks of a 128-bit counter by five rounds of AES; outputs, real numbers and skips
 * as of PHILOX4X32X10. Seed: four words of key, four of the counter; missing ones are 0. Fills and skips need
 * __kovCPUisAES and answer KOV_STATUS_NO_AES without it, with nothing changed.
 */
KOV_BRNG_ENTRIES(ARS5);

/*
 * TRNG. The words of the processor's RDRAND, which cannot be repeated: no leapfrog, no skip, and copies of a stream do not
 * deliver the same. Real numbers: a + x ((b - a) 2^-32) in single precision; in double a + x ((b - a) 2^-64) from two
 * words, the lower one first, computed in extended precision. Seed: seed[1] is the number of repeats after which
 * words that are not to be had make a fill end with KOV_STATUS_RDRAND_FAILED, what came before them written; 10 in
 * place of 0 and with fewer words. Fills answer KOV_STATUS_NO_RDRAND without __kovCPUisRDRAND.
 */
KOV_BRNG_ENTRIES(TRNG);

/* ---- Powers ------------------------------------------------------------------------------ */

/* a^n mod m, mod 2^31 - 1, mod 2^59. The results are the powers. */
uint32_t __koviPowMod(uint32_t a, uint64_t n, uint32_t m);
uint32_t __koviPowMod2P31M1(uint32_t a, uint64_t n);
uint64_t __koviPowMod2P59(uint64_t a, uint64_t n);

/*
 * n steps of v(n) = c1 v(n-1) + c2 v(n-2) + c3 v(n-3) mod m at once: `vector` is the last three values, the oldest
 * first, and `coefficients` c1, c2, c3; all are below m. The second form takes a count of nwords words, the least
 * significant first; beyond 10 words it needs memory, and leaves the vector as it is where there is none.
 */
int32_t __koviVect3PowMod(uint32_t* vector, const uint32_t* coefficients, uint32_t m, uint64_t n);
int32_t __koviVect3PowArrayMod(uint32_t* vector, const uint32_t* coefficients, uint32_t m, int32_t nwords,
                               const uint64_t* words);
/*
 * The same for the two components of MRG32K3A, from a table of 193 matrices of 3 by 3 numbers, row by row: the
 * component's one-step matrix to the powers 2^k. Set bits of the count from position 193 on are ignored.
 */
int32_t __koviVect3PowArrayMod_M1(uint32_t* vector, int32_t nwords, const uint64_t* words,
                                  const uint32_t* table);
int32_t __koviVect3PowArrayMod_M2(uint32_t* vector, int32_t nwords, const uint64_t* words,
                                  const uint32_t* table);

/* ---- Skips by polynomial ------------------------------------------------------------------ */

/*
 * x^nskip modulo a polynomial over the field of two elements, given by the ascending exponents of its terms, the
 * last of which is its degree. Bit i of result, an array of 2 words elements, is the coefficient of x^i; words is
 * at least degree / 64 rounded up. nskip is not negative. KOV_STATUS_NO_MEMORY: nothing is written.
 */
int32_t __kovPolyRem(int64_t nskip, int32_t degree, int32_t nterms, const int32_t* exponents, int32_t words,
                     uint32_t* result);

/*
 * A generator's operations on states, for a skip. A state is a record like the stream's, with undefined contents at
 * first, and starts at a multiple of 64 bytes.
 */
typedef void (*StateZero)(void* state);                     /* becomes the zero state */
typedef void (*StateXor)(void* target, const void* source); /* target = target ^ source */
typedef void (*StateCopy)(void* target, const void* source);
typedef void (*StateStep)(void* state); /* advances by one step of the generator */
/* Puts the state into the stream; offset as prepare has told it. */
typedef void (*StateFinish)(void* stream, void* state, int32_t offset);
/* Skips what needs no polynomial. 0 when that was all; else *nskip is the number of steps that are left. */
typedef int32_t (*SkipPrepare)(void* stream, int64_t* nskip, int32_t* offset);

/*
 * Skip nskip outputs of a stream whose step has the characteristic polynomial that is given as above: by Horner's
 * schedule, and by a sliding window of 8 bits, which needs fewer sums and the room of 129 states. state_bytes is the
 * size of a stream record. KOV_STATUS_NO_MEMORY: the stream stands where prepare has left it.
 */
int32_t __kov_SkipAheadHorner(void* stream, StateZero zero, StateXor xor_, StateCopy copy, StateStep step,
                              StateFinish finish, SkipPrepare prepare, int64_t nskip, int32_t words,
                              int32_t degree, int32_t state_bytes, int32_t nterms, const int32_t* exponents);
int32_t __kov_SkipAheadSWin(void* stream, StateZero zero, StateXor xor_, StateCopy copy, StateStep step,
                            StateFinish finish, SkipPrepare prepare, int64_t nskip, int32_t words,
                            int32_t degree, int32_t state_bytes, int32_t nterms, const int32_t* exponents);

#ifdef __cplusplus
}
#endif
#endif
