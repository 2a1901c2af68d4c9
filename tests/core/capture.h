// What is written to standard error, by any thread and below any stream, while a function runs.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

template <class Function> std::string captured(Function&& function) {
  std::FILE* file = std::tmpfile();
  const int before = dup(STDERR_FILENO);
  dup2(fileno(file), STDERR_FILENO);
  function();
  dup2(before, STDERR_FILENO);
  close(before);
  std::string text(static_cast<std::size_t>(lseek(fileno(file), 0, SEEK_END)), '\0');
  text.resize(static_cast<std::size_t>(pread(fileno(file), text.data(), text.size(), 0)));
  std::fclose(file);
  return text;
}
