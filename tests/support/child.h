// A function run in a forked process: how the process ended, and what it wrote to standard error.
#pragma once
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <thread>

namespace arko::test {

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
  ending e{WIFEXITED(status) ? WEXITSTATUS(status) : -1, WIFSIGNALED(status) ? WTERMSIG(status) : 0, {}};
  e.text.resize(static_cast<std::size_t>(lseek(fileno(file), 0, SEEK_END)));
  e.text.resize(static_cast<std::size_t>(pread(fileno(file), e.text.data(), e.text.size(), 0)));
  std::fclose(file);
  return e;
}

// A thread of its own, with a new record: fields of the mode word cannot be set back to zero.
template <class F> void on_new_thread(F&& f) { std::thread(f).join(); }

}  // namespace arko::test
