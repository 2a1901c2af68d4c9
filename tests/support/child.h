// What a function writes to standard error; and one run in a forked process, with how the process ended.
#pragma once
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <thread>

namespace arko::test {

inline std::string read_and_close(std::FILE* file) {
  std::string text(static_cast<std::size_t>(lseek(fileno(file), 0, SEEK_END)), '\0');
  text.resize(static_cast<std::size_t>(pread(fileno(file), text.data(), text.size(), 0)));
  std::fclose(file);
  return text;
}

// What comes to standard error, from any thread and below any stream, while the function runs.
template <class F> std::string captured(F&& f) {
  std::FILE* file = std::tmpfile();
  const int before = dup(STDERR_FILENO);
  dup2(fileno(file), STDERR_FILENO);
  f();
  dup2(before, STDERR_FILENO);
  close(before);
  return read_and_close(file);
}

struct ending {
  int exit_code;  // -1 where a signal ended the process
  int signal;     // 0 where it exited
  std::string text;
};

// The function's return ends the child by exit(0), with exit handlers and destructors of libraries.
template <class F> ending in_child(F&& f) {
  std::FILE* file = std::tmpfile();
  const pid_t child = fork();
  if (child == 0) {
    for (const int trap : {SIGFPE, SIGSEGV, SIGABRT}) std::signal(trap, SIG_DFL);
    dup2(fileno(file), STDERR_FILENO);
    f();
    std::exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, WIFSIGNALED(status) ? WTERMSIG(status) : 0,
          read_and_close(file)};
}

// A thread of its own, with a new record: fields of the mode word cannot be set back to zero.
template <class F> void on_new_thread(F&& f) { std::thread(f).join(); }

}  // namespace arko::test
