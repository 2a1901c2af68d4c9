// The mode word, status and callback of a thread; the option text; a program that came with the module
// ending.

#include <arko/state.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <future>
#include <string>

#include "tests/frame/at_end.h"
#include "tests/support/child.h"

namespace {

using namespace arko::test;

constexpr std::uint32_t usual = 0x1A02;

// The first mode word of a thread under an option text, or without the option.
std::uint32_t first_mode(const char* text) {
  text ? setenv("ARKO_ZURMODE", text, 1) : unsetenv("ARKO_ZURMODE");
  std::uint32_t mode = 0;
  on_new_thread([&] { mode = arko_zur_kernel_GetMode(); });
  unsetenv("ARKO_ZURMODE");
  return mode;
}

std::string repeated(const char* text, int count) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

TEST(options, first_mode_word) {
  struct {
    const char* text;
    std::uint32_t mode;
  } const rows[] = {
      {nullptr, usual},
      {"", usual},
      // Each keyword.
      {"ZUR_LA", 0x1A01},
      {"ZUR_HA", 0x1A02},
      {"ZUR_EP", 0x1A03},
      {"ZUR_DEFAULT_PRECISION", 0x1A02},
      {"ZUR_FLOAT_CONSISTENT", 0x1A12},
      {"ZUR_DOUBLE_CONSISTEN", 0x1A22},
      {"ZUR_RESTORE", 0x1A32},
      {"ZUR_ERRMODE_IGNORE", 0x102},
      {"ZUR_ERRMODE_ERRNO", 0x202},
      {"ZUR_ERRMODE_STDERR", 0x402},
      {"ZUR_ERRMODE_EXCEPT", 0x802},
      {"ZUR_ERRMODE_CALLBACK", 0x1002},
      {"ZUR_ERRMODE_NOERR", 0x2002},
      {"ZUR_ERRMODE_DEFAULT", 0x1A02},
      {"ZUR_TRAP_INVALID", 0x1001A02},
      {"ZUR_TRAP_DIVBYZERO", 0x2001A02},
      {"ZUR_TRAP_OVERFLOW", 0x4001A02},
      {"ZUR_TRAP_UNDERFLOW", 0x8001A02},
      // Together.
      {"ZUR_EP,ZUR_ERRMODE_NOERR,ZUR_TRAP_OVERFLOW", 0x4002003},
      {"ZUR_LA,ZUR_HA", 0x1A03},
      {"ZUR_ERRMODE_ERRNO,ZUR_ERRMODE_STDERR", 0x602},
      {"ZUR_LA,ZUR_LA,ZUR_RESTORE", 0x1A31},
      // Malformed: all of the text is dropped.
      {"ZUR_LA,", usual},
      {",ZUR_LA", usual},
      {"ZUR_LA,,ZUR_LA", usual},
      {"ZUR_LA, ZUR_HA", usual},
      {" ZUR_LA", usual},
      {"ZUR_LA ", usual},
      {"ZUR_LA;ZUR_HA", usual},
      {"ZUR_la", usual},
      {"zur_LA", usual},
      {"XUR_LA", usual},
      {"ZUR_", usual},
      {"ZUR_L", usual},
      {"ZUR", usual},
      {"LA", usual},
      {"ZUR_LAX", usual},
      {"ZUR_EP,ZUR_DOUBLE_CONSISTENT", usual},
      {"ZUR_EP,ZUR_FLUSH_DENORMALS", usual},
      {"ZUR_EP,LA", usual},
  };
  for (const auto& row : rows) EXPECT_EQ(first_mode(row.text), row.mode) << (row.text ? row.text : "none");
}

TEST(options, text_ends_before_256_characters) {
  const std::string longest = repeated("ZUR_RESTORE,", 5) + repeated("ZUR_LA,", 27) + "ZUR_LA";
  const std::string longer = repeated("ZUR_RESTORE,", 1) + repeated("ZUR_LA,", 34) + "ZUR_LA";
  ASSERT_EQ(longest.size(), 255u);
  ASSERT_EQ(longer.size(), 256u);
  EXPECT_EQ(first_mode(longest.c_str()), 0x1A31u);
  EXPECT_EQ(first_mode(longer.c_str()), usual);
  EXPECT_EQ(first_mode(repeated("ZUR_LA,", 1000).c_str()), usual);
}

TEST(options, are_read_once_a_thread) {
  setenv("ARKO_ZURMODE", "ZUR_EP", 1);
  on_new_thread([] {
    EXPECT_EQ(_zurSetMode(ZUR_ERRMODE_ERRNO), 0x1A03u);  // SetMode comes first here
    setenv("ARKO_ZURMODE", "ZUR_LA", 1);
    EXPECT_EQ(_zurGetMode(), 0x203u);
  });
  unsetenv("ARKO_ZURMODE");
}

TEST(mode, fields_are_replaced_and_never_cleared) {
  struct {
    const char* option;
    std::uint32_t set, mode;
  } const rows[] = {
      {nullptr, 0, usual},
      {nullptr, 0x30, usual},        // the precision field is not set by call
      {"ZUR_RESTORE", 0x1, 0x1A31},  // and stays
      {nullptr, 0xF0C300C0, usual},  // bits of no field
      {nullptr, 0xF, 0x1A0F},        // no value is refused
      {nullptr, ZUR_EP, 0x1A03},
      {nullptr, 0x400, 0x402},
      {nullptr, 0xFF00, 0xFF02},
      {nullptr, ZUR_FLUSH_DENORMALS, 0x281A02},
      {nullptr, ZUR_KEEP_DENORMALS, 0x141A02},
      {nullptr, 0x3C0000, 0x3C1A02},
      {"ZUR_TRAP_INVALID", ZUR_TRAP_OVERFLOW, 0x4001A02},
      {"ZUR_TRAP_INVALID", ZUR_LA | ZUR_ERRMODE_NOERR, 0x1002001},
      {nullptr, 0xFFFFFFFF, 0xF3CFF0F},
  };
  for (const auto& row : rows) {
    if (row.option) setenv("ARKO_ZURMODE", row.option, 1);
    on_new_thread([&] {
      const std::uint32_t before = arko_zur_kernel_GetMode();
      EXPECT_EQ(arko_zur_kernel_SetMode(row.set), before);
      EXPECT_EQ(arko_zur_kernel_GetMode(), row.mode) << std::hex << row.set;
    });
    unsetenv("ARKO_ZURMODE");
  }
  on_new_thread([] {  // values of a field do not add up over calls
    for (const std::uint32_t mode :
         {ZUR_ERRMODE_ERRNO, ZUR_ERRMODE_STDERR, ZUR_KEEP_DENORMALS, ZUR_FLUSH_DENORMALS})
      _zurSetMode(mode);
    EXPECT_EQ(_zurGetMode(), 0x280402u);
  });
}

TEST(mode, table_index_is_the_accuracy_less_one) {
  on_new_thread([] {
    EXPECT_EQ(arko_zur_kernel_GetTTableIndex(), 1);
    for (const int accuracy : {1, 2, 3, 9, 15}) {
      arko_zur_kernel_SetMode(static_cast<std::uint32_t>(accuracy));
      EXPECT_EQ(arko_zur_kernel_GetTTableIndex(), accuracy - 1);
    }
  });
  EXPECT_EQ(arko_zur_kernel_GetTTableIndexM(0, 0x1A03), 2);
  EXPECT_EQ(arko_zur_kernel_GetTTableIndexM(0xFFFFFFFF, 0x1A01), 0);
  EXPECT_EQ(arko_zur_kernel_GetTTableIndexM(3, 0x1A00), -1);
  EXPECT_EQ(dll_cpu_version(), 5);
}

TEST(status, set_and_clear_return_the_one_before) {
  on_new_thread([] {
    EXPECT_EQ(arko_zur_kernel_GetErrStatus(), 0);
    EXPECT_EQ(arko_zur_kernel_SetErrStatus(-1234567), 0);
    EXPECT_EQ(arko_zur_kernel_SetErrStatus(3), -1234567);
    EXPECT_EQ(arko_zur_kernel_GetErrStatus(), 3);
    EXPECT_EQ(arko_zur_kernel_ClearErrStatus(), 3);
    EXPECT_EQ(arko_zur_kernel_ClearErrStatus(), 0);
  });
}

std::int32_t one(ZurErrorContext*) { return 1; }
std::int32_t two(ZurErrorContext*) { return 2; }

TEST(callback, switches_its_bit_of_the_mode_word) {
  struct {
    std::uint32_t before;  // the error mode
    ZurErrorCallBack callback;
    std::uint32_t after;
  } const rows[] = {{0x1A00, one, 0x1A00},     {0x1A00, nullptr, 0x0A00}, {0x0200, two, 0x1200},
                    {0x0200, nullptr, 0x0200}, {0x1000, nullptr, 0x1000},  // a field cannot become 0
                    {0x2000, one, 0x3000}};
  for (const auto& row : rows)
    on_new_thread([&] {
      EXPECT_EQ(arko_zur_kernel_GetErrorCallBack(), nullptr);
      EXPECT_EQ(arko_zur_kernel_SetErrorCallBack(two), nullptr);
      arko_zur_kernel_SetMode(row.before);
      EXPECT_EQ(row.callback ? arko_zur_kernel_SetErrorCallBack(row.callback)
                             : arko_zur_kernel_ClearErrorCallBack(),
                two);
      EXPECT_EQ(arko_zur_kernel_GetErrorCallBack(), row.callback);
      EXPECT_EQ(arko_zur_kernel_GetMode(), row.after | 2) << std::hex << row.before;
    });
}

TEST(names, of_a_pair_are_one_entry) {
  for (const char* name :
       {"GetMode", "SetMode", "GetErrStatus", "SetErrStatus", "ClearErrStatus", "GetErrorCallBack",
        "SetErrorCallBack", "ClearErrorCallBack", "SetInterfInputVectorPointer"}) {
    const std::string text = name;
    void* const entry = dlsym(RTLD_DEFAULT, ("_zur" + text).c_str());
    EXPECT_NE(entry, nullptr) << name;
    EXPECT_EQ(entry, dlsym(RTLD_DEFAULT, ("arko_zur_kernel_" + text).c_str())) << name;
  }
}

// The end of a process releases nothing: other threads may be inside the module.
TEST(ending, keeps_records_of_running_threads) {
  const ending end = in_child([] {
    std::promise<void> used;
    std::thread([&] {
      arko_zur_kernel_SetErrStatus(5);
      used.set_value();
      pause();
    }).detach();
    used.get_future().wait();
    blocks_at_end = arko_core_live_blocks();
  });
  EXPECT_EQ(end.exit_code, 0);
}

}  // namespace
