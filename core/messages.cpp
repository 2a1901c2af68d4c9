// Messages on standard error, by number.

#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "arko/core.h"

namespace {

enum class takes { nothing, name, name_and_number, index_and_value };

struct message {
  int32_t code;
  takes arguments;
  const char* text;
};

constexpr message messages[] = {
    {748, takes::name_and_number, "wrong argument, number"},
    {749, takes::name, "an array cannot be accessed"},
    {750, takes::name, "argument outside the function's domain"},
    {751, takes::name, "pole of the function"},
    {752, takes::name, "overflow"},
    {753, takes::name, "underflow"},
    {754, takes::name, "unknown error"},
    // One argument and one result.
    {755, takes::index_and_value, "argument"},
    {756, takes::index_and_value, "result"},
    // One argument and two results.
    {757, takes::index_and_value, "argument"},
    {758, takes::index_and_value, "first result"},
    {759, takes::index_and_value, "second result"},
    // Two arguments and one result.
    {760, takes::index_and_value, "first argument"},
    {761, takes::index_and_value, "second argument"},
    {762, takes::index_and_value, "result"},
    // Two arguments and two results.
    {763, takes::index_and_value, "first argument"},
    {764, takes::index_and_value, "second argument"},
    {765, takes::index_and_value, "first result"},
    {766, takes::index_and_value, "second result"},
    {773, takes::nothing, "the per-thread record could not be set up"},
};

constexpr int argument_count(takes arguments) {
  switch (arguments) {
    case takes::nothing:
      return 0;
    case takes::name:
      return 1;
    case takes::name_and_number:
      return 2;
    case takes::index_and_value:
      return 2;
  }
  return 0;
}

const message* find(int32_t code, int32_t count) {
  for (const message& m : messages) {
    if (m.code == code) return argument_count(m.arguments) == count ? &m : nullptr;
  }
  return nullptr;
}

// One line with the message and its arguments; the length as snprintf gives it.
int format(char* line, size_t size, const message& m, va_list& arguments) {
  switch (m.arguments) {
    case takes::nothing:
      break;
    case takes::name: {
      const char* name = va_arg(arguments, const char*);
      return std::snprintf(line, size, "arko: %.255s: %s\n", name, m.text);
    }
    case takes::name_and_number: {
      const char* name = va_arg(arguments, const char*);
      const int number = va_arg(arguments, int);
      return std::snprintf(line, size, "arko: %.255s: %s %d\n", name, m.text, number);
    }
    case takes::index_and_value: {
      const int index = va_arg(arguments, int);
      const double value = va_arg(arguments, double);
      return std::snprintf(line, size, "arko:   element %d: %s = %.17g\n", index, m.text, value);
    }
  }
  return std::snprintf(line, size, "arko: %s\n", m.text);
}

// A pipe or a terminal takes a line in one write; only a full disk or a signal can split it.
bool write_line(const char* line, size_t length) {
  while (length > 0) {
    const ssize_t written = write(STDERR_FILENO, line, length);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    line += written;
    length -= static_cast<size_t>(written);
  }
  return true;
}

}  // namespace

extern "C" int32_t arko_serv_print(int32_t /*level*/, int32_t code, int32_t count, ...) {
  const int saved = errno;
  char line[512];  // a name of 255 characters and the longest text leave half of it free
  int length;
  if (const message* m = find(code, count)) {
    va_list arguments;
    va_start(arguments, count);
    length = format(line, sizeof line, *m, arguments);
    va_end(arguments);
  } else {
    length = std::snprintf(line, sizeof line, "arko: message %d\n", code);
  }
  const bool written = length > 0 && write_line(line, static_cast<size_t>(length));
  errno = saved;
  return written ? 0 : -1;
}
