// stream_words CODE [SEED...]: the words of a generator to standard output, without end, for a test battery:
//
//   stream_words 0x800000 1 | dieharder -g 200 -a
//
// Words are those of the integer fill where they have 32 random bits; else each is made of two real numbers, 16 bits
// of each.
#include <arko/stream.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argc, char** argv) {
  std::vector<std::uint32_t> seed;
  for (int i = 2; i < argc; i++)
    seed.push_back(static_cast<std::uint32_t>(std::strtoul(argv[i], nullptr, 0)));
  void* stream;
  BrngProperties row;
  const std::int32_t code = argc > 1 ? static_cast<std::int32_t>(std::strtol(argv[1], nullptr, 0)) : 0;
  if (argc < 2 || __kovNewStreamEx(&stream, code, argc - 2, seed.data()) != KOV_STATUS_OK ||
      __kovGetBrngProperties(code, &row) != KOV_STATUS_OK)
    return std::fputs("usage: stream_words CODE [SEED...]\n", stderr), 2;

  constexpr int block = 4096;
  static std::uint32_t words[block];
  static double reals[2 * block];
  for (;;) {
    if (row.WordBytes == 4 && row.BitCount == 32) {
      row.FillInteger(stream, block, words);
    } else {
      row.FillDouble(stream, 2 * block, reals, 0, 65536);
      for (int i = 0; i < block; i++)
        words[i] =
            static_cast<std::uint32_t>(reals[2 * i]) << 16 | static_cast<std::uint32_t>(reals[2 * i + 1]);
    }
    if (std::fwrite(words, sizeof *words, block, stdout) != block) return 0;
  }
}
